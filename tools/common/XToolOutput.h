// SPDX-License-Identifier: MIT
//
// What the programs print: sections, lines and tables with aligned columns, as UTF-8.
#ifndef XTOOLOUTPUT_H
#define XTOOLOUTPUT_H

#include <string>
#include <utility>
#include <vector>

/// A table. Columns are as wide as their widest cell; a column whose title begins with '>' is set right. On a terminal
/// the widest columns are made narrower until a row fits a line, and what does not fit a cell ends with an ellipsis.
class XToolTable {
public:
    explicit XToolTable(std::vector<std::string> titles);

    void Row(std::vector<std::string> cells);
    /// A line between the rows before and after it.
    void Rule() { m_rows.emplace_back(); }

private:
    friend class XToolOutput;

    std::vector<std::size_t> Widths() const;
    void Narrow(std::vector<std::size_t>& widths, std::size_t most) const;

    std::vector<std::string> m_titles;
    std::vector<bool> m_right;
    std::vector<std::vector<std::string>> m_rows; // an empty one is a rule
};

class XToolOutput {
public:
    /// @param colours  whether to use the escape sequences of a terminal
    explicit XToolOutput(bool colours) noexcept : m_colours(colours) {}

    /// Begins a section; they are numbered.
    void Section(const std::string& title);
    /// The same without a number.
    void Heading(const std::string& title);
    void Line(const std::string& text = "");
    void Table(const XToolTable& table);

    /// Names and values, one pair a line, the values below each other.
    void Fields(const std::vector<std::pair<std::string, std::string>>& fields);
    /// A text with less weight than what stands beside it.
    std::string Faint(const std::string& text) const;

    /// Whether standard output or standard error is a terminal.
    static bool IsTerminal();
    /// Whether standard output is read by another program.
    static bool IsPipe();
    /// How many characters a line of it has; 0 when it is none.
    static std::size_t TerminalWidth();
    static bool IsErrorTerminal();
    /// Makes standard output take UTF-8 as it is.
    static void Prepare();

private:
    std::string Styled(const char* style, const std::string& text) const;
    std::string Cells(const XToolTable& table, const std::vector<std::string>& cells,
                      const std::vector<std::size_t>& widths) const;

    bool m_colours;
    int m_sections = 0;
};

/// A text that is safe on a terminal and on one line: what would move or colour it stands as an escape.
std::string LXShown(const std::string& text);
/// A number with one decimal place.
std::string LXOneDecimal(double number);
/// Texts with a separator between them.
std::string LXJoined(const std::vector<std::string>& texts, const std::string& separator);
/// The first few texts; says how many were left out.
std::string LXFirstOf(const std::vector<std::string>& texts, std::size_t most);

#endif
