// SPDX-License-Identifier: MIT
#include "XBenchWorld.h"

#include "XDataObjectRefusals.h"

#include <algorithm>
#include <cstdio>

namespace {
constexpr int WideTypes = 6;

class XBenchObject final : public XDataObjectRefusals<> {
public:
    XBenchObject(XServerCorePtr core, XLXText typeName)
        : XDataObjectRefusals(std::move(core)), m_typeName(std::move(typeName)) {}

    STDMETHODIMP GetTypeName(BSTR* pbstrTypename) override {
        *pbstrTypename = SysAllocStringLen(m_typeName.data(), static_cast<UINT>(m_typeName.size()));
        return S_OK;
    }
    STDMETHODIMP GetTableName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetAttribute(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP SetAttribute(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP GetChildren(BSTR, IEnumBaseDataObject**) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllChildren(IEnumBaseDataObject**) override { return E_NOTIMPL; }
    STDMETHODIMP GetListCount(BSTR, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP GetType(ILXType**) override { return E_NOTIMPL; }
    STDMETHODIMP GetId(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetClientId(LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP IsDerivedFromType(BSTR) override { return S_FALSE; }
    STDMETHODIMP IsDerivedFromType2(BSTR, LONG*) override { return E_NOTIMPL; }

private:
    const XLXText m_typeName;
};

void AddWideTypes(XServerModel& model) {
    for (int level = 0; level < WideTypes; ++level) {
        const std::string name = "Wide" + std::to_string(level);
        XModelType& type = model.AddType(name, level == 0 ? "" : "Wide" + std::to_string(level - 1));
        const int first = LXWideAttributes * level / WideTypes;
        const int last = LXWideAttributes * (level + 1) / WideTypes;
        for (int i = first; i < last; ++i) {
            char attribute[24];
            std::snprintf(attribute, sizeof attribute, "WideAttribute%05d", i);
            XModelAttribute& added = type.AddAttribute(attribute, 1);
            added.properties.Set(XProperty::Label, std::string("Label of ") + attribute);
            added.properties.Set(XProperty::ShowInEditor, true);
        }
    }
}

int LevelOf(const XServerModel& model, const XModelType& type) {
    const auto* const base = type.Base().empty() ? nullptr : model.FindType(type.Base());
    return base == nullptr ? 0 : 1 + LevelOf(model, **base);
}

template <class SizeOf> std::string Line(const XServerModel& model, const char* title, int width, SizeOf&& sizeOf) {
    std::map<int, int> counts;
    double sum = 0;
    for (const auto& [name, type] : model.types) {
        const int size = sizeOf(*type);
        ++counts[size / width];
        sum += size;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%-22s average %5.1f |", title, sum / static_cast<double>(model.types.size()));
    std::string line = text;
    for (const auto& [bucket, count] : counts) {
        if (width == 1) {
            std::snprintf(text, sizeof text, " %d: %d", bucket, count);
        } else {
            std::snprintf(text, sizeof text, " %d-%d: %d", bucket * width, bucket * width + width - 1, count);
        }
        line += text;
    }
    return line + "\n";
}
} // namespace

std::string LXBenchTypeName(int number) {
    char name[16];
    std::snprintf(name, sizeof name, "Type%05d", number);
    return name;
}

XServerModel LXBenchModel(int types) {
    XGeneratorOptions options;
    options.types = types;
    options.attributesPerType = 10;
    options.depth = LXBenchDepth;
    options.relationsPerType = 1;
    XServerModel model = LXGenerateModel(options);
    AddWideTypes(model);
    return model;
}

std::string LXHistogram(const XServerModel& model) {
    const auto size = [](const auto& list) { return static_cast<int>(list.size()); };
    return Line(model, "own attributes", 5, [&](const XModelType& type) { return size(type.attributes); }) +
           Line(model, "bases above", 1, [&](const XModelType& type) { return LevelOf(model, type); }) +
           Line(model, "groups", 1, [&](const XModelType& type) { return size(type.groups); }) +
           Line(model, "pages", 1, [&](const XModelType& type) { return size(type.pages); }) +
           Line(model, "editors", 1, [&](const XModelType& type) { return size(type.editors); });
}

XBenchWorld::XBenchWorld(XServerModel model)
    : m_server(XSampleServer::Create(std::move(model))), m_factory(new XBenchFactory(m_server->ConfigFactory())) {}

XBenchWorld::~XBenchWorld() { Stop(); }

void XBenchWorld::StartPrepared() { StartWith(m_factory.As<ILXConfigFactory>()); }

void XBenchWorld::StartWith(XLXComPtr<ILXConfigFactory> factory) {
    LXExpectOk(m_module.Factory()->CreateInstance(nullptr, LXIid<ILXConfigFactoryCache>(), m_cache.PutVoid()),
               "CreateInstance");
    XLXComVariant values[6];
    values[0] = XLXComVariant::FromUnknown(factory.Get());
    values[1] = XLXComVariant::FromUnknown(m_server->Query().Get());
    values[2] = XLXComVariant::FromUnknown(m_server->DataUpdate().Get());
    values[3] = XLXComVariant::FromBool(false);
    values[4] = XLXComVariant::FromBool(false);
    values[5] = XLXComVariant::FromI4(LXBenchMode);
    LXExpectOk(m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get()), "Initialize");
}

void XBenchWorld::Stop() {
    if (m_cache) {
        LXExpectOk(m_cache.As<IDPFObject>()->Terminate(), "Terminate");
        m_cache.Reset();
    }
}

XLXComPtr<ILXType> XBenchWorld::Type(const std::string& name) const {
    XLXComPtr<ILXType> type;
    const XLXComBSTR text(XText(name).Get());
    LXExpectOk(m_cache.As<ILXConfigFactory>()->GetType(text.Get(), nullptr, type.Put()), "GetType");
    return type;
}

XLXComPtr<ILXAttribute> XBenchWorld::Attribute(const std::string& type, const std::string& name) const {
    XLXComPtr<ILXAttribute> attribute;
    const XLXComBSTR text(XText(name).Get());
    LXExpectOk(Type(type)->GetAttribute(text.Get(), attribute.Put()), "GetAttribute");
    return attribute;
}

void XBenchWorld::CompleteAllTypes() const {
    XLXComPtr<ILXTypeEnum> types;
    LXExpectOk(m_cache.As<ILXConfigFactory>()->GetTypeEnum(nullptr, types.Put()), "GetTypeEnum");
    XLXComPtr<ILXType> type;
    ILXPage* page = nullptr;
    ILXGroup* group = nullptr;
    ILXAttribute* attribute = nullptr;
    ILXConfObjEditor* editor = nullptr;
    // Looks up an unknown name, which completes the map and costs little otherwise.
    const XLXComBSTR nothing{XLXTextView(OLESTR("-"))};
    while (types->GetSingleNext(type.Put()) == S_OK) {
        const bool asked = type->GetAttribute(nothing.Get(), &attribute) == S_FALSE &&
                           type->GetGroup(-1, &group) == S_FALSE && type->GetPage(-1, &page) == S_FALSE &&
                           type->GetConfObjEditor(nothing.Get(), nullptr, nullptr, &editor) == S_FALSE;
        LXExpectOk(asked ? S_OK : E_FAIL, "completing a type");
    }
}

void XBenchWorld::AskForAllRelations() const {
    for (const auto& relation : m_server->Model().relations) {
        const XLXComBSTR parent(relation->Text(XProperty::ParentName));
        const XLXComBSTR child(relation->Text(XProperty::ChildName));
        const XLXComBSTR list(relation->Text(XProperty::ChildList));
        XLXComPtr<ILXParentChild> cached;
        LXExpectOk(m_cache->GetSinglePCRelation(parent.Get(), child.Get(), nullptr, list.Get(), cached.Put()),
                   "GetSinglePCRelation");
    }
}

void XBenchWorld::NotifyOfEverything() const {
    const XLXComBSTR id{XLXTextView(OLESTR("objects/all/0/1"))};
    const XLXComBSTR type{XLXTextView(OLESTR("cfc_specific"))};
    LXExpectOk(
        m_cache.As<ILXCallbackUpdate>()->DataObjectChanged(id.Get(), type.Get(), 256, NextNotificationId(), 0, nullptr),
        "DataObjectChanged");
}

XLXComPtr<ILX_BaseDataObject> LXMakeBenchObject(const std::string& typeName) {
    static const XServerCorePtr core = std::make_shared<XServerCore>(XServerModel{});
    return XLXComPtr<ILX_BaseDataObject>(new XBenchObject(core, XText(typeName).Get()));
}

void LXExpectOk(HRESULT result, const char* what) {
    if (result != S_OK) {
        char text[128];
        std::snprintf(text, sizeof text, "%s answered 0x%08X", what, static_cast<unsigned>(result));
        throw std::runtime_error(text);
    }
}
