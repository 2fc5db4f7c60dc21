// SPDX-License-Identifier: MIT
//
// The rows of the table of figures: a piece of work and what it is compared with.
#ifndef XBENCHTABLE_H
#define XBENCHTABLE_H

#include <string>
#include <string_view>
#include <vector>

class XBenchTable {
public:
    /// @param only  takes only rows with this text in their titles; empty: all rows
    explicit XBenchTable(std::string only = {}) : m_only(std::move(only)) {}

    bool Wants(std::string_view title) const noexcept { return title.find(m_only) != std::string_view::npos; }
    /// Adds a row with times that the caller measured alternately, in seconds; the medians count.
    void Taken(const std::string& title, std::vector<double> work, const char* against, std::vector<double> baseline,
               double bar, bool aim = false);
    /// Adds a row with counted figures.
    void Figure(const std::string& title, const char* unit, double work, const char* against, double baseline,
                double bar);
    /// Writes all rows as JSON, with a text about the models. std::runtime_error if the file cannot be written.
    void Write(const std::string& path, const std::string& histogram = {}) const;

    static double MedianOf(std::vector<double> times);

protected:
    struct Row {
        std::string title;
        std::string against;
        std::string unit;
        double work;
        double baseline;
        double bar;
        bool aim;
        int runs;
    };
    /// Adds a row and shows it on the standard error output.
    void Add(Row row);

private:
    const std::string m_only;
    std::vector<Row> m_rows;
};

#endif
