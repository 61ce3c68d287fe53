// examples/forecast/series_file.hpp: a series from a CSV file.
#pragma once

#include <string>
#include <vector>

struct series {
    std::vector<std::string> labels;  // first column of a two-column file, else 1, 2, ...
    std::vector<double> values;       // last column
};

// Throws std::runtime_error with a message for people if the file cannot be read as a series. A first line
// whose last field is not a number is taken as a header.
series read_series(const std::string& file);
