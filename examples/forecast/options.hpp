// examples/forecast/options.hpp: what the forecast program can be asked for.
#pragma once

#include <optional>
#include <string>

struct model_orders {
    int p = 0, d = 1, q = 1, P = 0, D = 1, Q = 1;
};

struct forecast_options {
    std::string file;
    int period = 12;
    std::optional<double> lambda = 0.0;                   // nothing: Guerrero's choice
    std::optional<model_orders> orders = model_orders{};  // nothing: the order search's choice
    int leads = 24;
    double confidence = 0.95;
    std::string picture = "forecast.png";  // empty: none
};

// Fills `options` from the command line. Returns -1 to go on, otherwise the exit code: 0 after --help, 2
// after a message on stderr about a value that cannot be meant.
int parse_options(int argc, char** argv, forecast_options& options);
