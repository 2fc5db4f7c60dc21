// SPDX-License-Identifier: MIT
#include "XDocumentPrinter.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace {
constexpr const char* TreeMember = "tree";
constexpr const char* ChildrenMember = "children";
constexpr const char* PathMember = "path";

/// "Base types" for "baseTypes"; names that are already readable stay.
std::string Title(const std::string& member) {
    if (member.find(' ') != std::string::npos) { return LXShown(member); }
    const bool isIndex =
        member.size() > 1 && member[0] == 'p' && member.find_first_not_of("0123456789", 1) == member.npos;
    if (isIndex) { return "Property " + member.substr(1); }
    std::string title;
    for (const char c : LXShown(member)) {
        const auto character = static_cast<unsigned char>(c);
        title += std::isupper(character) != 0 ? " " : "";
        title += static_cast<char>(title.empty() ? std::toupper(character) : std::tolower(character));
    }
    return title;
}

/// Whether a member takes more than a line.
bool IsSection(const std::string& name, const XJson& value) {
    return (value.is_object() && !value.empty()) ||
           (value.is_array() && (name == TreeMember || (!value.empty() && value.front().is_object())));
}

std::vector<std::string> ColumnsOf(const XJson& rows) {
    std::vector<std::string> columns;
    for (const XJson& row : rows) {
        for (const auto& [name, value] : row.items()) {
            if (!LXPlain(value).empty() && std::find(columns.begin(), columns.end(), name) == columns.end()) {
                columns.push_back(name);
            }
        }
    }
    // In the order of the rows' members, even if a column has its first value in a later row.
    std::vector<std::string> ordered;
    for (const XJson& row : rows) {
        for (const auto& [name, value] : row.items()) {
            const bool wanted = std::find(columns.begin(), columns.end(), name) != columns.end();
            if (wanted && std::find(ordered.begin(), ordered.end(), name) == ordered.end()) { ordered.push_back(name); }
        }
    }
    return ordered;
}

bool IsNumeric(const XJson& rows, const std::string& column) {
    return std::all_of(rows.begin(), rows.end(), [&column](const XJson& row) {
        return !row.contains(column) || row[column].is_number() || row[column].is_null();
    });
}

/// On a terminal everything but ASCII is escaped, because some characters control it.
void PutJson(const XJson& document, int indent) {
    std::puts(document.dump(indent, ' ', XToolOutput::IsTerminal(), XJson::error_handler_t::replace).c_str());
}
} // namespace

std::string LXPlain(const XJson& value) {
    switch (value.type()) {
    case XJson::value_t::null: return "";
    case XJson::value_t::string: return value.get<std::string>();
    case XJson::value_t::boolean: return value.get<bool>() ? "yes" : "";
    case XJson::value_t::array: {
        std::vector<std::string> texts;
        std::transform(value.begin(), value.end(), std::back_inserter(texts), LXPlain);
        return LXJoined(texts, ", ");
    }
    case XJson::value_t::object: {
        std::vector<std::string> texts;
        for (const auto& [name, member] : value.items()) {
            texts.push_back(Title(name) + ": " + LXPlain(member));
        }
        return LXJoined(texts, ", ");
    }
    default: return value.dump();
    }
}

std::string XDocumentPrinter::Shown(const std::string& name, const XJson& value) const {
    const std::string word = value.is_number_integer() ? m_word(name, value.get<long long>()) : "";
    return word.empty() ? LXShown(LXPlain(value)) : word;
}

void XDocumentPrinter::Print(const XJson& document) {
    if (m_json) {
        PutJson(document, 2);
        return;
    }
    Members(document);
}

void XDocumentPrinter::PrintNext(const XJson& document) {
    if (m_json) {
        PutJson(document, -1);
        std::fflush(stdout);
        return;
    }
    Members(document);
}

// Prints the fields first: below another member's heading they would seem to belong to that member.
void XDocumentPrinter::Members(const XJson& object) {
    std::vector<std::pair<std::string, std::string>> fields;
    for (const auto& [name, value] : object.items()) {
        const std::string text = IsSection(name, value) ? "" : Shown(name, value);
        if (!text.empty()) { fields.emplace_back(Title(name), text); }
    }
    m_output.Fields(fields);
    for (const auto& [name, value] : object.items()) {
        if (IsSection(name, value)) { Section(name, value); }
    }
}

void XDocumentPrinter::Section(const std::string& name, const XJson& value) {
    if (name == TreeMember) {
        m_output.Line();
        Tree(value, "", true);
    } else if (value.is_object()) {
        m_output.Heading(Title(name));
        Members(value);
    } else {
        m_output.Heading(Title(name) + " (" + std::to_string(value.size()) + ")");
        value.front().contains(PathMember) ? Lines(value) : Table(value);
    }
}

bool XDocumentPrinter::HasWords(const XJson& rows, const std::string& column) const {
    return std::any_of(rows.begin(), rows.end(), [&](const XJson& row) {
        return row.contains(column) && row[column].is_number_integer() &&
               !m_word(column, row[column].get<long long>()).empty();
    });
}

void XDocumentPrinter::Table(const XJson& rows) {
    const std::vector<std::string> columns = ColumnsOf(rows);
    std::vector<std::string> titles;
    for (const std::string& column : columns) {
        titles.push_back((IsNumeric(rows, column) && !HasWords(rows, column) ? ">" : "") + Title(column));
    }
    XToolTable table(std::move(titles));
    for (const XJson& row : rows) {
        std::vector<std::string> cells;
        for (const std::string& column : columns) {
            cells.push_back(row.contains(column) ? Shown(column, row[column]) : "");
        }
        table.Row(std::move(cells));
    }
    m_output.Table(table);
}

void XDocumentPrinter::Lines(const XJson& rows) {
    m_output.Line();
    for (const XJson& row : rows) {
        std::string line;
        for (const auto& [name, value] : row.items()) {
            const bool isPath = name == PathMember;
            line += isPath               ? LXShown(LXPlain(value)) + ":"
                    : line.back() == ':' ? " " + name + " " + LXShown(value.dump())
                                         : ", " + name + " " + LXShown(value.dump());
        }
        m_output.Line(line);
    }
}

// A single root is printed without a branch.
void XDocumentPrinter::Tree(const XJson& nodes, const std::string& indent, bool isTop) {
    for (const XJson& node : nodes) {
        const bool isLast = &node == &nodes.back();
        std::string line = isTop && nodes.size() == 1 ? "" : indent + (isLast ? "└─ " : "├─ ");
        const std::string below = line.empty() ? "" : indent + (isLast ? "   " : "│  ");
        bool isFirst = true;
        for (const auto& [name, value] : node.items()) {
            const std::string text = name == ChildrenMember ? "" : Shown(name, value);
            if (!text.empty()) {
                const std::string shown = value.is_boolean() ? Title(name) : text;
                line += isFirst ? shown : "  " + m_output.Faint(shown);
                isFirst = false;
            }
        }
        m_output.Line(line);
        if (node.contains(ChildrenMember)) { Tree(node[ChildrenMember], below, false); }
    }
}
