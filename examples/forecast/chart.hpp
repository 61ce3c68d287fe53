// examples/forecast/chart.hpp: the picture of a forecast, drawn by gnuplot.
#pragma once

#include <string>
#include <vector>

struct forecast_chart {
    std::string title;
    std::vector<double> history;
    std::vector<double> forecast, lower, upper;  // lead i + 1 at index i; NaN where there is none
    std::vector<double> autocorrelations;        // of the residuals, lag i + 1 at index i
    double autocorrelation_limit = 0.0;          // 1.96 / sqrt(number of residuals)
    double confidence = 0.95;
};

// Writes a .png or .svg file. Returns false if gnuplot is not there or refuses.
bool draw(const forecast_chart& chart, const std::string& file);
