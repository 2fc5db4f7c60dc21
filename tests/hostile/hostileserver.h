// SPDX-License-Identifier: MIT
//
// Parts of a misbehaving server. They wrap the sample server and forward whatever a test does not replace.
#ifndef HOSTILESERVER_H
#define HOSTILESERVER_H

#include "XCFCDataTransfer.h"
#include "XTransferWriters.h"
#include "cachefixture.h"
#include "hostileenum.h"

#include <lxserver/Refusals.h>

template <class First, class... Others> using HostileObject = lx::Object<First, Others...>;

/// An object that only counts references.
class Opaque final : public HostileObject<IUnknown> {};

class HostileFactory final : public lx::ConfigFactoryRefusals<lx::Object<ILXConfigFactory, ILXConfigFactoryEx>> {
public:
    explicit HostileFactory(XLXComPtr<ILXConfigFactory> inner)
        : m_inner(std::move(inner)), m_bulk(m_inner.As<ILXConfigFactoryEx>()) {}

    // Replacements that a test may set:
    std::function<HRESULT(SAFEARRAY**)> types;
    std::function<HRESULT(SAFEARRAY**)> namedTypes;
    std::function<HRESULT(SAFEARRAY**)> relations;
    std::function<HRESULT(ILXBrowserIdEnum**)> browserIds;
    std::function<HRESULT(ILXGlobalAttributeFormatSpecEnum**)> specs;
    std::function<HRESULT(BSTR*)> version;

    HRESULT STDMETHODCALLTYPE GetTypeArrayEx(LONG mode, SAFEARRAY** a) override {
        return types ? types(a) : m_bulk->GetTypeArrayEx(mode, a);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameEx(BSTR n, LONG b, LONG mode, SAFEARRAY** a) override {
        return m_bulk->GetTypeArrayByTypeNameEx(n, b, mode, a);
    }
    HRESULT STDMETHODCALLTYPE GetTypeArrayByTypeNameArrayEx(SAFEARRAY* n, LONG b, LONG mode, SAFEARRAY** a) override {
        return namedTypes ? namedTypes(a) : m_bulk->GetTypeArrayByTypeNameArrayEx(n, b, mode, a);
    }
    HRESULT STDMETHODCALLTYPE GetPCArray(SAFEARRAY** a) override {
        return relations ? relations(a) : m_inner->GetPCArray(a);
    }
    HRESULT STDMETHODCALLTYPE GetBrowserIdEnum(ILXBrowserIdEnum** e) override {
        return browserIds ? browserIds(e) : m_inner->GetBrowserIdEnum(e);
    }
    HRESULT STDMETHODCALLTYPE GetAllGlobalAttributeFormatSpecs(ILXGlobalAttributeFormatSpecEnum** e) override {
        return specs ? specs(e) : m_inner->GetAllGlobalAttributeFormatSpecs(e);
    }

    HRESULT STDMETHODCALLTYPE GetVersion(BSTR* v) override { return version ? version(v) : E_NOTIMPL; }

private:
    const XLXComPtr<ILXConfigFactory> m_inner;
    const XLXComPtr<ILXConfigFactoryEx> m_bulk;
};

/// A type in a bulk read; its attributes have only names.
struct HostileType {
    XLXText name;
    XLXText base;
    std::vector<XLXText> attributes;
};

/// A bulk read of types. The server makes the objects of types and attributes, and the base-type property; empty: none.
inline XLXSafeArray HostileTypeArray(const std::vector<HostileType>& types,
                                     const std::function<XLXComPtr<IUnknown>()>& server = {}) {
    using namespace XLXCFCDataTransfer;
    XILXTypeMap map;
    for (const HostileType& type : types) {
        XILXTypeData& record = map.records[IndexOf(map, type.name)];
        record.listed = true;
        record.config.object = server ? server() : nullptr;
        XLXVariantVector values(28);
        values[0] = XLXComVariant::FromBstr(type.name);
        values[2] = type.base.empty() ? XLXComVariant() : XLXComVariant::FromBstr(type.base);
        values[27] = server ? XLXComVariant::FromUnknown(server().Get()) : XLXComVariant();
        record.config.values = std::move(values);
        std::vector<XILXAttributeData> attributes;
        for (const XLXText& name : type.attributes) {
            XILXAttributeData& attribute = attributes.emplace_back();
            attribute.object = server ? server() : nullptr;
            XLXVariantVector ofAttribute(60);
            ofAttribute[0] = XLXComVariant::FromBstr(name);
            attribute.values = std::move(ofAttribute);
        }
        if (!attributes.empty()) { record.components.attributes = GetArrayFromAttributeList(std::move(attributes)); }
    }
    return GetArrayFromMap(std::move(map));
}

/// A cache whose config factory is hostile.
class HostileTest : public CacheTest {
protected:
    explicit HostileTest(XServerModel model = LXTestModel())
        : CacheTest(std::move(model)), m_factory(new HostileFactory(m_server->ConfigFactory())) {}
    /// Answers all bulk reads of types.
    void ServeTypes(const std::function<XLXSafeArray()>& make) {
        m_factory->types = [make](SAFEARRAY** out) {
            *out = make().Detach();
            return S_OK;
        };
    }
    HRESULT StartHostile() {
        auto values = Arguments(15, false, false);
        values[0] = XLXComVariant::FromUnknown(static_cast<ILXConfigFactory*>(m_factory.Get()));
        return Initialize(std::move(values));
    }
    /// A type by name.
    XLXComPtr<ILXType> Named(XLXTextView name, HRESULT expected = S_OK) {
        XLXComPtr<ILXType> type;
        EXPECT_EQ(LXCall(*Factory(), &ILXConfigFactory::GetType, name, nullptr, type.Put()), expected)
            << LXNarrow(name);
        return type;
    }
    /// A type's attribute by name; null if it has none.
    static XLXComPtr<ILXAttribute> AttributeOf(const XLXComPtr<ILXType>& type, XLXTextView name) {
        return LXFind(type, &ILXType::GetAttribute, name);
    }

    XLXComPtr<HostileFactory> m_factory;
};

#endif
