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

/// What decides whether an attribute is in a display enumeration. One word, in which it travels, too: a processor waits
/// where single fields were written and the whole is read.
class XDisplayFacts {
public:
    XDisplayFacts() noexcept = default;
    /// The facts in an attribute's values; an empty or missing value is no answer.
    explicit XDisplayFacts(const XVariantRow& values);

    bool IsShownIn(LONG displays) const noexcept { return (static_cast<LONG>(m_word & Low) & displays) != 0; }
    LONG GroupNumber() const noexcept { return static_cast<LONG>(static_cast<std::uint32_t>(m_word >> 32)); }

private:
    static constexpr std::uint64_t Low = 0xFFFFFFFF; ///< the displays (LXDisplay); above them the group's number

    std::uint64_t m_word = 0;
};
static_assert(std::atomic<XDisplayFacts>::is_always_lock_free);

/// An attribute of a type, with its attribute types and its formats.
class XLXAttributeCache final
    : public XLXFormatOwner<XLXAttributeCache, XCachedFacts::Attribute, XOwnedFormats::OfAttribute, ILXAttribute, int> {
public:
    XLXAttributeCache(XLXComPtr<IUnknown> server, XClockPtr clock);

    // ILXAttribute; formats are their owner's
    HRESULT STDMETHODCALLTYPE AddAttributeType(ILXAttributeType** ppAttributeType) override;
    HRESULT STDMETHODCALLTYPE RemoveAttributeType(ILXAttributeType* pAttributeType, LONG* plResult) override;
    HRESULT STDMETHODCALLTYPE GetAttributeTypeEnum(ILXAttributeTypeEnum** ppEnum) override;

    // For the owner

    /// Takes the attribute types that a bulk read delivered, possibly none: they replace those that are there, and
    /// the server is not asked for them.
    /// @param source  makes the source of the attribute's own server object, for types that came without theirs
    void AssignAttributeTypes(std::vector<XLXCFCDataTransfer::XILXConfigData> types, const XMoment& moment,
                              const std::function<XServerSourcePtr()>& source, XRetired& retired);

    /// Takes the values that a bulk read brought for the attribute types that are there.
    void RefillAttributeTypes(std::vector<XLXCFCDataTransfer::XILXConfigData> types, const XMoment& moment,
                              XRetired& retired);

    /// What decides in which displays the attribute is shown, when that is known.
    std::optional<XDisplayFacts> KnownFacts() const noexcept {
        if (m_factsStamp.load(std::memory_order_acquire) != XStamp{Now(), Store().Own().Now()}.Sum()) {
            return std::nullopt;
        }
        // Read after the stamp, and written before it: these are the facts of the stamp, or newer ones.
        return m_facts.load(std::memory_order_acquire);
    }
    /// The same; read from the server when it is not known. Raises a failing read.
    XDisplayFacts Facts();

    /// Empties both collections.
    void Terminate() noexcept;

private:
    friend XLXConfigObjectCache;
    using TypeMap = XNameMap<XLXComPtr<XLXAttributeTypeCache>>;
    using TypeMapPtr = std::shared_ptr<const TypeMap>;

    void OnAssigned(const XVariantRow& values, const XStamp& stamp) noexcept;
    void AdvanceParts() noexcept;
    void OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched);

    TypeMapPtr LoadAttributeTypes();
    TypeMapPtr FetchAttributeTypes(std::exception_ptr& failure);
    TypeMap ReadAttributeTypes(std::exception_ptr& failure) const;
    void OnAttributeTypes(const TypeMap& types, const TypeMap* former, const XMoment& moment) const;
    void AddAttributeType(const TypeMapPtr& former, TypeMap& to, XLXCFCDataTransfer::XILXConfigData&& type,
                          const XMoment& moment, const std::function<XServerSourcePtr()>& source,
                          XRetired& retired) const;

    // Published with the values, under the lock and the stamp of the store, so that display enumerations read these
    // two words and no lock.
    std::atomic<std::uint64_t> m_factsStamp{0}; // XStamp::Sum
    std::atomic<XDisplayFacts> m_facts{XDisplayFacts{}};
    XLoaded<TypeMap> m_attributeTypes;
};

#endif
