// The discrete routines against the same formulas in another hand and language, bit for bit.
//
// discrete_bits.csv was written with the exp and log that the C library chooses on processors with FMA; on
// others its last bits may differ, and the comparison is to 1e-10 there.
#include <cmath>

#include "distributions/binomial_kernels.hpp"
#include "distributions/poisson.hpp"
#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "zolv.h"

namespace {

using namespace dru::impl;

struct three {
    double r1, r2, r3;
};

three of(const discrete_tails& t) { return {t.lower, t.upper_tail, t.mass}; }

three evaluate(const std::string& routine, double a1, double a2, double a3, double a4) {
    const auto upper = static_cast<unsigned char>(a4 != 0.0);
    const auto n = [&] { return static_cast<uint32_t>(a2); };
    if (routine == "binomial_tails") return of(binomial_tails(a1, a2, a3));
    if (routine == "binomial_log_pmf") return {binomial_log_pmf(a1, a2, a3), 0.0, 0.0};
    if (routine == "binomial_upper_ratio") return {binomial_upper_ratio(a1, a2, a3), 0.0, 0.0};
    if (routine == "binomial_lower_ratio") return {binomial_lower_ratio(a1, a2, a3), 0.0, 0.0};
    if (routine == "binomial_quantile") return {binomial_quantile(a1, a2, a3, upper), 0.0, 0.0};
    if (routine == "poisson_tails") return of(poisson_tails(a1, a2));
    if (routine == "poisson_upper_ratio") return {poisson_upper_ratio(a1, a2), 0.0, 0.0};
    if (routine == "poisson_lower_ratio") return {poisson_lower_ratio(a1, a2), 0.0, 0.0};
    if (routine == "poisson_quantile") return {poisson_quantile(a1, a2, static_cast<int>(a3)), 0.0, 0.0};
    if (routine == "pdf") return {zolv_BinomialPdf(a1, n(), a3), 0.0, 0.0};
    if (routine == "cdf") return {zolv_BinomialCdf(a1, n(), a3, upper), 0.0, 0.0};
    if (routine == "inv") return {zolv_BinomialInvCdf(a1, n(), a3, upper), 0.0, 0.0};
    throw std::runtime_error("no routine " + routine);
}

// nan and -nan in the table are the two patterns; nan(1) is a quotient 0/0, which has none of its own.
bool agree(double got, double want, bool exact) {
    const bool any_nan = std::isnan(want) && zolv_test::bits(want) != zolv_test::missing_bits &&
                         zolv_test::bits(want) != zolv_test::sign_set_nan_bits;
    if (any_nan) return std::isnan(got);
    if (std::isnan(want)) return zolv_test::bits(got) == zolv_test::bits(want);
    if (exact) return zolv_test::bits(got) == zolv_test::bits(want);
    return got == want || std::abs(got - want) <= 1e-10 * std::abs(want) + 1e-15;
}

TEST(discrete_bits, agree_with_a_second_hand) {
    const bool exact = __builtin_cpu_supports("fma");
    const zolv_test::reference_table table("discrete_bits");
    ASSERT_GT(table.size(), 1000u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        const std::string& routine = table.text(row, "routine");
        const double a1 = table.number(row, "a1"), a2 = table.number(row, "a2"), a3 = table.number(row, "a3"),
                     a4 = table.number(row, "a4");
        const three got = evaluate(routine, a1, a2, a3, a4);
        const three want{table.number(row, "r1"), table.number(row, "r2"), table.number(row, "r3")};
        EXPECT_TRUE(agree(got.r1, want.r1, exact) && agree(got.r2, want.r2, exact) &&
                    agree(got.r3, want.r3, exact))
            << routine << "(" << zolv_test::show(a1) << ", " << zolv_test::show(a2) << ", "
            << zolv_test::show(a3) << ", " << a4 << ")\ngot  " << zolv_test::show(got.r1) << " "
            << zolv_test::show(got.r2) << " " << zolv_test::show(got.r3) << "\nwant "
            << zolv_test::show(want.r1) << " " << zolv_test::show(want.r2) << " " << zolv_test::show(want.r3);
    }
}

}  // namespace
