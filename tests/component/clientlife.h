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

/// Expects each step to be as in an undisturbed session, unless another result is allowed.
template <class Allowed> void LXExpectSteps(const XLifeSteps& steps, const XLifeSteps& undisturbed, Allowed&& allowed) {
    for (const auto& [name, step] : steps) {
        const XLifeStep& expected = undisturbed.at(name);
        EXPECT_TRUE((step.result == expected.result && step.answer == expected.answer) || allowed(name, step))
            << name << ": " << step.result << " " << step.answer;
    }
}

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

    /// Calls a method, unless the object is null. One and All also read a property: of the object that the method
    /// returns through its last parameter, or of all elements of that enumeration.
    template <class Face, class Method, class... Arguments>
    XLifeStep& Step(const std::string& name, const XLXComPtr<Face>& face, Method method, Arguments... arguments) {
        if (!face) { return m_skipped; }
        const auto call =
            [&](const auto&... converted) -> XLifeStep& { // outside of the watched call, because it allocates
            return Note(name, In([&] { return (*face.*method)(converted...); }));
        };
        return call(LXArgument(arguments)...);
    }

    template <class Face, class Method, class... Arguments>
    auto One(const std::string& name, int member, const XLXComPtr<Face>& face, Method method, Arguments... arguments) {
        auto object = LXOutOf(method);
        XLifeStep& step = Step(name, face, method, arguments..., object.Put());
        EXPECT_EQ(step.result == S_OK, static_cast<bool>(object)) << name;
        if (object) { step.answer = Read(step, object.Get(), member); }
        return object;
    }

    template <class Face, class Method, class... Arguments>
    void All(const std::string& name, int member, const XLXComPtr<Face>& face, Method method, Arguments... arguments) {
        auto elements = LXOutOf(method);
        XLifeStep& step = Step(name, face, method, arguments..., elements.Put());
        EXPECT_EQ(step.result == S_OK, static_cast<bool>(elements)) << name;
        std::vector<std::string> texts; // sorted, because global format specs are ordered by address
        auto element = LXOutOf(&std::remove_reference_t<decltype(*elements)>::GetSingleNext);
        while (elements && In([&] { return elements->GetSingleNext(element.Put()); }) == S_OK) {
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
        return SUCCEEDED(Step("Initialize", m_cache.As<IDPFObject>(), &IDPFObject::Initialize,
                              static_cast<ULONG>(values.size()), &values.front().Get())
                             .result);
    }

    void AskForTypes() {
        All("GetTypeEnum", XProperty::TypeName, m_factory, &ILXConfigFactory::GetTypeEnum, nullptr);
        All("GetSearchableTypeEnum", XProperty::TypeName, m_factory, &ILXConfigFactory::GetSearchableTypeEnum);
        One("GetType(Unknown)", 0, m_factory, &ILXConfigFactory::GetType, "Unknown", nullptr);
        const XBstrArgument unknown = LXArgument("Unknown");
        BSTR names[] = {unknown};
        Step("LoadTypesByTypeNames", m_cache, &ILXConfigFactoryCache::LoadTypesByTypeNames, 1, names, 1);
        for (const char* name : {"Equipment", "Pump"}) {
            const auto object = m_server.DataObject(name);
            const auto type = One(std::string("GetCachedType(") + name + ")", XProperty::TypeName, m_cache,
                                  &ILXConfigFactoryCache::GetCachedType, object.Get(), nullptr);
            AskType(std::string(name) + ".", type);
        }
        All("GetBrowserIdEnum", 0, m_factory, &ILXConfigFactory::GetBrowserIdEnum);
    }

    void AskType(const std::string& prefix, const XLXComPtr<ILXType>& type) {
        All(prefix + "GetPageEnum", XProperty::PageNumber, type, &ILXType::GetPageEnum);
        One(prefix + "GetPage", XProperty::PageNumber, type, &ILXType::GetPage, 1);
        AskGroups(prefix, type);
        All(prefix + "GetAttributeEnum", 0, type, &ILXType::GetAttributeEnum);
        All(prefix + "GetGroupAttributeEnum", 0, type, &ILXType::GetGroupAttributeEnum, 2);
        All(prefix + "GetDisplayAttributeEnum", 0, type, &ILXType::GetDisplayAttributeEnum, 1);
        All(prefix + "GetDisplayGroupAttributeEnum", 0, type, &ILXType::GetDisplayGroupAttributeEnum, 1, 2);
        All(prefix + "GetConfObjEditorEnum", XProperty::ProgId, type, &ILXType::GetConfObjEditorEnum);
        One(prefix + "GetConfObjEditor", XProperty::ProgId, type, &ILXType::GetConfObjEditor, "E.Pump", "Tree", "");
        One(prefix + "GetDefaultEditor", XProperty::ProgId, type, &ILXType::GetDefaultEditor, "Tree");
        const auto attribute = One(prefix + "GetAttribute", XProperty::Label, type, &ILXType::GetAttribute, "Head");
        AskAttribute(prefix + "Head.", attribute);
    }

    void AskGroups(const std::string& prefix, const XLXComPtr<ILXType>& type) {
        All(prefix + "GetGroupEnum", XProperty::GroupNumber, type, &ILXType::GetGroupEnum);
        XLXComPtr<ILXGroupEnum> serverGroups; // the server's own groups
        Step(prefix + "GetToplevelGroupEnum", type, &ILXType::GetToplevelGroupEnum, serverGroups.Put());
        All(prefix + "GetPageGroupEnum", XProperty::GroupNumber, type, &ILXType::GetPageGroupEnum, 1);
        const auto group = One(prefix + "GetGroup", XProperty::GroupNumber, type, &ILXType::GetGroup, 7);
        One(prefix + "Group.GetFormat", 1, group, &ILXGroup::GetFormat);
        All(prefix + "Group.GetChildGroupEnum", XProperty::GroupNumber, group, &ILXGroup::GetChildGroupEnum);
    }

    void AskAttribute(const std::string& prefix, const XLXComPtr<ILXAttribute>& attribute) {
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
            All(name, XProperty::ChildName, m_cache, method, arguments...);
        };
        using Cache = ILXConfigFactoryCache;
        all("GetPCEnum", &Cache::GetPCEnum, equipment.Get(), nullptr, nullptr, "Tree", 0);
        all("GetPCEnum2(plan types)", &Cache::GetPCEnum2, pump.Get(), nullptr, "", 2);
        all("GetPCEnumAll", &Cache::GetPCEnumAll, nullptr, "Equipment", "", 0);
        all("GetPPRRelationsEnum", &Cache::GetPPRRelationsEnum, "Equipment", nullptr);
        all("GetPossiblePPRRelationsByDO", &Cache::GetPossiblePPRRelationsByDO, equipment.Get(), pump.Get(), nullptr);
        All("GetParentChildEnum", XProperty::ChildName, m_factory, &ILXConfigFactory::GetParentChildEnum, "", nullptr);
        Step("PPRRelationExists", m_cache, &Cache::PPRRelationExists, "Equipment", "Pump", nullptr, 1);
        One("GetSinglePCRelationByDO", XProperty::ChildName, m_cache, &Cache::GetSinglePCRelationByDO, equipment.Get(),
            relationship.Get());
        const auto relation = One("GetSinglePCRelation", XProperty::ChildName, m_cache, &Cache::GetSinglePCRelation,
                                  "Equipment", "Pump", nullptr, "parts");
        All("Relation.GetPCInfoEnum", 1, relation, &ILXParentChild::GetPCInfoEnum);
        One("Relation.GetPCInfo", 1, relation, &ILXParentChild::GetPCInfo, "Tree");
    }

    void AskForDerivedTypes() {
        const XBstrArgument item = LXArgument("Item");
        const XBstrArgument pump = LXArgument("Pump");
        const auto object = m_server.StoredObject("p");
        using Cache = ILXConfigFactoryCache;
        Step("IsPlantype", m_cache, &Cache::IsPlantype, object.Get());
        BSTR names[] = {item, pump};
        LONG flags[2] = {};
        Step("CheckTypeDerivesFrom", m_cache, &Cache::CheckTypeDerivesFrom, "Pump", 2, names, flags).answer =
            std::to_string(flags[0]) + std::to_string(flags[1]);
        LONG count = 0;
        BSTR* derived = nullptr;
        XLifeStep& step = Step("GetAllDerivedTypes", m_cache, &Cache::GetAllDerivedTypes, "Item", &count, &derived);
        for (const std::string& type : LXTake(count, derived)) {
            step.answer += type + " ";
        }
    }

    void AskForSpecs() {
        All("GetAllGlobalAttributeFormatSpecs", 0, m_factory, &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs);
        XLXComPtr<ILXGlobalAttributeFormatSpec> serverSpec;
        Step("CreateGlobalAttributeFormatSpec", m_factory, &ILXConfigFactory::CreateGlobalAttributeFormatSpec,
             serverSpec.Put());
        Step("RemoveGlobalAttributeFormatSpecByID", m_factory, &ILXConfigFactory::RemoveGlobalAttributeFormatSpecByID,
             "Area");
        All("GetAllGlobalAttributeFormatSpecs(after removal)", 0, m_factory,
            &ILXConfigFactory::GetAllGlobalAttributeFormatSpecs);
    }

    // The step calls DataObjectChanged itself, so that the call is recorded; the edits send no notifications.
    void Change() {
        m_server.Edit().SetAttributeProperty("Pump", "Head", XProperty::Label, "Lift", XNotify::No);
        m_server.Edit().AddType("Valve", "Item", XNotify::No);
        Step("DataObjectChanged", m_cache.As<ILXCallbackUpdate>(), &ILXCallbackUpdate::DataObjectChanged,
             "objects/x/0/1", "cfc_specific", 0u, 1u, 0u, nullptr);
    }

    void End() {
        Step("Terminate", m_cache.As<IDPFObject>(), &IDPFObject::Terminate);
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
    XLifeStep m_skipped{S_FALSE, {}, false};
};

#endif
