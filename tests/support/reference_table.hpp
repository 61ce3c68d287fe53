// tests/support/reference_table.hpp: reads the committed reference tables.
//
// A table is a text file tests/reference/<name>.csv: lines that start with # are comments, the first other
// line names the columns, the rest are rows. Numbers are decimal or C hexadecimal floats (0x1.8p+3), inf,
// -inf and nan. The script that made a table stands beside it under the same name.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace zolv_test {

class reference_table {
public:
    explicit reference_table(const std::string& name, const std::string& folder = ZOLV_TEST_REFERENCE) {
        std::ifstream file(folder + "/" + name + ".csv");
        if (!file) throw std::runtime_error("no table " + name);
        std::string line;
        bool have_header = false;
        while (std::getline(file, line)) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (line.empty() || line[0] == '#') continue;
            std::vector<std::string> cells;
            std::stringstream stream(line);
            for (std::string cell; std::getline(stream, cell, ',');) cells.push_back(cell);
            if (!have_header) {
                for (std::size_t i = 0; i < cells.size(); ++i) columns_[cells[i]] = i;
                have_header = true;
            } else {
                rows_.push_back(cells);
            }
        }
    }

    std::size_t size() const { return rows_.size(); }
    const std::string& text(std::size_t row, const std::string& column) const {
        return rows_.at(row).at(columns_.at(column));
    }
    double number(std::size_t row, const std::string& column) const {
        return std::strtod(text(row, column).c_str(), nullptr);
    }

private:
    std::map<std::string, std::size_t> columns_;
    std::vector<std::vector<std::string>> rows_;
};

// The value column of one of the committed series (data/<name>.csv).
inline std::vector<double> load_series(const std::string& name) {
    const reference_table table(name, ZOLV_TEST_DATA);
    std::vector<double> values(table.size());
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = table.number(i, "value");
    return values;
}

}  // namespace zolv_test
