// SPDX-License-Identifier: MIT
//
// Malformed arrays of relations.
#include "XTransferWriters.h"
#include "lxpcpartcachemng.h"
#include "relationfixture.h"

using namespace XLXCFCDataTransfer;

namespace {
/// A config factory that supports only GetPCArray and returns one relation with this many values.
class ArrayFactory final : public ILXConfigFactory {
public:
    int values = 37;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; } // on the test's stack
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE GetPCArray(SAFEARRAY** array) override {
        XLXVariantVector names;
        for (int i = 0; i < values; ++i) {
            names.push_back(XLXComVariant::FromBstr(OLESTR("Name")));
        }
        std::vector<XILXPCData> records(1);
        records.front().values = std::move(names);
        *array = GetArrayFromVec(std::move(records)).Detach();
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE AddType(ILXType**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveType(ILXType*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeEnum(BSTR, ILXTypeEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSearchableTypeEnum(ILXTypeEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPlanTypeEnum(BSTR, ILXTypeEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetType(BSTR, BSTR, ILXType**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddParentChild(ILXParentChild**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveParentChild(ILXParentChild*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetParentChildEnum(BSTR, BSTR, ILXParentChildEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddBrowserId(BSTR, ILXBrowserId**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveBrowserId(ILXBrowserId*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetBrowserIdEnum(ILXBrowserIdEnum**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteDatabase() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeArray(LONG, SAFEARRAY**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeName(BSTR, LONG, LONG, SAFEARRAY**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArray(SAFEARRAY*, LONG, LONG, SAFEARRAY**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetVersion(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetVersion(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RemoveGlobalAttributeFormatSpec(ILXGlobalAttributeFormatSpec*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RemoveGlobalAttributeFormatSpecByID(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE NotifyServerTermination() override { return E_NOTIMPL; }
};

class Host final : public XRelationHost {
public:
    ArrayFactory factory;

    XLXComPtr<ILXConfigFactory> ConfigFactoryOf(const XClockPtr&, const char*) const override {
        return const_cast<ArrayFactory*>(&factory);
    }
    std::vector<XLXText> BaseTypeNames(XLXTextView) override { return {}; }
    std::vector<PlanTypeRelation> InternalGetPlantypeRelations(XLXTextView) override { return {}; }
    const XWeakLink<XPCInfoRegistry>& PCInfoLink() const noexcept override { return m_link; }
    HRESULT InternalGetPCInfoEnum(ILXPCInfoEnum**, bool) override { return S_FALSE; }
    HRESULT InternalGetPCInfo(XLXTextView, ILXPCInfo**, bool) override { return S_FALSE; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    bool TryAddRef() noexcept override { return true; }

private:
    XWeakLink<XPCInfoRegistry> m_link;
};
} // namespace

TEST(RelationArray, ARecordThatIsTooShortFailsTheLoadOnce) {
    const std::pair<int, const char*> cases[] = {
        {0, "pPCCache->GetProperty LXCFPC_parentname"},
        {19, "pPCCache->GetProperty LXCFPC_parentname"},
        {20, "pPCCache->GetProperty LXCFPC_pprrelationtype"},
        {21, nullptr},
    };
    for (const auto& [values, text] : cases) {
        Host host;
        host.factory.values = values;
        XLXPCPartCacheMng relations(host, XClockPtr(new XClock));
        const auto load = [&relations] {
            return XLXError::Guarded(LXHere("test", nullptr, "test"), [&] {
                relations.InternalFillParentChildMap();
                return S_OK;
            });
        };
        EXPECT_EQ(load(), text != nullptr ? E_INVALIDARG : S_OK) << values;
        const auto error = LXErrorInformation::Take();
        EXPECT_EQ(LXNarrow(error.description), text != nullptr ? text : "");
        EXPECT_EQ(load(), S_OK); // not asked a second time
        EXPECT_EQ(relations.Collect({}, {}, {}, LXPCF_NONE).size(), text != nullptr ? 0u : 1u);
    }
}
