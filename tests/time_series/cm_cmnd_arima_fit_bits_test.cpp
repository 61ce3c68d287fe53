// Full fits against a second writing of the method in another language, to the last bit.
//
// Table: reference/arima_fit_bits.csv, made by arima_fit_bits.py beside it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima.hpp"

namespace {

using vek::time_series::CmCmndArima;
using zolv_test::reference_table;

std::vector<double> numbers(const std::string& cell) {
    std::vector<double> values;
    std::istringstream stream(cell);
    for (std::string word; stream >> word;) values.push_back(std::strtod(word.c_str(), nullptr));
    return values;
}

std::vector<double> transformed(const std::string& series, const std::string& transform) {
    if (transform == "growth") {
        std::vector<double> values(60);
        for (int i = 0; i < 60; ++i) values[static_cast<std::size_t>(i)] = std::ldexp(1.0, i - 32 - 59);
        return values;
    }
    std::vector<double> values = zolv_test::load_series(series);
    for (double& v : values) {
        if (transform == "log") v = std::log(v);
        if (transform == "sqrt") v = std::sqrt(v);
        if (transform == "zero") v = 0.0;
        if (transform == "tiny") v = std::ldexp(v, -50);
    }
    return values;
}

class FitBits : public testing::TestWithParam<std::size_t> {
protected:
    static const reference_table& table() {
        static const reference_table the_table("arima_fit_bits");
        return the_table;
    }

    void same(const std::string& column, const std::vector<double>& got) const {
        const std::vector<double> want = numbers(table().text(GetParam(), column));
        ASSERT_EQ(got.size(), want.size()) << column;
        for (std::size_t i = 0; i < got.size(); ++i) {
            EXPECT_PRED_FORMAT2(zolv_test::same_bits, got[i], want[i]) << column << " " << i;
        }
    }
};

TEST_P(FitBits, EveryResultHasTheBitsOfTheSecondWriting) {
    const std::size_t row = GetParam();
    SCOPED_TRACE(table().text(row, "case"));
    const std::vector<double> series =
        transformed(table().text(row, "series"), table().text(row, "transform"));
    const std::vector<double> o = numbers(table().text(row, "orders"));
    const auto order = [&o](std::size_t i) { return static_cast<int>(o[i]); };
    const std::vector<double> start = numbers(table().text(row, "start"));
    const int n = static_cast<int>(series.size());

    CmCmndArima model(series.data(), n,
                      {order(0), order(1), order(2), order(3), order(4), order(5), order(6)},
                      table().number(row, "constant") != 0.0, start.empty() ? nullptr : &start);
    model.RecordHistory(true);
    const int code = model.Estimate();
    ASSERT_EQ(code, static_cast<int>(table().number(row, "code")));
    if (zolv::time_series::code::is_failure(code)) return;

    const int k = model.ParameterCount();
    std::vector<double> theta, inverse;
    for (int i = 0; i < k; ++i) {
        theta.push_back(model.Theta(i));
        for (int j = 0; j < k; ++j) inverse.push_back(model.InverseMatrix(i, j));
    }
    same("theta", theta);
    same("inverse", inverse);
    same("estimate", model.GetEstimatedParameter());
    same("mean_sd", {model.Mean(), model.StandardDeviation()});
    same("squares_sigma", {model.SumOfSquares(), model.GetSigmaSquared()});

    ASSERT_EQ(model.History().size(), static_cast<std::size_t>(table().number(row, "rows")));
    same("first_row", model.History().front());
    same("last_row", model.History().back());

    EXPECT_EQ(model.GetMaxBackcastCount(), static_cast<int>(table().number(row, "backcasts")));
    std::vector<double> backcasts(5), noise(5);
    model.GetTimeSeriesBackcast(5, backcasts.data());
    model.GetGaussianNoiseBackcast(5, noise.data());
    std::vector<double> want = numbers(table().text(row, "back_values"));
    if (model.HasConstant()) {
        for (double& v : want) v += model.Mean();
    }
    for (std::size_t i = 0; i < 5; ++i) EXPECT_SAME_BITS(backcasts[i], want[i]);
    same("back_noise", noise);
    same("residual_ends", {model.GetResidual()[0], model.GetResidual()[model.GetMaxResidualCount() - 1]});

    const int forecast_code = static_cast<int>(table().number(row, "forecast_code"));
    ASSERT_EQ(model.MakeForecast(n, 24), forecast_code);
    if (forecast_code != 0) return;
    same("forecast", model.GetForecast());
    same("error", model.GetForecastStandardError());
    ASSERT_EQ(model.MakeForecast(n - 7, 12), 0);
    same("early_forecast", model.GetForecast());
}

INSTANTIATE_TEST_SUITE_P(Table, FitBits,
                         testing::Range<std::size_t>(0, reference_table("arima_fit_bits").size()),
                         [](const auto& row) { return std::to_string(row.param); });

}  // namespace
