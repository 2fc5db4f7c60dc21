// SPDX-License-Identifier: MIT
//
// A server as a shared library, which programs load by its file name, on every platform and without registration:
//
//     LX_SERVER_LIBRARY(MakeServer)              // std::shared_ptr<MyServer> MakeServer()
//     LX_SERVER_LIBRARY_EDITS(MakeServer, Edit)  // optional; void Edit(MyServer&, int number)
//
//     lxcfc verify-server --server ./libmyserver.so
//
// Use each macro at most once per library, outside of all namespaces. The library then exports these C functions, which
// a server without the kit may export too:
//
//     HRESULT LXConnectServer(REFIID iid, void** object)   creates the object for a client, as CreateInstance does
//     LONG LXCountServerObjects()                          optional: the number of live objects
//     HRESULT LXEditServer(LONG number)                    optional: makes a change that clients can see, a different
//                                                          one for each number
//
// Ownership  The first client creates the server and all clients share it. It is destroyed with its last object.
// Threading  The functions are thread-safe.
// Errors     Exceptions of MakeServer and Edit become the result, their texts the thread's error information (Object.h).
//            LXEditServer fails without a client, because there is no server to edit.
#ifndef LXSERVER_SERVERLIBRARY_H
#define LXSERVER_SERVERLIBRARY_H

#include <lxserver/Connection.h>

#include <LXCompiler.h>

namespace lx {
/// The server of a library.
/// @tparam make  a function that creates a server and returns a std::shared_ptr to it
template <auto make> class SharedServer {
public:
    using Server = decltype(make());

    /// The server of all clients; creates it for the first one.
    static Server ForClient() {
        const std::lock_guard lock(m_mutex);
        Server server = m_newest.lock();
        if (!server) { m_newest = server = make(); }
        return server;
    }
    /// The server of the current clients. Throws std::runtime_error if there is no client.
    static Server OfClients() {
        const std::lock_guard lock(m_mutex);
        Server server = m_newest.lock();
        if (!server) { throw std::runtime_error("no client is connected, so there is no server to edit"); }
        return server;
    }

private:
    static inline std::mutex m_mutex;
    static inline typename Server::weak_type m_newest;
};
} // namespace lx

#define LX_SERVER_LIBRARY(make)                                                                                        \
    extern "C" LX_EXPORT HRESULT LXConnectServer(REFIID iid, void** object) {                                          \
        if (object == nullptr) { return E_POINTER; }                                                                   \
        *object = nullptr;                                                                                             \
        return lx::Guarded(                                                                                            \
            [&] { return lx::Connect(lx::SharedServer<&make>::ForClient())->QueryInterface(iid, object); });           \
    }                                                                                                                  \
    extern "C" LX_EXPORT LONG LXCountServerObjects() { return static_cast<LONG>(lx::liveObjects.load()); }

#define LX_SERVER_LIBRARY_EDITS(make, edit)                                                                            \
    extern "C" LX_EXPORT HRESULT LXEditServer(LONG number) {                                                           \
        return lx::Guarded([number] {                                                                                  \
            edit(*lx::SharedServer<&make>::OfClients(), static_cast<int>(number));                                     \
            return S_OK;                                                                                               \
        });                                                                                                            \
    }

#endif
