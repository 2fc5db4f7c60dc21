// SPDX-License-Identifier: MIT
//
// What somebody may have meant.
#ifndef XSUGGESTION_H
#define XSUGGESTION_H

#include <string>
#include <vector>

/// A name without what people leave out or write otherwise: small letters (of ASCII), no blanks, "_" and "-".
std::string LXFolded(const std::string& name);

/// "; did you mean "Pump"?" for the names that come closest, or "" when none comes close.
std::string LXDidYouMean(const std::string& wanted, const std::vector<std::string>& names);

#endif
