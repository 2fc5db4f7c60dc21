// SPDX-License-Identifier: MIT
//
// The sections of the demo. Each prints its findings and raises XToolFailure if they differ from what a cache for the
// plant model should return.
#ifndef DEMO_SECTIONS_H
#define DEMO_SECTIONS_H

#include "XDemoSession.h"

/// The type that the sections show.
constexpr const char* DemoType = "PumpCentrifugal";
/// The type that defines the attribute below; DemoType inherits it.
constexpr const char* DemoAttributeOwner = "Pump";
constexpr const char* DemoAttribute = "RatedFlow";

// Types (demo_types.cpp)
void LXShowType(XToolOutput& output, const XDemoSession& session);
void LXShowDisplays(XToolOutput& output, const XDemoSession& session);
void LXShowEditors(XToolOutput& output, const XDemoSession& session);
void LXShowChildGroups(XToolOutput& output, const XDemoSession& session);
void LXShowFormat(XToolOutput& output, const XDemoSession& session);

// Edits and notifications (demo_edits.cpp)
void LXShowEdit(XToolOutput& output, XDemoSession& session);
/// Also starts the session.
void LXShowSeparateCallback(XToolOutput& output, XDemoSession& session);

// Relations (demo_relations.cpp)
void LXShowRelations(XToolOutput& output, XDemoSession& session);

// The same requests with the cache and without (demo_comparison.cpp)
void LXCompare(XToolOutput& output, const XToolComponent& component, std::unique_ptr<XToolServer> server,
               std::chrono::microseconds delay);

/// A type and its base types, nearest first.
std::vector<XLXComPtr<ILXType>> LXBaseChain(const XDemoSession& session, const XLXComPtr<ILXType>& type);

#endif
