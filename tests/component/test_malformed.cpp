// SPDX-License-Identifier: MIT
//
// Servers that deliver malformed arrays: the caller gets the error, and the cache is unchanged.
#include "XTransferWriters.h"
#include "cachefixture.h"

using namespace XLXCFCDataTransfer;

namespace {
/// A config factory that supports only bulk reads of types and returns what the test supplies.
class BulkOnlyFactory final : public ILXConfigFactory, public ILXConfigFactoryEx {
public:
    std::function<XLXSafeArray()> next;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        *ppv = IsEqualIID(iid, LXIid<ILXConfigFactory>()) || IsEqualIID(iid, IID_IUnknown)
                   ? static_cast<void*>(static_cast<ILXConfigFactory*>(this))
               : IsEqualIID(iid, LXIid<ILXConfigFactoryEx>())
                   ? static_cast<void*>(static_cast<ILXConfigFactoryEx*>(this))
                   : nullptr;
        return *ppv != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; } // on the test's stack
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE GetTypeArrayEx(LONG, SAFEARRAY** array) override {
        *array = next().Detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameEx(BSTR, LONG, LONG mode, SAFEARRAY** array) override {
        return GetTypeArrayEx(mode, array);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArrayEx(SAFEARRAY*, LONG, LONG mode, SAFEARRAY** array) override {
        return GetTypeArrayEx(mode, array);
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
    HRESULT STDMETHODCALLTYPE GetPCArray(SAFEARRAY**) override { return E_NOTIMPL; }
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

/// One type without a server object, with these component lists.
XLXSafeArray TypeArray(XILXTypeComp components) {
    XILXTypeMap types;
    types.names.emplace(OLESTR("Pump"), 0);
    XILXTypeData& type = types.records[0];
    XLXVariantVector values(28);
    values[0] = XLXComVariant::FromBstr(OLESTR("Pump"));
    type.config.values = std::move(values);
    type.components = std::move(components);
    type.listed = true;
    return GetArrayFromMap(std::move(types));
}

XLXSafeArray Flat(std::initializer_list<LONG> numbers) {
    XArrayWriter writer;
    for (const LONG number : numbers) {
        writer.Add(XLXComVariant::FromI4(number));
    }
    return writer.Finish();
}

class Malformed : public testing::Test {
protected:
    Malformed() : m_cache(LXMakeCache()) {}
    ~Malformed() override { EXPECT_EQ(m_cache.As<IDPFObject>()->Terminate(), S_OK); }

    HRESULT Start() {
        XLXComVariant values[6];
        values[0] = XLXComVariant::FromUnknown(static_cast<ILXConfigFactory*>(&m_factory));
        values[3] = XLXComVariant::FromBool(true);
        values[4] = XLXComVariant::FromBool(false);
        values[5] = XLXComVariant::FromI4(15);
        return m_cache.As<IDPFObject>()->Initialize(6, &values[0].Get());
    }
    XLXComPtr<ILXType> Pump() {
        XLXComPtr<ILXType> pump;
        EXPECT_EQ(m_cache.As<ILXConfigFactory>()->GetType(XLXComBSTR(OLESTR("Pump")).Get(), nullptr, pump.Put()), S_OK);
        return pump;
    }

    BulkOnlyFactory m_factory;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};
} // namespace

TEST_F(Malformed, TypeArraysAreRefusedAndTheNextQuestionAsksAgain) {
    m_factory.next = [] { return Flat({1}); };
    EXPECT_EQ(Start(), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("wrong safearray size"));
    m_factory.next = [] { return TypeArray({}); };
    EXPECT_EQ(LXRead(Pump().Get(), 0), OLESTR("Pump"));
}

TEST_F(Malformed, AReloadThatFailsLeavesTheTypesAsTheyWere) {
    m_factory.next = [] { return TypeArray({}); };
    ASSERT_EQ(Start(), S_OK);
    const auto pump = Pump();
    const XLXComBSTR id(OLESTR("objects/x/0/2"));
    const XLXComBSTR type(OLESTR("cfc_specific"));
    m_cache.As<ILXCallbackUpdate>()->DataObjectChanged(id.Get(), type.Get(), 0, 1, 0, nullptr);
    m_factory.next = [] { return Flat({1, 7, 0, 0}); };
    XLXComPtr<ILXType> refused;
    EXPECT_EQ(m_cache.As<ILXConfigFactory>()->GetType(XLXComBSTR(OLESTR("Pump")).Get(), nullptr, refused.Put()),
              E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("wrong data wrapper id stored in safearray"));
    m_factory.next = [] { return TypeArray({}); };
    EXPECT_EQ(pump, Pump());
}

TEST_F(Malformed, ComponentListsAreRefusedWhenTheyAreRead) {
    m_factory.next = [] {
        XILXTypeComp components;
        components.pages = Flat({});
        components.groups = Flat({-1});
        components.editors = Flat({1, 2, 3});
        components.attributes = Flat({4});
        return TypeArray(std::move(components));
    };
    ASSERT_EQ(Start(), S_OK);
    const auto pump = Pump();
    XLXComPtr<ILXPageEnum> pages;
    EXPECT_EQ(pump->GetPageEnum(pages.Put()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("wrong safearray size"));
    XLXComPtr<ILXGroupEnum> groups;
    EXPECT_EQ(pump->GetGroupEnum(groups.Put()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("vector element count is negative"));
    XLXComPtr<ILXConfObjEditorEnum> editors;
    EXPECT_EQ(pump->GetConfObjEditorEnum(editors.Put()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("variant type mismatch: expected VT_UNKNOWN"));
    XLXComPtr<ILXAttributeEnum> attributes;
    EXPECT_EQ(pump->GetAttributeEnum(attributes.Put()), E_INVALIDARG);
    EXPECT_EQ(LXErrorInformation::Take().description, OLESTR("variant type mismatch: expected VT_UNKNOWN"));
    EXPECT_EQ(LXRead(pump.Get(), 0), OLESTR("Pump"));
}
