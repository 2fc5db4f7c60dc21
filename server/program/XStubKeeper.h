// SPDX-License-Identifier: MIT
#ifndef XSTUBKEEPER_H
#define XSTUBKEEPER_H

#include "LXConfigFactoryCache.h"

#include "XLXComPtr.h"

#include <vector>

/// Keeps the server's interfaces known to RPC for as long as it is there.
///
/// COM makes an interface known with its first stub, and takes that back with its last, when the last client releases
/// the last object of the kind. It then waits for the calls through the interface to end, and holds up every object
/// that is to be handed out meanwhile. A server whose clients take objects and release them all the time would come
/// to that again and again; Wine's RPC, besides, may miss the end of a call that ends at that very moment, and wait
/// for ever. One stub of each kind that no client has keeps it from happening.
///
/// Threading  Made and destroyed by a thread in the multithreaded apartment.
class XStubKeeper final : public IUnknown {
public:
    XStubKeeper();
    ~XStubKeeper();
    XStubKeeper(const XStubKeeper&) = delete;
    XStubKeeper& operator=(const XStubKeeper&) = delete;

    // No client has a proxy of it, so nothing but these is ever called, whatever it says that it is.
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; } // lives on the stack
    STDMETHODIMP_(ULONG) Release() override { return 1; }

private:
    void Keep(REFIID iid);

    std::vector<XLXComPtr<IStream>> m_stubs; // each the marshalled form of one stub
};

#endif
