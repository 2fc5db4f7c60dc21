// SPDX-License-Identifier: MIT
//
// How commands answer: each makes one document, and this prints it, as JSON for programs and for people as lines,
// tables and trees. What a member of a document looks like follows from its value alone:
//   a scalar, a list of scalars     a line with its name
//   a list of objects               a table; columns in which nothing stands are left out
//   a list of objects with a path   a line for each, values as in JSON: path: cache "a", server "b"
//   a list named "tree"             a tree; its nodes' own lists are named "children"
//   an object                       a heading, and its members below it
// People see texts with control characters as escapes, and words for numbers that stand for something.
#ifndef XDOCUMENTPRINTER_H
#define XDOCUMENTPRINTER_H

#include "XToolOutput.h"

#include <nlohmann/json.hpp>

#include <functional>

/// Members keep the order in which they were set.
using XJson = nlohmann::ordered_json;

class XDocumentPrinter {
public:
    /// @param word  what a number stands for, by the name of its member; "" when it stands for nothing else
    XDocumentPrinter(bool json, bool colours, std::function<std::string(const std::string&, long long)> word)
        : m_json(json), m_output(colours), m_word(std::move(word)) {}

    void Print(const XJson& document);
    /// One of many: JSON on a line of its own.
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

/// A value as people read it: a text without quotes, "yes" or nothing for a boolean, lists with commas.
std::string LXPlain(const XJson& value);

#endif
