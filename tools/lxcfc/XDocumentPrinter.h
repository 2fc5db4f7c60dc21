// SPDX-License-Identifier: MIT
//
// Prints the document that a command returns: as JSON for programs, or as lines, tables and trees for people.
// The layout of a member depends only on its value:
//   a scalar, a list of scalars     a line with its name
//   a list of objects               a table without empty columns
//   a list of objects with a path   a line for each, values as in JSON: path: cache "a", server "b"
//   a list named "tree"             a tree; the child lists of nodes are named "children"
//   an object                       a heading, with its members below
// For people, control characters are escaped, and enumerated numbers are replaced by words.
#ifndef XDOCUMENTPRINTER_H
#define XDOCUMENTPRINTER_H

#include "XToolOutput.h"

#include <nlohmann/json.hpp>

#include <functional>

/// Members keep the order in which they were set.
using XJson = nlohmann::ordered_json;

class XDocumentPrinter {
public:
    /// @param word  the word for a number, by the name of its member; "": none
    XDocumentPrinter(bool json, bool colours, std::function<std::string(const std::string&, long long)> word)
        : m_json(json), m_output(colours), m_word(std::move(word)) {}

    void Print(const XJson& document);
    /// Prints one of several documents; JSON is printed as one line.
    void PrintNext(const XJson& document);

private:
    void Members(const XJson& object);
    void Section(const std::string& name, const XJson& value);
    void Table(const XJson& rows);
    void Lines(const XJson& rows);
    void Tree(const XJson& nodes, const std::string& indent, bool isTop);
    bool HasWords(const XJson& rows, const std::string& column) const;
    std::string Shown(const std::string& name, const XJson& value) const;

    bool m_json;
    XToolOutput m_output;
    std::function<std::string(const std::string&, long long)> m_word;
};

/// A value for people: a text without quotes, "yes" or nothing for a boolean, lists with commas.
std::string LXPlain(const XJson& value);

#endif
