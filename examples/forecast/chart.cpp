#include "chart.hpp"

#include <cmath>
#include <cstdio>

namespace {

// gnuplot's one-quote strings end at a quote, so a quote in a name is doubled.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        if (c == '\n') continue;
        result += c;
        if (c == '\'') result += c;
    }
    return result + "'";
}

void write_points(FILE* plot, double first, const std::vector<double>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::fprintf(plot, "%.17g %.17g\n", first + static_cast<double>(i), values[i]);
    }
    std::fputs("e\n", plot);
}

}  // namespace

bool draw(const forecast_chart& chart, const std::string& file) {
    FILE* plot = popen("gnuplot 2>&1", "w");
    if (plot == nullptr) return false;
    const bool svg = file.size() > 4 && file.compare(file.size() - 4, 4, ".svg") == 0;
    std::fprintf(plot, "set terminal %s size 1100,800 enhanced\n", svg ? "svg" : "pngcairo");
    std::fprintf(plot, "set output %s\n", quoted(file).c_str());
    std::fputs("set datafile missing 'nan'\nset multiplot\nset style fill solid 0.3 noborder\n", plot);

    const double first_lead = static_cast<double>(chart.history.size()) + 1.0;
    std::fputs("set origin 0,0.36\nset size 1,0.64\nset key left top\nset xlabel 'observation'\n", plot);
    std::fprintf(plot, "set title %s noenhanced\n", quoted(chart.title).c_str());
    std::fprintf(plot,
                 "plot '-' using 1:2:3 with filledcurves lc rgb '#4477aa' title '%g%% limits', "
                 "'-' with lines lw 1.5 lc rgb '#222222' title 'series', "
                 "'-' with lines lw 2 lc rgb '#bb4422' title 'forecast'\n",
                 100.0 * chart.confidence);
    for (std::size_t i = 0; i < chart.lower.size(); ++i) {
        if (std::isnan(chart.lower[i]) || std::isnan(chart.upper[i])) continue;
        std::fprintf(plot, "%.17g %.17g %.17g\n", first_lead + static_cast<double>(i), chart.lower[i],
                     chart.upper[i]);
    }
    std::fputs("e\n", plot);
    write_points(plot, 1.0, chart.history);
    write_points(plot, first_lead, chart.forecast);

    const double limit = chart.autocorrelation_limit;
    std::fputs("set origin 0,0\nset size 1,0.36\nunset key\nset title 'Residual autocorrelations'\n", plot);
    std::fprintf(plot, "set xlabel 'lag'\nset xrange [0:%zu]\nset yrange [-0.5:0.5]\nset xzeroaxis\n",
                 chart.autocorrelations.size() + 1);
    std::fprintf(plot,
                 "plot '-' with impulses lw 4 lc rgb '#4477aa', %.17g with lines dt 2 lc rgb '#bb4422', "
                 "%.17g with lines dt 2 lc rgb '#bb4422'\n",
                 limit, -limit);
    write_points(plot, 1.0, chart.autocorrelations);
    std::fputs("unset multiplot\nset output\n", plot);
    return pclose(plot) == 0;
}
