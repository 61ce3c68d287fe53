// Every export but the distributions on any input: each argument goes through the hostile values, in full
// products where there are few of them, otherwise with seeded draws for all of them together. Every call
// comes back, with one of the codes of the header, prints nothing, and writes inside what it was given (which
// the address sanitizer sees).
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <set>
#include <string>

#include "support/bits.hpp"
#include "support/printed_text.hpp"
#include "support/sanitizers.hpp"
#include "support/watchdog.hpp"
#include "surface/distribution_exports.hpp"

namespace {

using zolv_test::bits;
using zolv_test::hostile_values;
using zolv_test::watchdog;
using list = std::vector<double>;

const list values(std::begin(hostile_values), std::end(hostile_values));
const int counts[] = {INT_MIN, -1, 0, 1, 2, 3, 4, 5, 7, 12, 30};  // all below the length of every array
const int integers[] = {INT_MIN, INT_MIN + 1, -100,    -2,          -1,          0,      1,   2,
                        3,       5,           6,       12,          100,         101,    150, 151,
                        32767,   65536,       1 << 20, INT_MAX / 2, INT_MAX - 1, INT_MAX};

// A period whose seasonal side fits into little memory, or none.
const int periods[] = {INT_MIN, -1, 0, 1, 2, 3, 4, 7, 12, 30, 100, 101, INT_MAX / 2, INT_MAX};

struct dice {
    std::uint64_t state = 20260101;
    std::size_t below(std::size_t n) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<std::size_t>(state >> 33) % n;
    }
    template <class List>
    auto pick(const List& from) {
        return from[below(std::size(from))];
    }
};

list hostile_series(dice& d, std::size_t n) {
    list x(n);
    const std::size_t kind = d.below(4);
    const double constant = d.pick(values);
    for (std::size_t i = 0; i < n; ++i) {
        const double noise = static_cast<double>(d.below(2000)) / 1000.0 - 1.0;
        x[i] = kind == 0         ? noise
               : kind == 1       ? constant
               : kind == 2       ? d.pick(values)
               : d.below(9) == 0 ? d.pick(values)
                                 : noise;
    }
    return x;
}

bool is_code(std::int64_t code) {
#define CODE(value, name, provoked_by) value,
    static const std::set<std::int64_t> codes = {ZOLV_RESULT_CODES(CODE)};
#undef CODE
    return codes.contains(code);
}

class HostileCalls : public testing::Test {
protected:
    watchdog dog{120};
    zolv_test::printed_text printed;
    dice d;
    long calls = 0;
    const int rounds = zolv_test::under_sanitizers ? 1500 : 6000;
    void count(const char* name) { watchdog::watch(name, static_cast<double>(++calls)); }
    void TearDown() override {
        EXPECT_EQ(printed.stop(), "");
        std::printf("  %ld calls\n", calls);
    }
};

TEST_F(HostileCalls, Predicates) {
    for (const double x : values) {
        const std::uint64_t magnitude = bits(x) & 0x7FFFFFFFFFFFFFFF;
        const bool nan = magnitude > 0x7FF0000000000000, infinite = magnitude == 0x7FF0000000000000;
        EXPECT_EQ(zolv_IsMissingValue(x), 0);
        EXPECT_EQ(zolv_IsNaN(x), nan ? 1 : 0);
        EXPECT_EQ(zolv_IsInfinity(x), infinite ? 1 : 0);
        EXPECT_EQ(zolv_IsPlusInfinity(x), infinite && bits(x) >> 63 == 0 ? 1 : 0);
        EXPECT_EQ(zolv_IsMinusInfinity(x), infinite && bits(x) >> 63 == 1 ? 1 : 0);
        calls += 5;
    }
}

// The full product of value, power, and variance, standard error or upper limit.
TEST_F(HostileCalls, PowerTransforms) {
    for (const double lambda : values) {
        for (const double second : values) {
            const auto n = static_cast<std::int32_t>(values.size());
            const list seconds(values.size(), second);
            list out(values.size() + 1, 7.5), other(values.size() + 1, 7.5);
            count("QorPowerTransform");
            zolv_QorPowerTransform(values.data(), n, lambda, out.data());
            zolv_InverseQorPowerTransform(values.data(), n, lambda, out.data());
            zolv_InverseQorPowerTransformFit(values.data(), n, lambda, second, out.data());
            zolv_InverseQorPowerTransformForecast(values.data(), n, lambda, seconds.data(), out.data());
            zolv_InverseQorPowerTransformInterval(values.data(), seconds.data(), n, lambda, out.data(),
                                                  other.data());
            calls += 4;
            EXPECT_EQ(out.back(), 7.5);
            EXPECT_EQ(other.back(), 7.5);
            // A limit above 0 comes back above 0 or undefined; none is negative.
            for (int i = 0; i < n; ++i)
                EXPECT_FALSE(lambda > 0.0 && other[static_cast<std::size_t>(i)] < 0.0);
        }
    }
    double untouched = 7.5;
    for (const int n : {INT_MIN, -1, 0}) {
        zolv_QorPowerTransform(&values[0], n, 0.5, &untouched);
        zolv_InverseQorPowerTransform(&values[0], n, 0.5, &untouched);
        zolv_InverseQorPowerTransformFit(&values[0], n, 0.5, 1.0, &untouched);
        zolv_InverseQorPowerTransformForecast(&values[0], n, 0.5, &values[0], &untouched);
        zolv_InverseQorPowerTransformInterval(&values[0], &values[0], n, 0.5, &untouched, &untouched);
        calls += 5;
    }
    EXPECT_EQ(untouched, 7.5);
}

TEST_F(HostileCalls, BoxCoxLambda) {
    for (int round = 0; round < rounds; ++round) {
        const list x = hostile_series(d, 30);
        double out[2] = {7.5, 7.5};
        const double lower = d.below(3) == 0 ? -1.0 : d.pick(values),
                     upper = d.below(3) == 0 ? 2.0 : d.pick(values);
        const double tolerance = d.below(3) == 0 ? 1e-6 : d.pick(values);
        count("GetBoxCoxLambda");
        const int code =
            zolv_GetBoxCoxLambda(x.data(), d.pick(counts), d.pick(integers), lower, upper, tolerance, out);
        EXPECT_TRUE(code == 0 || code == 30025) << code;
        EXPECT_EQ(out[1], 7.5);
        if (code != 0) {
            EXPECT_MISSING(out[0]);
        }
    }
}

TEST_F(HostileCalls, UnitRoot) {
    for (int round = 0; round < 2 * rounds; ++round) {
        const list x = hostile_series(d, 30);
        zolv_UnitRootTest test;
        count("AugmentedDickeyFuller");
        const int lags = d.below(2) == 0 ? static_cast<int>(d.below(8)) : d.pick(integers);
        const int code =
            zolv_AugmentedDickeyFuller(x.data(), d.pick(counts), lags, static_cast<int>(d.below(6)) - 1,
                                       static_cast<int>(d.below(6)) - 1, d.pick(values), &test);
        EXPECT_EQ(code, 0);
        EXPECT_TRUE(std::isnan(test.pValue) || (test.pValue >= 0.0 && test.pValue <= 1.0)) << test.pValue;
    }
}

zolv_ArimaModel hostile_model(dice& d, double* parameters, double* constant) {
    const auto order = [&] { return d.below(4) == 0 ? d.pick(integers) : static_cast<int>(d.below(4)) / 2; };
    zolv_ArimaModel model;
    std::memset(static_cast<void*>(&model), 0, sizeof model);
    model.ArOrder = order();
    model.Differencing = order();
    model.MaOrder = order();
    model.SeasonalArOrder = order();
    model.SeasonalDifferencing = order();
    model.SeasonalMaOrder = order();
    model.SeasonalPeriod = d.below(2) == 0 ? 4 : d.pick(periods);
    model.Parameters = parameters;
    model.Constant = d.below(2) == 0 ? constant : nullptr;
    return model;
}

TEST_F(HostileCalls, FitsForecastsAndReports) {
    std::set<std::uint32_t> seen;
    for (int round = 0; round < rounds; ++round) {
        const list x = hostile_series(d, 30);
        list parameters(22, 0.1);  // as long as the longest model
        for (double& v : parameters) v = d.below(3) == 0 ? d.pick(values) : 0.1;
        double constant = d.pick(values);
        const std::uint32_t lengths[] = {0, 1, 2, 5, 12, 20, 30, 30, 30, 30};
        zolv_ArimaModel model = hostile_model(d, d.below(2) == 0 ? parameters.data() : nullptr, &constant);
        std::uint32_t code = 1;
        count("MakeArimaModelPtr");
        zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), d.pick(lengths), &model, &code);
        EXPECT_TRUE(is_code(code)) << code;
        EXPECT_EQ(handle == nullptr, code >= 30000);
        seen.insert(code);
        list out(200, 7.5), other(200, 7.5);
        const int origins[] = {INT_MIN, -1, 0, 1, 5, 20, 29, 30, 31, INT_MAX},
                  leads[] = {INT_MIN, -1, 0, 1, 24, 150};
        for (int ask = 0; ask < 3; ++ask) {
            const int origin = d.pick(origins), count_asked = d.pick(leads);
            count("GetForecastLimit");
            const int answers[] = {
                zolv_GetForecast(handle, origin, count_asked, out.data()),
                zolv_GetForecastStandardError(handle, origin, count_asked, out.data()),
                zolv_GetForecastLimit(handle, d.pick(values), origin, count_asked, out.data(), other.data())};
            for (const int answer : answers) EXPECT_TRUE(is_code(answer)) << answer;
        }
        const int asked = d.pick(counts);
        count("getters");
        zolv_GetEstimatedParameter(handle, asked, out.data());
        zolv_GetResidual(handle, asked, out.data());
        zolv_GetFit(handle, asked, out.data());
        zolv_GetTimeSeriesBackcast(handle, asked, out.data());
        zolv_GetGaussianNoiseBackcast(handle, asked, out.data());
        zolv_ParameterTable table{&out[0], &out[20], &out[40], &out[60]};
        zolv_GetParameterTable(handle, &table);
        zolv_GetParameterCorrelationMatrix(handle, other.data());
        ArimaSummary summary;
        zolv_GetModelSummary(handle, &summary);
        double* rows[] = {&out[0], &out[20], &out[40], &out[60]};
        zolv_QorLjungBoxTest(handle, rows);
        zolv_GetSigmaSquared(handle);
        EXPECT_GE(zolv_GetMaxResidualCount(handle), 0);
        EXPECT_GE(zolv_GetMaxBackcastCount(handle), 0);
        zolv_DeleteArimaModelPtr(&handle);
        EXPECT_EQ(handle, nullptr);

        model.Parameters = parameters.data();
        count("QorArima");
        EXPECT_TRUE(is_code(zolv_QorArima(x.data(), d.pick(lengths), &model)));
        count("ArimaLogLikelihood");
        zolv_ArimaLogLikelihood(x.data(), d.pick(counts), &model);
    }
    EXPECT_GE(seen.size(), 10u);
}

TEST_F(HostileCalls, Search) {
    for (int round = 0; round < rounds / 10; ++round) {
        const list x = hostile_series(d, 30);
        zolv_BestArimaAutoFindSetting s;
        // Bounds near one another or upside down: a wide grid has as many candidates as it says.
        const auto bound = [&] { return static_cast<std::int32_t>(d.below(4)) - 1; };
        s.regularDifference = d.below(3) == 0 ? d.pick(integers) : 0;
        s.minAr = bound(), s.maxAr = bound();
        s.minMa = bound(), s.maxMa = bound();
        s.seasonalDifference = d.below(3) == 0 ? d.pick(integers) : 0;
        s.minSeasonalAr = bound(), s.maxSeasonalAr = static_cast<std::int32_t>(d.below(2));
        s.minSeasonalMa = bound(), s.maxSeasonalMa = static_cast<std::int32_t>(d.below(2));
        s.seasonalPeriod = d.pick(periods);
        s.includeConstant = d.pick(integers);
        s.criterion = d.below(3) == 0 ? d.pick(integers) : static_cast<std::int32_t>(d.below(3));
        count("AutoFindBestArma");
        const zolv_BestArmaGroup group = zolv_AutoFindBestArma(x.data(), d.pick(counts), &s);
        EXPECT_GE(group.count, 0);
        EXPECT_EQ(group.order == nullptr, s.criterion < 0 || s.criterion > 2);
        if (group.order != nullptr) {
            std::set<int> indices(group.order, group.order + group.count);
            EXPECT_EQ(indices.size(), static_cast<std::size_t>(group.count));
            if (!indices.empty()) {
                EXPECT_EQ(*indices.begin(), 0);
                EXPECT_EQ(*indices.rbegin(), group.count - 1);
            }
        }
        zolv_CleanUpAfterAutoFindBestArma(group);
    }
}

// Sizes of 0 and below do nothing; hostile factors and elements go through the arithmetic.
TEST_F(HostileCalls, LinearAlgebra) {
    const std::int64_t sizes[] = {INT64_MIN, INT64_MIN + 1, INT_MIN, -1, 0, 1, 2, 3, 5};
    for (int round = 0; round < 5 * rounds; ++round) {
        const auto elements = [&](std::size_t n) {
            list x(n);
            for (double& v : x) v = d.pick(values);
            return x;
        };
        list a = elements(26), b = elements(26), c = elements(26), p = elements(16), x = elements(26),
             y = elements(26);
        const double alpha = d.pick(values), beta = d.pick(values);
        const std::int64_t m = d.pick(sizes), n = d.pick(sizes), k = d.pick(sizes);
        const int f = static_cast<int>(d.below(2)), g = static_cast<int>(d.below(2));
        for (list* each : {&a, &b, &c, &p, &x, &y}) each->back() = 7.5;
        count("linear algebra");
        switch (round % 23) {
            case 0:
                zolv_AXPlusY(alpha, x.data(), y.data(), n);
                break;
            case 1:
                zolv_CopyXIntoY(x.data(), f + 1, y.data(), g + 1, n);
                break;
            case 2:
                zolv_DotProduct(x.data(), y.data(), n);
                break;
            case 3:
                zolv_ScaleX(alpha, x.data(), n);
                break;
            case 4:
                zolv_SwapXAndY(x.data(), f + 1, y.data(), -(g + 1), n);
                break;
            case 5: {
                const std::int64_t at = zolv_IndexToMaxAbsValue(x.data(), n);
                EXPECT_TRUE(at >= 0 && (n <= 0 ? at == 0 : at < n)) << at << " of " << n;
                break;
            }
            case 6: {
                const std::int64_t at = zolv_IndexToMinAbsValue(x.data(), n);
                EXPECT_TRUE(at >= 0 && (n <= 0 ? at == 0 : at < n)) << at << " of " << n;
                break;
            }
            case 7:
                zolv_ScaleTranspose(alpha, a.data(), b.data(), m, n, f);
                break;
            case 8:
                zolv_ScaleTransposeIP(alpha, a.data(), m, n, f);
                break;
            case 9:
                zolv_MatrixVectorProduct(alpha, a.data(), x.data(), beta, y.data(), m, n, f);
                break;
            case 10:
                zolv_SymmetricMatVecProduct(alpha, p.data(), x.data(), beta, y.data(), n);
                break;
            case 11:
                zolv_SymmetricMatRankOneUpdate(p.data(), x.data(), alpha, n);
                break;
            case 12:
                zolv_TriangularMatVecProduct(p.data(), x.data(), n, f, g);
                break;
            case 13:
                zolv_SolveTriangularSystem(p.data(), x.data(), n, f, g);
                break;
            case 14:
                zolv_MatrixMatrixProduct(alpha, a.data(), b.data(), beta, c.data(), m, n, k, f, g);
                break;
            case 15:
                zolv_MatMatTriangularProduct(alpha, a.data(), b.data(), beta, c.data(), n, k, f, g,
                                             round % 2);
                break;
            case 16:
                zolv_SymmetricMatMatProduct(alpha, a.data(), b.data(), beta, c.data(), m, n, f, g);
                break;
            case 17:
                EXPECT_TRUE(is_code(zolv_CholeskyFacUnpack(a.data(), n)));
                break;
            case 18:
                EXPECT_TRUE(is_code(zolv_CholeskyInvUnpack(a.data(), n)));
                break;
            case 19:
                EXPECT_TRUE(is_code(zolv_CholeskyFacPack(p.data(), n)));
                break;
            case 20:
                EXPECT_TRUE(is_code(zolv_CholeskyInvPack(p.data(), n)));
                break;
            case 21:
                zolv_PackTriangularMat(a.data(), p.data(), n);
                zolv_UnpackTriangularMat(p.data(), b.data(), n);
                break;
            default:
                EXPECT_TRUE(is_code(zolv_SolveSquareSystem(a.data(), x.data(), n)));
        }
        for (const list* each : {&a, &b, &c, &p, &x, &y})
            EXPECT_EQ(each->back(), 7.5) << "call " << round % 23;
    }
}

}  // namespace
