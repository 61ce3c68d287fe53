// The distribution exports on any input: the product of the hostile values in every argument, scalar and
// array.
//
// Every call comes back and prints nothing; the two forms have the same bits; bad parameters give the missing
// value and nothing else does, save where said; any other NaN is the sign-set one; and a number is inside the
// range of the function, save for the cases named below, which the formulas force and whose counts are part
// of the test.
//
// Of the calls with a long sum, one in so many is made. ZOLV_LONG_SUMS=n makes it one in n, with 1 all of
// them, for hours of work if not filtered to one export; the counts are printed then and not compared.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "support/bits.hpp"
#include "support/printed_text.hpp"
#include "support/sanitizers.hpp"
#include "support/watchdog.hpp"
#include "surface/distribution_exports.hpp"

namespace {

using zolv_test::bits;
using zolv_test::distribution_export;
using zolv_test::export_kind;
using zolv_test::no_limit;
using zolv_test::watchdog;

using counts = std::map<std::string, long>;

bool positive(double x) { return x > 0.0 && std::isfinite(x); }

bool bad_parameters(const distribution_export& of, const double* a) {
    if (zolv_test::is_binomial(of)) return !(a[2] >= 0.0 && a[2] <= 1.0);
    switch (zolv_test::family(of)) {
        case 'N':
            return !(std::isfinite(a[1]) && positive(a[2]));
        case 'T':
        case 'C':
            return !(positive(a[1]) && std::isfinite(a[2]));
        default:  // beta and F; the noncentrality of F is not tested
            return !(positive(a[1]) && positive(a[2]));
    }
}

// What forces a number out of its range. Nothing is clamped anywhere, so that each shows.
std::string why_outside(const distribution_export& of, const double* a, double value) {
    if (of.kind == export_kind::density) {
        return value < 0.0 && a[2] < 0.0 ? "a mixture of negative weights" : "";
    }
    if (std::fabs(value) == 1.7976931348623157e308) return "more than 750000 terms away";
    if (std::isinf(value)) return "a density overflows";
    if (value > of.lowest - 1e-13 && value < of.highest + 1e-13) return "rounding";
    return of.kind == export_kind::quantile ? "a search or an expansion without a root" : "";
}

struct row {
    const char* name;
    std::size_t share;  // one in so many of the calls with a long sum is made
    long calls, left_out;
    counts oddities;
};

// clang-format off
const row rows[] = {
    {"NormalPdf", 1, 29791, 0, {}},
    {"NormalCdf", 1, 59582, 0, {}},
    {"NormalInvCdf", 1, 59582, 0, {}},
    {"TPdf", 1, 29791, 0, {}},
    {"TCdf", 1, 59582, 0, {{"a density overflows", 110}, {"more than 750000 terms away", 640}}},
    {"TInvCdf", 61, 58363, 1219, {}},
    {"ChiSqPdf", 61, 28572, 1219, {{"a mixture of negative weights", 60}}},
    {"ChiSqCdf", 29, 57188, 2394, {{"a density overflows", 80}}},
    {"ChiSqInvCdf", 5, 57598, 1984, {}},
    {"BetaPdf", 1, 29791, 0, {}},
    {"BetaCdf", 1, 59582, 0, {{"a density overflows", 226}}},
    {"BetaInvCdf", 1, 59582, 0, {{"a density overflows", 44}, {"a search or an expansion without a root", 18},
     {"rounding", 84}}},
    {"FPdf", 997, 898746, 24775, {}},
    {"FCdf", 101, 1650607, 196435, {{"a density overflows", 1866}, {"rounding", 300}}},
    {"FInvCdf", 997, 1599291, 247751, {{"a search or an expansion without a root", 4}, {"rounding", 48}}},
    {"BinomialPdf", 1, 23064, 0, {}},
    {"BinomialCdf", 1, 46128, 0, {{"a number of trials that is no 32-bit integer", 245},
     {"next to a whole variate", 40}}},
    {"BinomialInvCdf", 1, 46128, 0, {}},
};
// clang-format on

const distribution_export& named(const char* name) {
    for (const distribution_export& of : zolv_test::distribution_exports) {
        if (std::string(of.name) == name) return of;
    }
    std::abort();
}

// The array form of the binomial upper tail takes n - 1 as a signed 32-bit integer, and is a rounding apart
// where the variate is not whole.
std::string why_array_differs(const distribution_export& of, const double* a, unsigned char upper,
                              double array) {
    if (std::string(of.name) != "BinomialCdf" || upper == 0) return "";
    if (a[1] > 2147483648.0 && array == 0.0) return "a number of trials that is no 32-bit integer";
    return a[0] != std::rint(a[0]) && std::fabs(a[0] - std::rint(a[0])) < 1e-15 ? "next to a whole variate"
                                                                                : "";
}

void PrintTo(const row& of, std::ostream* to) { *to << of.name; }

class HostileGrid : public testing::TestWithParam<row> {
protected:
    const distribution_export& of = named(GetParam().name);
    long calls = 0, left_out = 0;
    counts oddities;

    void judge(const double* a, unsigned char upper, bool bad, double value, const double* array) {
        std::string oddity;
        if (array != nullptr && bits(*array) != bits(value)) {
            oddity = why_array_differs(of, a, upper, *array);
            if (oddity.empty()) oddity = "ARRAY";
        } else if (bad) {
            if (bits(value) != zolv_test::missing_bits) oddity = "NOT MISSING";
        } else if (std::isnan(value)) {
            if (bits(value) == zolv_test::missing_bits)
                oddity = "a NaN of the arithmetic without its sign";
            else if (bits(value) != zolv_test::sign_set_nan_bits)
                oddity = "NAN";
        } else if (!(value >= of.lowest && value <= of.highest)) {
            oddity = why_outside(of, a, value);
            if (oddity.empty()) oddity = "RANGE";
        }
        if (oddity.empty()) return;
        ++oddities[oddity];
        if (std::isupper(oddity[1])) {
            ADD_FAILURE() << oddity << ": " << of.name << "(" << a[0] << ", " << a[1] << ", " << a[2] << ", "
                          << a[3] << "; " << int{upper} << ") = " << zolv_test::show(value)
                          << ", in an array " << (array == nullptr ? "" : zolv_test::show(*array));
        }
    }
};

TEST_P(HostileGrid, EveryCallComesBack) {
    const watchdog dog(120);
    zolv_test::printed_text printed;
    const std::vector<double> x = zolv_test::hostile_argument(of, 0);
    std::vector<std::vector<double>> values;
    std::size_t sets = 1;
    for (int i = 1; i < of.arguments; ++i) {
        values.push_back(zolv_test::hostile_argument(of, i));
        sets *= values.back().size();
    }
    // A sanitizer sees each kind of call, not each call.
    const char* wanted = std::getenv("ZOLV_LONG_SUMS");
    const std::size_t long_share =
        wanted != nullptr ? std::stoul(wanted)
                          : GetParam().share * (zolv_test::under_sanitizers && GetParam().share > 1 ? 10 : 1);
    const bool mixture = std::string("TCF").find(zolv_test::family(of)) != std::string::npos;
    const std::size_t short_share = zolv_test::under_sanitizers && mixture ? 7 : 1;
    std::size_t long_calls = 0, short_calls = 0;
    std::vector<double> asked, out;
    for (std::size_t index = 0; index < sets; ++index) {
        double a[zolv_test::most_arguments] = {};
        std::size_t rest = index;
        for (std::size_t i = 0; i < values.size(); ++i) {
            a[i + 1] = values[i][rest % values[i].size()];
            rest /= values[i].size();
        }
        const bool bad = bad_parameters(of, a), is_long = !bad && zolv_test::is_long_sum(of, a);
        for (unsigned char upper = 0; upper <= (zolv_test::has_tails(of) ? 1 : 0); ++upper) {
            asked.clear();
            for (const double v : x) {
                if (is_long ? long_calls++ % long_share == 0 : short_calls++ % short_share == 0) {
                    asked.push_back(v);
                } else {
                    ++left_out;
                }
            }
            if (asked.empty()) continue;
            out.assign(asked.size(), 7.5);
            if (of.array != nullptr) {
                watchdog::watch(of.name, no_limit, a[1], a[2], a[3], upper);
                of.array(asked.data(), asked.size(), a, upper, out.data());
            }
            for (std::size_t i = 0; i < asked.size(); ++i) {
                a[0] = asked[i];
                watchdog::watch(of.name, a[0], a[1], a[2], a[3], upper);
                const double value = of.scalar(a, upper);
                ++calls;
                judge(a, upper, bad, value, of.array != nullptr ? &out[i] : nullptr);
            }
        }
    }
    EXPECT_EQ(printed.stop(), "");
    std::printf("    {\"%s\", %zu, %ld, %ld, {", of.name, long_share, calls, left_out);
    for (const auto& [name, count] : oddities) std::printf("{\"%s\", %ld}, ", name.c_str(), count);
    std::printf("}},\n");
    if (zolv_test::under_sanitizers || wanted != nullptr) return;
    EXPECT_EQ(calls, GetParam().calls);
    EXPECT_EQ(left_out, GetParam().left_out);
    EXPECT_EQ(oddities, GetParam().oddities);
}

INSTANTIATE_TEST_SUITE_P(Exports, HostileGrid, testing::ValuesIn(rows),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
