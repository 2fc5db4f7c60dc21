// SPDX-License-Identifier: MIT
#include "XToolOutput.h"

#include <algorithm>
#include <cstdio>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {
constexpr const char* Bold = "\x1b[1m";
constexpr const char* Faint = "\x1b[2m";
constexpr const char* Plain = "\x1b[0m";
constexpr const char* Indent = "   ";
constexpr const char* Gap = "  ";

/// The number of characters of a UTF-8 text.
std::size_t Length(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

bool IsTerminalFile(std::FILE* file) {
#ifdef _WIN32
    return _isatty(_fileno(file)) != 0;
#else
    return isatty(fileno(file)) != 0;
#endif
}

void Print(const std::string& line) {
    std::fputs((line + "\n").c_str(), stdout);
    std::fflush(stdout);
}
} // namespace

XToolTable::XToolTable(std::vector<std::string> titles) : m_titles(std::move(titles)) {
    for (std::string& title : m_titles) {
        m_right.push_back(title.starts_with('>'));
        title.erase(0, m_right.back() ? 1 : 0);
    }
}

void XToolTable::Row(std::vector<std::string> cells) {
    cells.resize(m_titles.size());
    m_rows.push_back(std::move(cells));
}

std::vector<std::size_t> XToolTable::Widths() const {
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < m_titles.size(); ++column) {
        std::size_t width = Length(m_titles[column]);
        for (const auto& row : m_rows) {
            width = row.empty() ? width : std::max(width, Length(row[column]));
        }
        widths.push_back(width);
    }
    return widths;
}

bool XToolOutput::IsTerminal() { return IsTerminalFile(stdout); }

bool XToolOutput::IsErrorTerminal() { return IsTerminalFile(stderr); }

void XToolOutput::Prepare() {
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
#endif
}

std::string XToolOutput::Styled(const char* style, const std::string& text) const {
    return m_colours ? style + text + Plain : text;
}

void XToolOutput::Section(const std::string& title) {
    Print("");
    Print(Styled(Bold, std::to_string(++m_sections) + "  " + title));
    std::fflush(stdout); // a reader at the end of a pipe sees what goes on
}

void XToolOutput::Heading(const std::string& title) {
    Print("");
    Print(Styled(Bold, title));
}

void XToolOutput::Fields(const std::vector<std::pair<std::string, std::string>>& fields) {
    std::size_t width = 0;
    for (const auto& [name, value] : fields) {
        width = std::max(width, Length(name));
    }
    for (const auto& [name, value] : fields) {
        Line(Faint(name) + (value.empty() ? "" : std::string(width - Length(name), ' ') + Gap + value));
    }
}

std::string XToolOutput::Faint(const std::string& text) const { return Styled(::Faint, text); }

void XToolOutput::Line(const std::string& text) { Print(text.empty() ? text : Indent + text); }

std::string XToolOutput::Cells(const XToolTable& table, const std::vector<std::string>& cells,
                               const std::vector<std::size_t>& widths) const {
    std::string line;
    for (std::size_t column = 0; column < cells.size(); ++column) {
        const std::string padding(widths[column] - Length(cells[column]), ' ');
        line += column == 0 ? "" : Gap;
        line += table.m_right[column] ? padding + cells[column] : cells[column] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

void XToolOutput::Table(const XToolTable& table) {
    const auto widths = table.Widths();
    std::size_t all = 0;
    for (const std::size_t width : widths) {
        all += width + (all == 0 ? 0 : 2);
    }
    Print("");
    Print(Indent + Styled(::Faint, Cells(table, table.m_titles, widths)));
    for (const auto& row : table.m_rows) {
        Print(Indent + (row.empty() ? Styled(::Faint, std::string(all, '-')) : Cells(table, row, widths)));
    }
}

std::string LXOneDecimal(double number) {
    char text[64];
    std::snprintf(text, sizeof(text), "%.1f", number);
    return text;
}

std::string LXJoined(const std::vector<std::string>& texts, const std::string& separator) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : separator) + text;
    }
    return joined;
}

std::string LXFirstOf(const std::vector<std::string>& texts, std::size_t most) {
    std::vector<std::string> first(texts.begin(),
                                   texts.begin() + static_cast<std::ptrdiff_t>(std::min(most, texts.size())));
    if (texts.size() > most) { first.push_back("... " + std::to_string(texts.size() - most) + " more"); }
    return LXJoined(first, ", ");
}
