// SPDX-License-Identifier: MIT
#ifndef LXATTRIBUTECACHE_H
#define LXATTRIBUTECACHE_H

#include "XCFCDataTransfer.h"
#include "XCFGStringKey.h"
#include "XLXFormatOwner.h"
#include "lxattributetypecache.h"
#include "lxconfigfactorycache/LXProperties.h"

#include <exception>
#include <vector>

/// The facts that determine whether an attribute is in a display enumeration, packed into one word. The word is built
/// and copied as a whole: writing single fields and then reading the whole word would stall the processor.
class XDisplayFacts {
public:
    XDisplayFacts() noexcept = default;
    /// Takes the facts from an attribute's values. An empty value counts as false or 0.
    explicit XDisplayFacts(const XVariantRow& values);
    /// Whether the values include all that the facts are taken from.
    static bool AreIn(const XVariantRow& values) noexcept;

    bool IsShownIn(LONG displays) const noexcept { return (static_cast<LONG>(m_word & Low) & displays) != 0; }
    LONG GroupNumber() const noexcept { return static_cast<LONG>(static_cast<std::uint32_t>(m_word >> 32)); }

private:
    static constexpr std::uint64_t Low = 0xFFFFFFFF; ///< the displays (LXDisplay); the upper half has the group number

    std::uint64_t m_word = 0;
};
static_assert(std::atomic<XDisplayFacts>::is_always_lock_free);

/// An attribute of a type, with its attribute types and its formats.
class XLXAttributeCache final
    : public XLXFormatOwner<XLXAttributeCache, XCachedFacts::Attribute, XOwnedFormats::OfAttribute, ILXAttribute, int> {
public:
    XLXAttributeCache(XLXComPtr<IUnknown> server, XClockPtr clock);

    // ILXAttribute; the base class has the methods for formats
    HRESULT STDMETHODCALLTYPE AddAttributeType(ILXAttributeType** ppAttributeType) override;
    HRESULT STDMETHODCALLTYPE RemoveAttributeType(ILXAttributeType* pAttributeType, LONG* plResult) override;
    HRESULT STDMETHODCALLTYPE GetAttributeTypeEnum(ILXAttributeTypeEnum** ppEnum) override;

    // For the owner

    /// Takes the attribute types that a bulk read delivered, possibly none. They replace the present ones, and the
    /// server is not asked for them.
    /// @param source  creates the source of the attribute's own server object, for types without a server object
    void AssignAttributeTypes(std::vector<XLXCFCDataTransfer::XILXConfigData> types, const XMoment& moment,
                              const std::function<XServerSourcePtr()>& source, XRetired& retired);

    /// Takes the values that a bulk read delivered for the existing attribute types.
    void RefillAttributeTypes(std::vector<XLXCFCDataTransfer::XILXConfigData> types, const XMoment& moment,
                              XRetired& retired);

    /// The display facts if they are fresh. Lock-free.
    std::optional<XDisplayFacts> FreshDisplayFacts() const noexcept {
        if (m_factsStamp.load(std::memory_order_acquire) != XStamp{Now(), Store().Own().Now()}.Sum()) {
            return std::nullopt;
        }
        // The facts are written before the stamp and read after it: these belong to that stamp or are newer.
        return m_facts.load(std::memory_order_acquire);
    }
    /// The display facts, fetched from the server unless they are fresh. Raises failures.
    XDisplayFacts DisplayFacts();

    /// Clears the attribute types and the formats.
    void Terminate() noexcept;

private:
    friend XLXConfigObjectCache;
    using TypeMap = XNameMap<XLXComPtr<XLXAttributeTypeCache>>;
    using TypeMapPtr = std::shared_ptr<const TypeMap>;

    void OnAssigned(const XVariantRow& values, const XStamp& stamp) noexcept;
    void AdvanceParts() noexcept;
    void OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched);

    TypeMapPtr LoadAttributeTypes();
    TypeMapPtr FetchAttributeTypes(const XRequestTime& requested, std::exception_ptr& failure);
    TypeMap ReadAttributeTypes(const XRequestTime& requested, std::exception_ptr& failure) const;
    void OnAttributeTypes(const TypeMap& types, const TypeMap* former, const XMoment& moment) const;
    void AddAttributeType(const TypeMapPtr& former, TypeMap& to, XLXCFCDataTransfer::XILXConfigData&& type,
                          const XRequestTime& requested, const std::function<XServerSourcePtr()>& source,
                          XRetired& retired) const;

    // Published together with the values, under the store's lock and with its stamp. Display enumerations read only
    // these two words and take no lock.
    std::atomic<std::uint64_t> m_factsStamp{0}; // XStamp::Sum
    std::atomic<XDisplayFacts> m_facts{XDisplayFacts{}};
    XLoaded<TypeMap> m_attributeTypes;
};

#endif
