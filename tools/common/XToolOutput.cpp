// SPDX-License-Identifier: MIT
#include "XToolOutput.h"

#include <algorithm>
#include <cstdio>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {
constexpr const char* Bold = "\x1b[1m";
constexpr const char* Faint = "\x1b[2m";
constexpr const char* Plain = "\x1b[0m";
constexpr const char* Indent = "   ";
constexpr const char* Gap = "  ";
constexpr std::size_t LeastWidth = 6; // a column is not made narrower than this

/// The number of characters in UTF-8 text.
std::size_t Length(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

/// Truncates a longer text to this many characters, the last of which is an ellipsis.
std::string Cut(const std::string& text, std::size_t most) {
    if (Length(text) <= most) { return text; }
    std::size_t end = 0;
    for (std::size_t characters = 0; end < text.size(); ++end) {
        characters += (text[end] & 0xC0) != 0x80 ? 1 : 0;
        if (characters == most) { break; }
    }
    return text.substr(0, end) + "…";
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

void XToolTable::Narrow(std::vector<std::size_t>& widths, std::size_t most) const {
    std::size_t all = 0;
    for (const std::size_t width : widths) {
        all += width + std::char_traits<char>::length(Gap);
    }
    for (auto widest = widths.begin(); all > most + 2 && !widths.empty(); --all) {
        widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= LeastWidth) { return; }
        --*widest;
    }
}

bool XToolOutput::IsTerminal() { return IsTerminalFile(stdout); }

bool XToolOutput::IsErrorTerminal() { return IsTerminalFile(stderr); }

bool XToolOutput::IsPipe() {
#ifdef _WIN32
    return GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_PIPE;
#else
    struct stat file = {};
    return fstat(STDOUT_FILENO, &file) == 0 && (S_ISFIFO(file.st_mode) || S_ISSOCK(file.st_mode));
#endif
}

std::size_t XToolOutput::TerminalWidth() {
    if (!IsTerminal()) { return 0; }
#ifdef _WIN32
    CONSOLE_SCREEN_BUFFER_INFO screen = {};
    const BOOL known = GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &screen);
    return known ? static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left + 1) : 0;
#else
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
#endif
}

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
    std::fflush(stdout); // a reader at the other end of a pipe follows the progress
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
        const std::string cell = Cut(cells[column], widths[column]);
        const std::string padding(widths[column] - Length(cell), ' ');
        line += column == 0 ? "" : Gap;
        line += table.m_right[column] ? padding + cell : cell + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

void XToolOutput::Table(const XToolTable& table) {
    auto widths = table.Widths();
    const std::size_t most = TerminalWidth();
    if (most > 0) { table.Narrow(widths, most - std::min(most, std::char_traits<char>::length(Indent))); }
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

std::string LXShown(const std::string& text) {
    const auto code = [&text](std::size_t at, int bytes) { // the code point of a character of this many bytes
        unsigned value = static_cast<unsigned char>(text[at]) & (bytes == 1 ? 0x7FU : bytes == 2 ? 0x1FU : 0x0FU);
        for (int i = 1; i < bytes; ++i) {
            value = value << 6 | (static_cast<unsigned char>(text[at + static_cast<std::size_t>(i)]) & 0x3FU);
        }
        return value;
    };
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i]);
        const int bytes = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
        const auto size = std::min<std::size_t>(static_cast<std::size_t>(bytes), text.size() - i);
        const unsigned value = bytes < 4 && size == static_cast<std::size_t>(bytes) ? code(i, bytes) : 0xFFFF;
        const bool isControl = value < 0x20 || (value >= 0x7F && value < 0xA0);
        const bool isDirection = value == 0x200E || value == 0x200F || (value >= 0x2028 && value <= 0x202E) ||
                                 (value >= 0x2066 && value <= 0x2069);
        char escape[8] = {};
        std::snprintf(escape, sizeof(escape), "\\u%04x", value & 0xFFFF);
        shown += value == '\n'              ? "\\n"
                 : value == '\t'            ? "\\t"
                 : isControl || isDirection ? std::string(escape)
                                            : text.substr(i, size);
        i += size;
    }
    return shown;
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
