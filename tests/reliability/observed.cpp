// SPDX-License-Identifier: MIT
#include "observed.h"

namespace
{
XLXComBSTR B(const char* text)
{
    return XLXComBSTR(LXFromUtf8(text));
}

using Object = XLXComPtr<ILXConfigObject>;

XLXComPtr<ILXType> Type(const XCachePtr& cache, const char* name)
{
    XLXComPtr<ILXType> type;
    cache.As<ILXConfigFactory>()->GetType(B(name).Get(), nullptr, type.Put());
    return type;
}

/// The object that a question gives.
template <class Interface, class Ask>
XLXComPtr<Interface> One(Ask&& ask)
{
    XLXComPtr<Interface> object;
    ask(object.Put());
    return object;
}

/// The element of an enumeration with that text in a member.
template <class Element, class Enumerator>
Object Among(const XLXComPtr<Enumerator>& elements, int member, const char* text)
{
    XLXComPtr<Element> element;
    while (elements && elements->GetSingleNext(element.Put()) == S_OK)
    {
        if (LXRead(element.Get(), member) == LXFromUtf8(text))
        {
            return Object(element.Get());
        }
    }
    return nullptr;
}

XLXComPtr<ILXAttribute> Head(const XCachePtr& cache)
{
    const auto type = Type(cache, "Pump");
    return type ? One<ILXAttribute>([&](auto out) { type->GetAttribute(B("Head").Get(), out); }) : nullptr;
}

XLXComPtr<ILXGroup> Group(const XCachePtr& cache)
{
    const auto type = Type(cache, "Pump");
    return type ? One<ILXGroup>([&](auto out) { type->GetGroup(7, out); }) : nullptr;
}

XLXComPtr<ILXParentChild> Relation(const XCachePtr& cache)
{
    return One<ILXParentChild>([&](auto out) {
        cache->GetSinglePCRelation(B("Equipment").Get(), B("Pump").Get(), nullptr, B("parts").Get(), out);
    });
}

/// An object asked of another one, which may not be there.
template <class Interface, class Owner, class Ask>
Object Of(const Owner& owner, Ask&& ask)
{
    return owner ? Object(One<Interface>([&](auto out) { ask(*owner, out); }).Get()) : nullptr;
}
} // namespace

XObserved::XObserved(const char* name, int member, bool staysCurrent, Edit edit, Find find)
    : m_name(name),
      m_member(member),
      m_staysCurrent(staysCurrent),
      m_edit(std::move(edit)),
      m_find(std::move(find))
{}

HRESULT XObserved::Raise(XSampleServer& server)
{
    const int value = m_attempted.fetch_add(1) + 1;
    const HRESULT result = m_edit(server.Edit(), XModelValue(std::to_string(value))).result;
    m_notified.store(value);
    return result;
}

XObserved::Reading XObserved::Read(const XCachePtr& cache, XLXComPtr<ILXConfigObject>* held) const
{
    const int notified = m_notified.load();
    Object object = held != nullptr && *held ? *held : m_find(cache);
    if (!object)
    {
        return Reading::NotThere;
    }
    XLXComVariant value;
    const HRESULT result = object->GetProperty(m_member, value.Put());
    if (result != S_OK)
    {
        return result == S_FALSE && notified == 0 ? Reading::Right : Reading::NotThere;
    }
    if (held != nullptr)
    {
        *held = std::move(object);
    }
    const int read = static_cast<int>(value.AsLong().value_or(notified == 0 ? 0 : -1));
    return read > m_attempted.load() ? Reading::Impossible
           : read < notified         ? Reading::Stale
                                     : Reading::Right;
}

std::vector<std::unique_ptr<XObserved>> LXEveryKind()
{
    std::vector<std::unique_ptr<XObserved>> all;
    const auto add = [&](const char* name, int member, bool staysCurrent, XObserved::Edit edit,
                         XObserved::Find find) {
        all.push_back(
            std::make_unique<XObserved>(name, member, staysCurrent, std::move(edit), std::move(find)));
    };
    using Edits = XServerEdits;
    using Value = const XModelValue&;
    add(
        "type", XProperty::TypeLabel, true,
        [](Edits edit, Value v) { return edit.SetTypeProperty("Pump", XProperty::TypeLabel, v); },
        [](const XCachePtr& cache) { return Object(Type(cache, "Pump").Get()); });
    add(
        "attribute", XProperty::Label, true,
        [](Edits edit, Value v) { return edit.SetAttributeProperty("Pump", "Head", XProperty::Label, v); },
        [](const XCachePtr& cache) { return Object(Head(cache).Get()); });
    add(
        "inherited attribute", XProperty::Unit, true,
        [](Edits edit, Value v) { return edit.SetAttributeProperty("Item", "Weight", XProperty::Unit, v); },
        [](const XCachePtr& cache) {
            return Of<ILXAttribute>(Type(cache, "Pump"),
                                    [](auto& type, auto out) { type.GetAttribute(B("Weight").Get(), out); });
        });
    add(
        "attribute type", XProperty::AttributeTypeLabel, false,
        [](Edits edit, Value v) {
            return edit.SetAttributeTypeProperty("Pump", "Head", "Feet", XProperty::AttributeTypeLabel, v);
        },
        [](const XCachePtr& cache) -> Object {
            const auto head = Head(cache);
            return head ? Among<ILXAttributeType>(
                              One<ILXAttributeTypeEnum>([&](auto out) { head->GetAttributeTypeEnum(out); }),
                              XProperty::AttributeTypeName, "Feet")
                        : nullptr;
        });
    add(
        "attribute format", 5, false,
        [](Edits edit, Value v) { return edit.SetAttributeFormatProperty("Pump", "Head", 1, 5, v); },
        [](const XCachePtr& cache) {
            return Of<ILXFormat>(Head(cache), [](auto& head, auto out) { head.GetFormat(1, out); });
        });
    add(
        "group", XProperty::GroupLabel, true,
        [](Edits edit, Value v) { return edit.SetGroupProperty("Pump", 7, XProperty::GroupLabel, v); },
        [](const XCachePtr& cache) { return Object(Group(cache).Get()); });
    add(
        "group format", 5, false,
        [](Edits edit, Value v) { return edit.SetGroupFormatProperty("Pump", 7, 5, v); },
        [](const XCachePtr& cache) {
            return Of<ILXFormat>(Group(cache), [](auto& group, auto out) { group.GetFormat(out); });
        });
    add(
        "page", XProperty::PageLabel, true,
        [](Edits edit, Value v) { return edit.SetPageProperty("Item", 1, XProperty::PageLabel, v); },
        [](const XCachePtr& cache) {
            return Of<ILXPage>(Type(cache, "Item"), [](auto& type, auto out) { type.GetPage(1, out); });
        });
    add(
        "editor", XProperty::MenuText, true,
        [](Edits edit, Value v) { return edit.SetEditorProperty("Pump", "E.Pump", XProperty::MenuText, v); },
        [](const XCachePtr& cache) {
            return Of<ILXConfObjEditor>(Type(cache, "Pump"), [](auto& type, auto out) {
                type.GetDefaultEditor(B("Tree").Get(), out);
            });
        });
    add(
        "browser id", 1, true, [](Edits edit, Value v) { return edit.SetBrowserIdProperty("Tree", 1, v); },
        [](const XCachePtr& cache) {
            const auto factory = cache.As<ILXConfigFactory>();
            return Among<ILXBrowserId>(
                One<ILXBrowserIdEnum>([&](auto out) { factory->GetBrowserIdEnum(out); }), 0, "Tree");
        });
    add(
        "format spec", 5, false,
        [](Edits edit, Value v) { return edit.SetGlobalSpecProperty("Length", 5, v); },
        [](const XCachePtr& cache) {
            const auto factory = cache.As<ILXConfigFactory>();
            return Among<ILXGlobalAttributeFormatSpec>(One<ILXGlobalAttributeFormatSpecEnum>([&](auto out) {
                                                           factory->GetAllGlobalAttributeFormatSpecs(out);
                                                       }),
                                                       0, "Length");
        });
    add(
        "relation", XProperty::NameShort, true,
        [](Edits edit, Value v) {
            return edit.SetRelationProperty("Equipment", "Pump", "parts", XProperty::NameShort, v);
        },
        [](const XCachePtr& cache) { return Object(Relation(cache).Get()); });
    add(
        "PC info", XProperty::PCInfoLabel, false,
        [](Edits edit, Value v) {
            return edit.SetPCInfoProperty("Equipment", "Pump", "parts", "Tree", XProperty::PCInfoLabel, v);
        },
        [](const XCachePtr& cache) {
            return Of<ILXPCInfo>(Relation(cache),
                                 [](auto& relation, auto out) { relation.GetPCInfo(B("Tree").Get(), out); });
        });
    return all;
}
