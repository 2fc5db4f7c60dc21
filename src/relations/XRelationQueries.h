// SPDX-License-Identifier: MIT
//
// The manager's methods that query relations. They check their arguments and ask the relation manager of the
// connection. Parameters with configuration names are ignored.
//
// Errors     Null pointers raise E_POINTER, missing names E_INVALIDARG. Empty enumerations are S_FALSE and null.
#ifndef XRELATIONQUERIES_H
#define XRELATIONQUERIES_H

#include "XLXEnumWithDelete.h"
#include "XRelationEnds.h"
#include "lxpcpartcachemng.h"

#include <initializer_list>

/// @tparam Bases  must include ILXConfigFactoryCache and ILXConfigFactory
template <class... Bases> class XRelationQueries : public Bases... {
    using Object = ILX_BaseDataObject;
    using Enum = ILXParentChildEnum;

public:
    HRESULT STDMETHODCALLTYPE GetParentChildEnum(BSTR typeName, BSTR, Enum** out) override {
        return Ask("GetParentChildEnum", out, [&](auto& relations) {
            XLXError::CheckPointer(out, OLESTR("ppEnum"), LXPCPartAt("GetParentChildEnum"));
            return LXHandOutEnumerator(relations.Collect(LXBstrView(typeName), {}, {}, LXPCF_NONE), out);
        });
    }
    HRESULT STDMETHODCALLTYPE GetPCEnum(Object* object, BSTR typeName, BSTR, BSTR browserId, LONG withPlantypes,
                                        Enum** out) override {
        const LONG filter = withPlantypes != 0 ? LXPCF_WITHPLANTYPES : LXPCF_NONE;
        return Enumerate("GetPCEnum", out, {object, nullptr, typeName, browserId, filter});
    }
    HRESULT STDMETHODCALLTYPE GetPCEnum2(Object* object, BSTR typeName, BSTR browserId, LONG filter,
                                         Enum** out) override {
        return Enumerate("GetPCEnum2", out, {object, nullptr, typeName, browserId, filter});
    }
    /// Includes the relations of the base types. When the object answers with a success code other than S_OK, that code
    /// is returned.
    HRESULT STDMETHODCALLTYPE GetPCEnumAll(Object* object, BSTR typeName, BSTR browserId, LONG filter,
                                           Enum** out) override {
        LXEmptyOut(out);
        return AskBetween("GetPCEnumAll", {object, nullptr, typeName}, LXPCPartAt("GetPCEnumAll"),
                          {{out, OLESTR("ppPCEnum")}}, [&](auto& relations, const XRelationEnds& ends) {
                              return LXHandOutEnumerator(
                                  relations.CollectWithBases(ends.parentType, LXBstrView(browserId), filter), out);
                          });
    }
    /// The relations between the types of two objects.
    HRESULT STDMETHODCALLTYPE GetCachedPCEnum(Object* parent, Object* child, BSTR, BSTR browserId, LONG newOnly,
                                              Enum** out) override {
        const LONG filter = newOnly != 0 ? LXPCF_NEWONLY : LXPCF_NONE;
        return Enumerate(
            "GetCachedPCEnum", out, {parent, child, nullptr, browserId, filter}, LXPCBaseAt("GetCachedPCEnum", 38),
            {{parent, OLESTR("pObjectParent")}, {child, OLESTR("pObjectChild")}, {out, OLESTR("ppPCEnum")}});
    }
    HRESULT STDMETHODCALLTYPE GetThisBrowserParentChildEnum(BSTR typeName, BSTR, BSTR browserId, Enum** out) override {
        return Enumerate("GetThisBrowserParentChildEnum", out, {nullptr, nullptr, typeName, browserId},
                         LXPCBaseAt("GetThisBrowserPCEnum", 91), {{out, OLESTR("ppILXParentChildEnum")}});
    }

    // PPR relations
    HRESULT STDMETHODCALLTYPE GetPPRRelationsEnum(BSTR parentType, BSTR, Enum** out) override {
        return Enumerate("GetPPRRelationsEnum", out, {nullptr, nullptr, parentType, nullptr, LXPCF_PPRONLY});
    }
    HRESULT STDMETHODCALLTYPE GetPPRRelationsEnumByDO(Object* parent, BSTR, Enum** out) override {
        return Enumerate("GetPPRRelationsEnumByDO", out, {parent, nullptr, nullptr, nullptr, LXPCF_PPRONLY},
                         LXPCPartAt("GetPPRRelationsEnumByDO"),
                         {{out, OLESTR("ppPCEnum")}, {parent, OLESTR("pObjectParent")}});
    }
    HRESULT STDMETHODCALLTYPE GetPossiblePPRRelations(BSTR parentType, BSTR childType, BSTR, Enum** out) override {
        return EnumeratePossible("GetPossiblePPRRelations", parentType, childType, nullptr, LXPCF_NOSYSTEMINTERNAL,
                                 out);
    }
    HRESULT STDMETHODCALLTYPE GetPossiblePPRRelations2(BSTR parentType, BSTR childType, BSTR browserId, LONG filter,
                                                       Enum** out) override {
        return EnumeratePossible("GetPossiblePPRRelations2", parentType, childType, browserId, filter, out);
    }
    HRESULT STDMETHODCALLTYPE GetPossiblePPRRelationsByDO(Object* parent, Object* child, BSTR, Enum** out) override {
        return Enumerate(
            "GetPossiblePPRRelationsByDO", out,
            {parent, child, nullptr, nullptr, LXPCF_PPRONLY | LXPCF_NOSYSTEMINTERNAL},
            LXPCPartAt("GetPossiblePPRRelationsByDO"),
            {{child, OLESTR("pObjectChild")}, {out, OLESTR("ppPCEnum")}, {parent, OLESTR("pObjectParent")}});
    }
    HRESULT STDMETHODCALLTYPE PPRRelationExists(BSTR parentType, BSTR childType, BSTR, LONG internal) override {
        return Ask("PPRRelationExists", [&](auto& relations) {
            CheckNotEmpty(parentType, OLESTR("bstrParent is empty"), LXPCPartAt("PPRRelationExists"));
            return relations.PPRRelationExists(LXBstrView(parentType), LXBstrView(childType), internal != 0);
        });
    }
    HRESULT STDMETHODCALLTYPE PPRRelationExistsByDO(Object* parent, Object* child, BSTR, LONG internal) override {
        return AskBetween("PPRRelationExistsByDO", {parent, child}, LXPCPartAt("PPRRelationExistsByDO"),
                          {{parent, OLESTR("pObjectParent")}, {child, OLESTR("pObjectChild")}},
                          [&](auto& relations, const XRelationEnds& ends) {
                              return relations.PPRRelationExists(ends.parentType, ends.childType, internal != 0);
                          });
    }

    // Single relations
    HRESULT STDMETHODCALLTYPE GetPCRelation(BSTR parentType, BSTR, BSTR childList, ILXParentChild** out) override {
        return Ask("GetPCRelation", out, [&](auto& relations) {
            const auto at = [](int line) { return LXPCPartAt("GetPCRelation", line); };
            XLXError::CheckPointer(parentType, OLESTR("bstrTypenameParent"), at(799));
            XLXError::CheckPointer(childList, OLESTR("bstrChildListName"), at(800));
            XLXError::CheckPointer(out, OLESTR("pLXParentChild"), at(801));
            CheckNotEmpty(parentType, OLESTR("bstrParent is empty"), at(804));
            CheckNotEmpty(childList, OLESTR("bstrChildlistname is empty"), at(807));
            return relations.First(LXBstrView(parentType), LXBstrView(childList), out);
        });
    }
    HRESULT STDMETHODCALLTYPE GetSinglePCRelation(BSTR parentType, BSTR childType, BSTR, BSTR childList,
                                                  ILXParentChild** out) override {
        return Ask("GetSinglePCRelation", out,
                   [&](auto& relations) { return Single(relations, parentType, childType, childList, out); });
    }
    HRESULT STDMETHODCALLTYPE GetSinglePCRelationByDO(Object* parent, Object* relationship,
                                                      ILXParentChild** out) override {
        return Ask("GetSinglePCRelationByDO", out, [&](auto& relations) {
            const XRelationshipNames names(parent, relationship);
            return Single(relations, names.parentType.Get(), names.childType.Get(), names.childList.Get(), out);
        });
    }

protected:
    ~XRelationQueries() = default;

    /// The connection's relation manager; raises E_POINTER when there is none.
    virtual std::shared_ptr<XLXPCPartCacheMng> RelationManager(const char* method) const = 0;

private:
    /// Selects the relations to enumerate: those with this parent type, or the type of this parent object.
    struct Selection {
        Object* parent;
        Object* child; ///< null: any child type
        BSTR parentType = nullptr;
        BSTR browserId = nullptr;
        LONG filter = LXPCF_NONE;
    };
    /// An argument that must not be null.
    struct Required {
        const void* pointer;
        const OLECHAR* name;
    };

    static constexpr LXErrorLocation LXPCBaseAt(const char* method, int line) {
        return {"lxpcbasemng", "XLXPCBaseMng", method, line};
    }
    static void CheckNotEmpty(BSTR text, const OLECHAR* failureText, const LXErrorLocation& at) {
        if (LXBstrView(text).empty()) { XLXError::Raise(E_INVALIDARG, failureText, at); }
    }

    /// Runs a query of the relation manager.
    template <class Query> HRESULT Ask(const char* method, Query&& query) const {
        return XLXError::Guarded(LXManagerAt(method), [&]() -> HRESULT { return query(*RelationManager(method)); });
    }
    /// The same with an out pointer. It is nulled first, because finding the relation manager may fail.
    template <class Out, class Query> HRESULT Ask(const char* method, Out** out, Query&& query) const {
        LXEmptyOut(out);
        return Ask(method, std::forward<Query>(query));
    }

    /// Queries relations between the selected ends: query(relations, ends). When an object answers with a success
    /// code other than S_OK, that code is returned.
    HRESULT AskBetween(const char* method, const Selection& selection, const LXErrorLocation& at,
                       std::initializer_list<Required> required, auto&& query) const {
        return Ask(method, [&](auto& relations) {
            for (const Required& argument : required) {
                XLXError::CheckPointer(argument.pointer, argument.name, at);
            }
            const XRelationEnds ends(selection.parent, selection.child, selection.parentType);
            return ends.result != S_OK ? ends.result : query(relations, ends);
        });
    }
    HRESULT Enumerate(const char* method, Enum** out, const Selection& selection, const LXErrorLocation& at,
                      std::initializer_list<Required> required) const {
        LXEmptyOut(out);
        const auto collect = [&](auto& relations, const XRelationEnds& ends) {
            return LXHandOutEnumerator(
                relations.Collect(ends.parentType, ends.childType, LXBstrView(selection.browserId), selection.filter),
                out);
        };
        const HRESULT result = AskBetween(method, selection, at, required, collect);
        return SUCCEEDED(result) && result != S_OK ? S_FALSE : result;
    }
    HRESULT Enumerate(const char* method, Enum** out, const Selection& selection) const {
        return Enumerate(method, out, selection, LXPCPartAt(method), {{out, OLESTR("ppPCEnum")}});
    }
    HRESULT EnumeratePossible(const char* method, BSTR parentType, BSTR childType, BSTR browserId, LONG filter,
                              Enum** out) const {
        return Ask(method, out, [&](auto& relations) {
            const LXErrorLocation at = LXPCPartAt("GetPossiblePPRRelations2");
            XLXError::CheckPointer(out, OLESTR("ppPCEnum"), at);
            CheckNotEmpty(parentType, OLESTR("bstrParent is empty"), at);
            return LXHandOutEnumerator(relations.Collect(LXBstrView(parentType), LXBstrView(childType),
                                                         LXBstrView(browserId), filter | LXPCF_PPRONLY),
                                       out);
        });
    }
    static HRESULT Single(XLXPCPartCacheMng& relations, BSTR parentType, BSTR childType, BSTR childList,
                          ILXParentChild** out) {
        const auto at = [](int line) { return LXPCPartAt("GetSinglePCRelation", line); };
        XLXError::CheckPointer(parentType, OLESTR("bstrTypenameParent"), at(671));
        XLXError::CheckPointer(childType, OLESTR("bstrTypenameChild"), at(672));
        XLXError::CheckPointer(childList, OLESTR("bstrChildListName"), at(673));
        XLXError::CheckPointer(out, OLESTR("pLXParentChild"), at(674));
        CheckNotEmpty(parentType, OLESTR("bstrParent is empty"), at(677));
        CheckNotEmpty(childType, OLESTR("bstrChild is empty"), at(680));
        CheckNotEmpty(childList, OLESTR("bstrChildlistname is empty"), at(683));
        return relations.Single(LXBstrView(parentType), LXBstrView(childType), LXBstrView(childList), out);
    }
};

#endif
