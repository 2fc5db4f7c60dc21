// SPDX-License-Identifier: MIT
//
// The base of cached objects that own formats: attributes, groups and global format specs.
#ifndef XLXFORMATOWNER_H
#define XLXFORMATOWNER_H

#include "XFormatMap.h"
#include "XLXConfigObjectCache.h"
#include "XLazyPart.h"

/// The differences between the owners of formats.
struct XFormatFacts {
    XAspect aspect; ///< what makes the formats stale
    const char* createMethod;
    const char* getMethod;
    const char* deleteMethod;
    LXErrorLocation create;
    LXErrorLocation createFailed;
    LXErrorLocation get;
    LXErrorLocation getFailed;
    LXErrorLocation terminate;
};

namespace XOwnedFormats {
using namespace XCachedFacts;
// clang-format off
inline constexpr XFormatFacts OfAttribute{
    XAspect::AttributeFormats, "ILXAttribute::CreateFormat", "ILXAttribute::GetFormat", "ILXAttribute::DeleteFormat",
    Attribute.At("CreateFormat", 498), Attribute.At("CreateFormat", 530),
    Attribute.At("GetFormat", 552), Attribute.At("GetFormat", 610), Attribute.At("Terminate", 93)};
// GetFormat's error locations name CreateFormat on purpose: programs search logs for that text.
inline constexpr XFormatFacts OfGroup{
    XAspect::GroupFormats, "ILXGroup::CreateFormat", "ILXGroup::GetFormat", "ILXGroup::DeleteFormat",
    Group.At("CreateFormat"), Group.At("CreateFormat"),
    Group.At("CreateFormat", 359), Group.At("CreateFormat", 418), Group.At("Terminate")};
inline constexpr XFormatFacts OfGlobalFormatSpec{
    XAspect::SpecFormats, "ILXGlobalAttributeFormatSpec::CreateFormat", "ILXGlobalAttributeFormatSpec::GetFormat",
    "ILXGlobalAttributeFormatSpec::DeleteFormat",
    GlobalFormatSpec.At("CreateFormat"), GlobalFormatSpec.At("CreateFormat"),
    GlobalFormatSpec.At("CreateFormat", 307), GlobalFormatSpec.At("CreateFormat", 365), GlobalFormatSpec.At("Terminate")};
// clang-format on
} // namespace XOwnedFormats

/// @tparam FormatType  int; empty for an owner of a single format, which has no type on the server
template <class Derived, const XCachedObjectFacts& Facts, const XFormatFacts& Formats, class Interface,
          class... FormatType>
class XLXFormatOwner : public XLXConfigObjectCache<Derived, Facts, Interface> {
    using Base = XLXConfigObjectCache<Derived, Facts, Interface>;

public:
    using Base::Base;

    HRESULT STDMETHODCALLTYPE CreateFormat(FormatType... iFormatType, ILXFormat** ppFormat) override {
        return XLXError::Guarded(Formats.create, [&] {
            LXCheckOut(ppFormat, OLESTR("ppFormat"), Formats.create);
            const auto ask = [&](ILXFormat** format) { return this->Server()->CreateFormat(iFormatType..., format); };
            return m_formats.Make().Create(Time(), (iFormatType + ... + 0), ppFormat, Formats.createMethod, ask,
                                           Formats.createFailed);
        });
    }
    HRESULT STDMETHODCALLTYPE GetFormat(FormatType... iFormatType, ILXFormat** ppFormat) override {
        return XLXError::Guarded(Formats.get, [&] {
            LXCheckOut(ppFormat, OLESTR("ppFormat"), Formats.get);
            if (std::is_same_v<Interface, ILXGroup> && !this->HasServer()) // even when the format is cached
            {
                XLXError::RaisePointer(OLESTR("server group"), Facts.At("CreateFormat", 360));
            }
            const auto ask = [&](ILXFormat** format) { return this->Server()->GetFormat(iFormatType..., format); };
            return m_formats.Make().Get(Time(), (iFormatType + ... + 0), ppFormat, Formats.getMethod, ask,
                                        Formats.getFailed);
        });
    }
    HRESULT STDMETHODCALLTYPE DeleteFormat(FormatType... iFormatType) override {
        return XLXError::Guarded(Facts.At("DeleteFormat"), [&] {
            const auto server = this->Server();
            LXServerCall(Formats.deleteMethod);
            const HRESULT result = server->DeleteFormat(iFormatType...);
            if (SUCCEEDED(result)) { m_formats.Make().Erase(Time(), (iFormatType + ... + 0)); }
            return result;
        });
    }

    /// Clears the formats.
    void Terminate() noexcept {
        XLXError::LogFailure(OLESTR("CFCTools::MapTerminateAndClear m_mapFormatCache failed"), Formats.terminate, [&] {
            if (XFormatMap* const formats = m_formats.Find(); formats != nullptr) { formats->Terminate(Time()); }
        });
    }

protected:
    friend Base;
    ~XLXFormatOwner() = default;

    void AdvanceParts() noexcept {
        if (XFormatMap* const formats = m_formats.Find(); formats != nullptr) { formats->Advance(); }
    }
    void OnDirectNotification(const XDirectNotification& notification, XAspectSet& touched) {
        if (XFormatMap* const formats = m_formats.Find(); formats != nullptr && !notification.relationsOnly) {
            this->AdvanceIf(Formats.aspect, notification.concerned, *formats, touched);
            formats->NotifyDirectly(notification, touched);
        }
    }

private:
    XObjectTime Time() const noexcept { return this->TimeOf(Formats.aspect); }

    XLazyPart<XFormatMap> m_formats; // created on first use, because most objects have no formats
};

#endif
