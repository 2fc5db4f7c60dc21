// SPDX-License-Identifier: MIT
//
// The server that many clients have: in this process, or in one of its own.
//
// Threading  Everything may be called from any thread that has initialised COM.
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
    /// For the clients of this process.
    virtual XLXComPtr<ILXConfigFactory> ConfigFactory() = 0;
    virtual XLXComPtr<ILX_Query> Query() = 0;
    virtual XLXComPtr<ILXDataUpdate> DataUpdate() = 0;
    /// Gives the first attribute of a type another label; all clients that are not slow have been told when it returns.
    virtual void Edit(int type, const std::string& label) = 0;
    /// The processor time that it took until now: that of its process, or that inside its methods.
    virtual double ProcessorSeconds() = 0;
};

/// A server over a generated model.
std::unique_ptr<XScaleServer> LXScaleServer(int types, bool inItsOwnProcess, bool withObjects);
#ifdef _WIN32
/// The server program that runs, for the clients of a process that was started.
std::unique_ptr<XScaleServer> LXRunningScaleServer();
#endif

#endif
