// SPDX-License-Identifier: MIT
#include "XGlobalSpecs.h"

#include "lxconfigfactorycachemanager.h"

#include <algorithm>

namespace
{
constexpr ULONG SpecBatch = 500;
constexpr int MemberPropertyId = 0;
} // namespace

HRESULT XGlobalSpecs::InternalFillGlobalFormatSpecCache()
{
    if (m_lGlobalFormatSpecsFilled.IsFilled())
    {
        return S_OK;
    }
    const auto factory = m_manager.ConfigFactory("InternalFillGlobalFormatSpecCache");
    const XFillGuard fill(m_fill);
    if (fill.Reentered() || m_lGlobalFormatSpecsFilled.IsFilled())
    {
        return S_OK;
    }
    const std::uint64_t noted = m_lGlobalFormatSpecsFilled.Note();
    XLXComPtr<ILXGlobalAttributeFormatSpecEnum> serverSpecs;
    LXServerCall("ILXConfigFactory::GetAllGlobalAttributeFormatSpecs");
    const HRESULT result = factory->GetAllGlobalAttributeFormatSpecs(serverSpecs.Put());
    if (FAILED(result))
    {
        (void)serverSpecs.Detach();
        return result;
    }
    if (result != S_FALSE)
    {
        XLXError::CheckPointer(serverSpecs.Get(), OLESTR("global attribute format specs"),
                               LXManagerAt("InternalFillGlobalFormatSpecCache"));
    }
    Specs fresh;
    try
    {
        if (result != S_FALSE)
        {
            TakeAll(*serverSpecs, fresh);
        }
    }
    catch (const XLXException&)
    {
        Keep(fresh, noted);
        throw;
    }
    Keep(fresh, noted);
    return result == S_FALSE ? S_FALSE : S_OK;
}

// Puts the specs that were gathered in the place of the former ones, which the caller destroys.
void XGlobalSpecs::Keep(Specs& fresh, std::uint64_t noted)
{
    const XCritProxy<Specs> specs(m_setGlobalAttributeFormatSpecCache);
    specs->swap(fresh);
    m_lGlobalFormatSpecsFilled.SetFilled(noted);
}

// What could not be fetched or wrapped stays missing until a notification comes.
void XGlobalSpecs::TakeAll(ILXGlobalAttributeFormatSpecEnum& serverSpecs, Specs& fresh) const
{
    const LXErrorLocation at = LXManagerAt("InternalFillGlobalFormatSpecCache");
    LXForEachOf<SpecBatch, ILXGlobalAttributeFormatSpec>(
        serverSpecs, "ILXGlobalAttributeFormatSpecEnum::RemNext", at,
        [&](XLXComPtr<ILXGlobalAttributeFormatSpec>&& spec) {
            fresh.push_back(LXCFCTOOLS::Make<XLXGlobalAttributeFormatSpecCache>(std::move(spec), at));
        });
}

XGlobalSpecs::Specs XGlobalSpecs::All() const
{
    // Exclusive, though it only reads: the lock is held for copying pointers.
    const XCritProxy<Specs> specs(m_setGlobalAttributeFormatSpecCache);
    return *specs;
}

void XGlobalSpecs::Drop(const XLXGlobalAttributeFormatSpecCache& spec)
{
    Spec dropped;
    {
        const XCritProxy<Specs> specs(m_setGlobalAttributeFormatSpecCache);
        const auto found = std::find_if(specs->begin(), specs->end(),
                                        [&spec](const Spec& other) { return other.Get() == &spec; });
        if (found != specs->end())
        {
            dropped.Swap(*found);
            specs->erase(found);
        }
    }
    if (dropped)
    {
        dropped->Terminate();
    }
}

void XGlobalSpecs::DropById(XLXTextView id)
{
    for (const Spec& spec : All())
    {
        const auto value = spec->TryRead(MemberPropertyId);
        const auto text = value ? value->AsText() : std::nullopt;
        if (text && *text == id)
        {
            Drop(*spec);
            return;
        }
    }
}

HRESULT XGlobalSpecs::Notify(const XChangeNotification& notification) const
{
    for (const Spec& spec : All())
    {
        const HRESULT result = spec->Notify(notification);
        if (result != S_OK)
        {
            return result;
        }
    }
    return S_OK;
}

void XGlobalSpecs::TerminateAndClear()
{
    Specs dropped;
    m_lGlobalFormatSpecsFilled.Invalidate();
    {
        const XCritProxy<Specs> specs(m_setGlobalAttributeFormatSpecCache);
        specs->swap(dropped);
    }
    for (const Spec& spec : dropped)
    {
        spec->Terminate();
    }
}
