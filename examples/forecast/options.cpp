#include "options.hpp"

#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>
#include <stdexcept>
#include <vector>

namespace {

std::optional<double> read_lambda(const std::string& text) {
    if (text == "auto") return std::nullopt;
    std::size_t used = 0;
    double value = NAN;
    try {
        value = std::stod(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text.size() || !std::isfinite(value)) {
        throw std::runtime_error("--lambda takes a number or auto, not \"" + text + "\"");
    }
    return value;
}

std::optional<model_orders> read_orders(const std::string& text) {
    if (text == "auto") return std::nullopt;
    std::vector<int> values;
    std::stringstream stream(text);
    for (std::string cell; std::getline(stream, cell, ',');) {
        if (cell.size() != 1 || cell[0] < '0' || cell[0] > '5') {
            throw std::runtime_error(
                "--orders takes p,d,q or p,d,q,P,D,Q with each in 0..5, or auto, not \"" + text + "\"");
        }
        values.push_back(cell[0] - '0');
    }
    if (values.size() == 3) values.resize(6, 0);
    if (values.size() != 6) throw std::runtime_error("--orders takes three or six numbers, or auto");
    return model_orders{values[0], values[1], values[2], values[3], values[4], values[5]};
}

}  // namespace

int parse_options(int argc, char** argv, forecast_options& options) {
    CLI::App app{"Fits a seasonal ARIMA model to a series and forecasts it."};
    std::string lambda = "0", orders = "0,1,1,0,1,1";
    app.add_option("file", options.file,
                   "CSV file; the last column holds the values (default: airline passengers)");
    app.add_option("--period", options.period, "seasonal period; 1 for none")->check(CLI::Range(1, 100));
    app.add_option("--lambda", lambda,
                   "power of the transform, 0 for logarithms, or auto for Guerrero's choice");
    app.add_option("--orders", orders, "p,d,q or p,d,q,P,D,Q, or auto for the order search");
    app.add_option("--leads", options.leads, "periods to forecast")->check(CLI::Range(1, 150));
    app.add_option("--confidence", options.confidence, "two-sided level of the limits, a fraction");
    app.add_option("--picture", options.picture, "output picture, .png or .svg; none for no picture");
    try {
        app.parse(argc, argv);
        options.lambda = read_lambda(lambda);
        options.orders = read_orders(orders);
        if (!(options.confidence > 0.0 && options.confidence < 1.0)) {
            throw std::runtime_error("--confidence takes a fraction between 0 and 1, such as 0.95");
        }
        if (options.picture == "none") options.picture.clear();
        const auto ends_with = [&](const std::string& tail) {
            return options.picture.size() > tail.size() &&
                   options.picture.compare(options.picture.size() - tail.size(), tail.size(), tail) == 0;
        };
        if (!options.picture.empty() && !ends_with(".png") && !ends_with(".svg")) {
            throw std::runtime_error("--picture takes a file that ends in .png or .svg, or none");
        }
        if (options.orders && options.period == 1 &&
            options.orders->P + options.orders->D + options.orders->Q > 0) {
            throw std::runtime_error("seasonal orders need a --period of 2 or more");
        }
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "forecast: " << error.what() << "\n";
        return 2;
    }
    return -1;
}
