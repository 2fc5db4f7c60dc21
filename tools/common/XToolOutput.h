// SPDX-License-Identifier: MIT
//
// Output of the programs: sections, lines and aligned tables, in UTF-8.
#ifndef XTOOLOUTPUT_H
#define XTOOLOUTPUT_H

#include <string>
#include <utility>
#include <vector>

/// A table. Columns are as wide as their widest cell; columns whose title begins with '>' are right-aligned. On a
/// terminal the widest columns shrink until a row fits a line, and truncated cells end with an ellipsis.
class XToolTable {
public:
    explicit XToolTable(std::vector<std::string> titles);

    void Row(std::vector<std::string> cells);
    /// A horizontal line between rows.
    void Rule() { m_rows.emplace_back(); }

private:
    friend class XToolOutput;

    std::vector<std::size_t> Widths() const;
    void Narrow(std::vector<std::size_t>& widths, std::size_t most) const;

    std::vector<std::string> m_titles;
    std::vector<bool> m_right;
    std::vector<std::vector<std::string>> m_rows; // an empty row is a rule
};

class XToolOutput {
public:
    /// @param colours  whether to use terminal escape sequences
    explicit XToolOutput(bool colours) noexcept : m_colours(colours) {}

    /// Begins a numbered section.
    void Section(const std::string& title);
    /// Begins a section without a number.
    void Heading(const std::string& title);
    void Line(const std::string& text = "");
    void Table(const XToolTable& table);

    /// Prints one name and value per line, with the values aligned.
    void Fields(const std::vector<std::pair<std::string, std::string>>& fields);
    /// The text in a faint style.
    std::string Faint(const std::string& text) const;

    /// Whether standard output is a terminal.
    static bool IsTerminal();
    /// Whether standard output is a pipe.
    static bool IsPipe();
    /// The width of the terminal in characters; 0 when there is none.
    static std::size_t TerminalWidth();
    /// Whether standard error is a terminal.
    static bool IsErrorTerminal();
    /// Makes standard output accept UTF-8.
    static void Prepare();

private:
    std::string Styled(const char* style, const std::string& text) const;
    std::string Cells(const XToolTable& table, const std::vector<std::string>& cells,
                      const std::vector<std::size_t>& widths) const;

    bool m_colours;
    int m_sections = 0;
};

/// Makes a text safe for a terminal and for one line: escapes control characters.
std::string LXShown(const std::string& text);
/// A number with one decimal.
std::string LXOneDecimal(double number);
/// The texts, joined by a separator.
std::string LXJoined(const std::vector<std::string>& texts, const std::string& separator);
/// The first few texts and the number of those left out.
std::string LXFirstOf(const std::vector<std::string>& texts, std::size_t most);

#endif
