// SPDX-License-Identifier: MIT
//
// The page on which a configuration can be looked into: its data, and the page with the data in it.
#ifndef XPAGE_H
#define XPAGE_H

#include "XCfcObjects.h"

struct XServerChoice;

/// What people call the configuration of that server: a file's name without its folders.
std::string LXConfigurationName(const XServerChoice& choice);
std::string LXConfigurationName(const std::string& fileOrServer);

/// Everything that the page shows of a configuration.
class XPageData {
public:
    /// Reads it.
    XPageData(ILXConfigFactory& factory, const std::string& name);

    std::string Name() const { return m_data["name"]; }
    /// Keeps these types with what they inherit from, and the relations between types that are kept.
    void Keep(const std::vector<std::string>& names);
    /// Adds the types that only an earlier configuration has, so that they can still be looked at.
    void AddRemoved(const XPageData& before);
    /// A member of its own, such as what the page shows first.
    void Set(const char* member, XJson value) { m_data[member] = std::move(value); }

    /// The whole page.
    std::string Html() const;

private:
    XJson m_data;
};

/// Writes a text to a file, or to standard output where the file has no name.
void LXWriteText(const std::string& file, const std::string& text);
/// A text with one part of it replaced wherever it stands.
std::string LXReplaced(std::string_view text, std::string_view what, std::string_view by);

#endif
