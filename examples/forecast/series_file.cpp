#include "series_file.hpp"

#include <csv.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

struct rows_reader {
    std::vector<std::vector<std::string>> rows{1};

    static void field(void* text, size_t length, void* reader) {
        static_cast<rows_reader*>(reader)->rows.back().emplace_back(static_cast<char*>(text), length);
    }
    static void end_of_row(int, void* reader) { static_cast<rows_reader*>(reader)->rows.emplace_back(); }
};

bool read_number(const std::string& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && end == text.c_str() + text.size() && std::isfinite(value);
}

}  // namespace

series read_series(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw std::runtime_error("cannot open " + file);
    std::stringstream buffer;
    buffer << stream.rdbuf();
    const std::string text = buffer.str();

    csv_parser parser;
    if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0) throw std::runtime_error("out of memory");
    const std::unique_ptr<csv_parser, void (*)(csv_parser*)> release(&parser, csv_free);
    rows_reader reader;
    if (csv_parse(&parser, text.data(), text.size(), rows_reader::field, rows_reader::end_of_row, &reader) !=
            text.size() ||
        csv_fini(&parser, rows_reader::field, rows_reader::end_of_row, &reader) != 0) {
        throw std::runtime_error(file + " is not a well-formed CSV file");
    }

    series result;
    for (std::size_t i = 0; i < reader.rows.size(); ++i) {
        const auto& row = reader.rows[i];
        if (row.empty()) continue;
        double value = 0.0;
        if (!read_number(row.back(), value)) {
            if (i == 0) continue;  // the header
            throw std::runtime_error(file + ", line " + std::to_string(i + 1) + ": \"" + row.back() +
                                     "\" is not a number");
        }
        result.labels.push_back(row.size() > 1 ? row.front() : std::to_string(result.values.size() + 1));
        result.values.push_back(value);
    }
    if (result.values.empty()) throw std::runtime_error(file + " holds no values");
    return result;
}
