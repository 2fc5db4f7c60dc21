// SPDX-License-Identifier: MIT
//
// The sections of the demo. Each prints what it finds and raises XToolFailure when that is not what a cache in front
// of the plant model gives.
#ifndef DEMO_SECTIONS_H
#define DEMO_SECTIONS_H

#include "XDemoSession.h"

/// The type that the sections look at.
constexpr const char* DemoType = "PumpCentrifugal";
/// The type that the attribute below belongs to; the demo's type inherits it.
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
/// Starts the session too.
void LXShowSeparateCallback(XToolOutput& output, XDemoSession& session);

// Relations (demo_relations.cpp)
void LXShowRelations(XToolOutput& output, XDemoSession& session);

// The same requests with the cache and without (demo_comparison.cpp)
void LXCompare(XToolOutput& output, const XToolComponent& component, std::unique_ptr<XToolServer> server,
               std::chrono::microseconds delay);

/// A type's name and those of its base types, nearest first, each as a cached type.
std::vector<XLXComPtr<ILXType>> LXBaseChain(const XDemoSession& session, const XLXComPtr<ILXType>& type);

#endif
