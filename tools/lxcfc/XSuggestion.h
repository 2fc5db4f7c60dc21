// SPDX-License-Identifier: MIT
//
// Suggestions for unknown names.
#ifndef XSUGGESTION_H
#define XSUGGESTION_H

#include <string>
#include <vector>

/// A name for tolerant comparison: lower case (ASCII), without blanks, "_" and "-".
std::string LXFolded(const std::string& name);

/// "; did you mean "Pump"?" with the closest names, or "" if none is close.
std::string LXDidYouMean(const std::string& wanted, const std::vector<std::string>& names);

#endif
