// SPDX-License-Identifier: MIT
//
// A server as a shared library that a program loads by its file, on every platform and with nothing registered:
//
//     LX_SERVER_LIBRARY(MakeServer)              // std::shared_ptr<MyServer> MakeServer()
//     LX_SERVER_LIBRARY_EDITS(MakeServer, Edit)  // void Edit(MyServer&, int number), may be left out
//
//     lxcfc verify-server --server ./libmyserver.so
//
// Each macro stands once in a library, outside of all namespaces. What a library exports, and a server without the kit
// may export too, are C functions:
//
//     HRESULT LXConnectServer(REFIID iid, void** object)   a client's object: what a class object's instance is
//     LONG LXCountServerObjects()                          optional: how many of its objects live
//     HRESULT LXEditServer(LONG number)                    optional: a change that clients can see, another one each time
//
// Ownership  The server is made for the first client, is the same for all, and ends with the last object of it.
// Threading  The functions may be called from any thread; the server is made by one of them.
// Errors     What making, connecting or editing raises becomes the answer (Object.h).
#ifndef LXSERVER_SERVERLIBRARY_H
#define LXSERVER_SERVERLIBRARY_H

#include <lxserver/Connection.h>

#include <LXCompiler.h>

namespace lx {
/// The one server of a library.
/// @tparam make  a function that makes a server, held by a std::shared_ptr
template <auto make> auto SharedServer() {
    using Server = decltype(make());
    static std::mutex mutex;
    static typename Server::weak_type newest;
    const std::lock_guard lock(mutex);
    Server server = newest.lock();
    if (!server) { newest = server = make(); }
    return server;
}
} // namespace lx

#define LX_SERVER_LIBRARY(make)                                                                                        \
    extern "C" LX_EXPORT HRESULT LXConnectServer(REFIID iid, void** object) {                                          \
        if (object == nullptr) { return E_POINTER; }                                                                   \
        *object = nullptr;                                                                                             \
        return lx::Guarded([&] { return lx::Connect(lx::SharedServer<&make>())->QueryInterface(iid, object); });       \
    }                                                                                                                  \
    extern "C" LX_EXPORT LONG LXCountServerObjects() { return static_cast<LONG>(lx::liveObjects.load()); }

#define LX_SERVER_LIBRARY_EDITS(make, edit)                                                                            \
    extern "C" LX_EXPORT HRESULT LXEditServer(LONG number) {                                                           \
        return lx::Guarded([number] {                                                                                  \
            edit(*lx::SharedServer<&make>(), static_cast<int>(number));                                                \
            return S_OK;                                                                                               \
        });                                                                                                            \
    }

#endif
