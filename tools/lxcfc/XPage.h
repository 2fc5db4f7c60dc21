// SPDX-License-Identifier: MIT
//
// The HTML page that shows a configuration: its data, and the page that contains the data.
#ifndef XPAGE_H
#define XPAGE_H

#include "XCfcObjects.h"

struct XServerChoice;

/// A title for the configuration of a server, such as the name of a file without its folders.
std::string LXConfigurationName(const XServerChoice& choice);
std::string LXConfigurationName(const std::string& fileOrServer);

/// The data of a configuration that the page shows.
class XPageData {
public:
    /// Reads the configuration.
    XPageData(ILXConfigFactory& factory, const std::string& name);

    std::string Name() const { return m_data["name"]; }
    /// Keeps only these types and their bases, and the relations between types that are kept.
    void Keep(const std::vector<std::string>& names);
    /// Adds the types that only an earlier configuration has, so that the page can still show them.
    void AddRemoved(const XPageData& before);
    /// Sets another member, such as what the page shows first.
    void Set(const char* member, XJson value) { m_data[member] = std::move(value); }

    /// The whole page.
    std::string Html() const;

private:
    XJson m_data;
};

/// Writes a text to a file, or to standard output if the file name is empty.
void LXWriteText(const std::string& file, const std::string& text);
/// A text with all occurrences of a part replaced.
std::string LXReplaced(std::string_view text, std::string_view what, std::string_view by);

#endif
