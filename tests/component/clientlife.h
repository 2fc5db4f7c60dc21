// SPDX-License-Identifier: MIT
//
// A client's complete session as a list of steps: initialisation, every kind of request, changes with their
// notifications, and termination. Tests that inject faults compare the steps with those of an undisturbed session.
#ifndef CLIENTLIFE_H
#define CLIENTLIFE_H

#include "cachefixture.h"

struct XLifeStep {
    HRESULT result = S_OK; ///< the first failure in the step, else the result of its call
    std::string answer;    ///< the texts that were read; empty unless the call returned S_OK
    bool information = false;
};
using XLifeSteps = std::map<std::string, XLifeStep>;

class XClientLife {
public:
    /// @param around  called with true before and with false after each call to the cache
    explicit XClientLife(XSampleServer& server, std::function<void(bool)> around = {}, LONG transferMode = 1)
        : m_server(server), m_around(std::move(around)), m_transferMode(transferMode) {}
    /// Queries a cache that another session has initialised.
    XClientLife(XSampleServer& server, XLXComPtr<ILXConfigFactoryCache> cache)
        : m_server(server), m_cache(std::move(cache)), m_factory(m_cache.As<ILXConfigFactory>()) {}

    /// Skips the steps for an object that it did not get.
    const XLifeSteps& Run() {
        SetErrorInfo(0, nullptr);
        if (Start()) {
            AskForTypesAndRelations();
            AskForSpecs();
            Change();
            m_phase = "then ";
            AskForTypes();
            m_phase.clear();
        }
        End();
        return m_steps;
    }

    void AskForTypesAndRelations() {
        AskForTypes();
        AskForRelations();
        AskForDerivedTypes();
    }

    const XLXComPtr<ILXConfigFactoryCache>& Cache() const { return m_cache; }

private:
    static XLXComBSTR B(const char* text) { return XLXComBSTR(LXFromUtf8(text)); }

    template <class Call> HRESULT In(Call&& call) {
        if (m_around) { m_around(true); }
        const HRESULT result = call();
        if (m_around) { m_around(false); }
        return result;
    }

    XLifeStep& Note(const std::string& name, HRESULT result) {
        XLifeStep& step = m_steps[m_phase + name];
        step.result = result;
        step.information = LXErrorInformation::Take().present;
        return step;
    }

    std::string Read(XLifeStep& step, ILXConfigObject* object, int member) {
        XLXComVariant value;
        const HRESULT result = In([&] { return object->GetProperty(member, value.Put()); });
        if (FAILED(result) && SUCCEEDED(step.result)) {
            step.result = result;
            step.information = LXErrorInformation::Take().present;
        }
        return result == S_OK ? LXNarrow(value.AsText().value_or(OLESTR("<no text>")))
                              : (FAILED(result) ? "<failed>" : "<empty>");
    }

    /// Calls a method. One and All also read a property: of the object that the method returns through its last
    /// parameter, or of all elements of that enumeration.
    template <class Face, class Method, class... Arguments>
    XLifeStep& Step(const std::string& name, Face* face, Method method, Arguments... arguments) {
        return Note(name, In([&] { return (face->*method)(arguments...); }));
    }

    template <class Face, class Method, class... Arguments>
    auto One(const std::string& name, int member, Face* face, Method method, Arguments... arguments) {
        auto object = LXOutOf(method);
        XLifeStep& step = Step(name, face, method, arguments..., object.Put());
        EXPECT_EQ(step.result == S_OK, static_cast<bool>(object)) << name;
        if (object) { step.answer = Read(step, object.Get(), member); }
        return object;
    }

    template <class Face, class Method, class... Arguments>
    void All(const std::string& name, int member, Face* face, Method method, Arguments... arguments) {
        auto elements = LXOutOf(method);
        using Enumerator = std::remove_pointer_t<decltype(elements.Get())>;
        XLifeStep& step = Step(name, face, method, arguments..., elements.Put());
        EXPECT_EQ(step.result == S_OK, static_cast<bool>(elements)) << name;
        if (!elements) { return; }
        std::vector<std::string> texts; // sorted, because global format specs are ordered by address
        auto element = LXOutOf(&Enumerator::GetSingleNext);
        while (In([&] { return elements->GetSingleNext(element.Put()); }) == S_OK) {
            texts.push_back(Read(step, element.Get(), member));
        }
        std::sort(texts.begin(), texts.end());
        for (const std::string& text : texts) {
            step.answer += text + " ";
        }
    }

    bool Start() {
        m_cache = LXMakeCache();
        m_factory = m_cache.As<ILXConfigFactory>();
        std::vector<XLXComVariant> values = LXArguments(m_server, m_transferMode);
        const auto client = m_cache.As<IDPFObject>();
        Step("Initialize", client.Get(), &IDPFObject::Initialize, static_cast<ULONG>(values.size()),
             &values.front().Get());
        return SUCCEEDED(m_steps["Initialize"].result);
    }

    void AskForTypes() {
        ILXConfigFactory* const factory = m_factory.Get();
        All("GetTypeEnum", XProperty::TypeName, factory, &ILXConfigFactory::GetTypeEnum, nullptr);
        All("GetSearchableTypeEnum", XProperty::TypeName, factory, &ILXConfigFactory::GetSearchableTypeEnum);
        One("GetType(Unknown)", 0, factory, &ILXConfigFactory::GetType, B("Unknown").Get(), nullptr);
        const auto unknown = B("Unknown");
        BSTR names[] = {unknown.Get()};
        Step("LoadTypesByTypeNames", m_cache.Get(), &ILXConfigFactoryCache::LoadTypesByTypeNames, 1, names, 1);
        for (const char* name : {"Equipment", "Pump"}) {
            const auto object = m_server.DataObject(name);
            const auto type = One(std::string("GetCachedType(") + name + ")", XProperty::TypeName, m_cache.Get(),
                                  &ILXConfigFactoryCache::GetCachedType, object.Get(), nullptr);
            if (type) { AskType(std::string(name) + ".", type.Get()); }
        }
        All("GetBrowserIdEnum", 0, factory, &ILXConfigFactory::GetBrowserIdEnum);
    }

    void AskType(const std::string& prefix, ILXType* type) {
        All(prefix + "GetPageEnum", XProperty::PageNumber, type, &ILXType::GetPageEnum);
        One(prefix + "GetPage", XProperty::PageNumber, type, &ILXType::GetPage, 1);
        AskGroups(prefix, type);
        All(prefix + "GetAttributeEnum", 0, type, &ILXType::GetAttributeEnum);
        All(prefix + "GetGroupAttributeEnum", 0, type, &ILXType::GetGroupAttributeEnum, 2);
        All(prefix + "GetDisplayAttributeEnum", 0, type, &ILXType::GetDisplayAttributeEnum, 1);
        All(prefix + "GetDisplayGroupAttributeEnum", 0, type, &ILXType::GetDisplayGroupAttributeEnum, 1, 2);
        All(prefix + "GetConfObjEditorEnum", XProperty::ProgId, type, &ILXType::GetConfObjEditorEnum);
        One(prefix + "GetConfObjEditor", XProperty::ProgId, type, &ILXType::GetConfObjEditor, B("E.Pump").Get(),
            B("Tree").Get(), B("").Get());
        One(prefix + "GetDefaultEditor", XProperty::ProgId, type, &ILXType::GetDefaultEditor, B("Tree").Get());
        const auto attribute =
            One(prefix + "GetAttribute", XProperty::Label, type, &ILXType::GetAttribute, B("Head").Get());
        if (attribute) { AskAttribute(prefix + "Head.", attribute.Get()); }
    }

    void AskGroups(const std::string& prefix, ILXType* type) {
        All(prefix + "GetGroupEnum", XProperty::GroupNumber, type, &ILXType::GetGroupEnum);
        XLXComPtr<ILXGroupEnum> serverGroups; // the server's own groups
        Step(prefix + "GetToplevelGroupEnum", type, &ILXType::GetToplevelGroupEnum, serverGroups.Put());
        All(prefix + "GetPageGroupEnum", XProperty::GroupNumber, type, &ILXType::GetPageGroupEnum, 1);
        const auto group = One(prefix + "GetGroup", XProperty::GroupNumber, type, &ILXType::GetGroup, 7);
        if (group) {
            One(prefix + "Group.GetFormat", 1, group.Get(), &ILXGroup::GetFormat);
            All(prefix + "Group.GetChildGroupEnum", XProperty::GroupNumber, group.Get(), &ILXGroup::GetChildGroupEnum);
        }
    }

    void AskAttribute(const std::string& prefix, ILXAttribute* attribute) {
        One(prefix + "GetFormat", 1, attribute, &ILXAttribute::GetFormat, 1);
        One(prefix + "CreateFormat", 1, attribute, &ILXAttribute::CreateFormat, 5);
        Step(prefix + "DeleteFormat", attribute, &ILXAttribute::DeleteFormat, 5);
        All(prefix + "GetAttributeTypeEnum", XProperty::AttributeTypeName, attribute,
            &ILXAttribute::GetAttributeTypeEnum);
    }

    void AskForRelations() {
        const auto equipment = m_server.StoredObject("e");
        const auto pump = m_server.StoredObject("p");
        const auto relationship = m_server.StoredObject("rel");
        const auto all = [&](const char* name, auto method, auto... arguments) {
            All(name, XProperty::ChildName, m_cache.Get(), method, arguments...);
        };
        using Cache = ILXConfigFactoryCache;
        all("GetPCEnum", &Cache::GetPCEnum, equipment.Get(), nullptr, nullptr, B("Tree").Get(), 0);
        all("GetPCEnum2(plan types)", &Cache::GetPCEnum2, pump.Get(), nullptr, B("").Get(), 2);
        all("GetPCEnumAll", &Cache::GetPCEnumAll, nullptr, B("Equipment").Get(), B("").Get(), 0);
        all("GetPPRRelationsEnum", &Cache::GetPPRRelationsEnum, B("Equipment").Get(), nullptr);
        all("GetPossiblePPRRelationsByDO", &Cache::GetPossiblePPRRelationsByDO, equipment.Get(), pump.Get(), nullptr);
        All("GetParentChildEnum", XProperty::ChildName, m_factory.Get(), &ILXConfigFactory::GetParentChildEnum,
            B("").Get(), nullptr);
        Step("PPRRelationExists", m_cache.Get(), &Cache::PPRRelationExists, B("Equipment").Get(), B("Pump").Get(),
             nullptr, 1);
        One("GetSinglePCRelationByDO", XProperty::ChildName, m_cache.Get(), &Cache::GetSinglePCRelationByDO,
            equipment.Get(), relationship.Get());
        const auto relation =
            One("GetSinglePCRelation", XProperty::ChildName, m_cache.Get(), &Cache::GetSinglePCRelation,
                B("Equipment").Get(), B("Pump").Get(), nullptr, B("parts").Get());
        if (relation) {
            All("Relation.GetPCInfoEnum", 1, relation.Get(), &ILXParentChild::GetPCInfoEnum);
            One("Relation.GetPCInfo", 1, relation.Get(), &ILXParentChild::GetPCInfo, B("Tree").Get());
        }
    }

    void AskForDerivedTypes() {
        const auto item = B("Item");
        const auto pump = B("Pump");
        const auto object = m_server.StoredObject("p");
        using Cache = ILXConfigFactoryCache;
        Step("IsPlantype", m_cache.Get(), &Cache::IsPlantype, object.Get());
        BSTR names[] = {item.Get(), pump.Get()};
        LONG flags[2] = {};
        Step("CheckTypeDerivesFrom", m_cache.Get(), &Cache::CheckTypeDerivesFrom, pump.Get(), 2, names, flags).answer =
            std::to_string(flags[0]) + std::to_string(flags[1]);
        LONG count = 0;
        BSTR* derived = nullptr;
        XLifeStep& step =
            Step("GetAllDerivedTypes", m_cache.Get(), &Cache::GetAllDerivedTypes, item.Get(), &count, &derived);
        for (LONG i = 0; i < count; ++i) {
            step.answer += LXNarrow(LXBstrView(derived[i])) + " ";
            SysFreeString(derived[i]);
        }
        CoTaskMemFree(derived);
    }

    void AskForSpecs() {
        ILXConfigFactory* const factory = m_factory.Get();
        All("GetAllGlobalAttributeFormatSpecs", 0, factory, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs);
        XLXComPtr<ILXGlobalAttributeFormatSpec> serverSpec;
        Step("CreateGlobalAttributeFormatSpec", factory, &ILXConfigFactory::CreateGlobalAttributeFormatSpec,
             serverSpec.Put());
        Step("RemoveGlobalAttributeFormatSpecByID", factory, &ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID,
             B("Area").Get());
        All("GetAllGlobalAttributeFormatSpecs(after removal)", 0, factory,
            &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs);
    }

    // The step calls DataObjectChanged itself, so that the call is recorded; the edits send no notifications.
    void Change() {
        m_server.Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift", XNotify::No);
        m_server.Edit().AddType("Valve", "Item", XNotify::No);
        const auto update = m_cache.As<ILXCallbackUpdate>();
        Step("DataObjectChanged", update.Get(), &ILXCallbackUpdate::DataObjectChanged, B("objects/x/0/1").Get(),
             B("cfc_specific").Get(), 0u, 1u, 0u, nullptr);
    }

    void End() {
        const auto client = m_cache.As<IDPFObject>();
        Step("Terminate", client.Get(), &IDPFObject::Terminate);
        m_factory.Reset();
        m_cache.Reset();
    }

    XSampleServer& m_server;
    const std::function<void(bool)> m_around;
    const LONG m_transferMode = 1;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
    XLXComPtr<ILXConfigFactory> m_factory;
    std::string m_phase; // prefix of the step names
    XLifeSteps m_steps;
};

#endif
