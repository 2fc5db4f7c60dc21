// SPDX-License-Identifier: MIT
#include "XBenchTable.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

double XBenchTable::MedianOf(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const std::size_t middle = times.size() / 2;
    return times.size() % 2 != 0 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
}

void XBenchTable::Add(Row row) {
    std::fprintf(stderr, "  %-60s %-28s %10.1f %10.1f  %.2f\n", row.title.c_str(), row.against.c_str(), row.work,
                 row.baseline, row.work / row.baseline);
    m_rows.push_back(std::move(row));
}

void XBenchTable::Taken(const std::string& title, std::vector<double> work, const char* against,
                        std::vector<double> baseline, double bar, bool aim) {
    constexpr double Nano = 1e9;
    const int runs = static_cast<int>(work.size());
    Add({title, against, "ns", MedianOf(std::move(work)) * Nano, MedianOf(std::move(baseline)) * Nano, bar, aim, runs});
}

void XBenchTable::Figure(const std::string& title, const char* unit, double work, const char* against, double baseline,
                         double bar) {
    Add({title, against, unit, work, baseline, bar, false, 1});
}

void XBenchTable::Write(const std::string& path, const std::string& histogram) const {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const Row& row : m_rows) {
        rows.push_back({{"work", row.title},
                        {"against", row.against},
                        {"unit", row.unit},
                        {"value", row.work},
                        {"baseline", row.baseline},
                        {"bar", row.bar},
                        {"aim", row.aim},
                        {"runs", row.runs}});
    }
    std::ofstream file(path);
    file << nlohmann::ordered_json{{"model", histogram}, {"rows", std::move(rows)}}.dump(1) << std::endl;
    if (!file) { throw std::runtime_error("cannot write " + path); }
}
