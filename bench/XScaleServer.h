// SPDX-License-Identifier: MIT
//
// The server of the many clients, in this process or in its own.
//
// Threading  Thread-safe; each thread must have initialised COM.
// Errors     XToolFailure, std::runtime_error.
#ifndef XSCALESERVER_H
#define XSCALESERVER_H

#include "XToolServer.h"

/// The text that the clients read in a round.
std::string LXScaleLabel(int round);

// The attribute that clients read is the first one of the type 0.
std::string LXScaleTypeName(int type);
std::string LXScaleAttributeName(int type);

class XScaleServer {
public:
    virtual ~XScaleServer() = default;
    /// The config factory for clients in this process.
    virtual XLXComPtr<ILXConfigFactory> ConfigFactory() = 0;
    virtual XLXComPtr<ILX_Query> Query() = 0;
    virtual XLXComPtr<ILXDataUpdate> DataUpdate() = 0;
    /// Sets the label of the first attribute of a type. When it returns, all clients but slow ones have been notified.
    virtual void Edit(int type, const std::string& label) = 0;
    /// The processor time so far: that of the server's process, or that of its methods.
    virtual double ProcessorSeconds() = 0;
};

/// The data transfer mode of the clients: everything in one array.
constexpr LONG LXScaleMode = 15;
/// Initialises a new cache in front of the server.
void LXStartCache(XScaleServer& server, ILXConfigFactoryCache& cache);

/// A server over a generated model.
std::unique_ptr<XScaleServer> LXScaleServer(int types, bool inItsOwnProcess, bool withObjects);
#ifdef _WIN32
/// The running server program, for the clients in a started process.
std::unique_ptr<XScaleServer> LXRunningScaleServer();
#endif

#endif
