#include "kernels/polygamma.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "support/bits.hpp"

using namespace dru::impl;
using namespace zolv_test;

namespace {

struct truth {
    double z;
    double value[3];  // psi, psi', psi'', from 50 digits (mpmath)
};

// clang-format off
constexpr truth truths[] = {
    {0.001, {-0x1.f449ac574fcf7p+9, 0x1.e848348fa1c6dp+19, -0x1.dcd65009972cep+30}},
    {0.25, {-0x1.0e8e9943cd7c3p+2, 0x1.1328429d927c6p+4, -0x1.02a7cd8772a0ep+7}},
    {0.5, {-0x1.f6a897d3214fcp+0, 0x1.3bd3cc9be45dep+2, -0x1.0d42c0452055dp+4}},
    {1, {-0x1.2788cfc6fb619p-1, 0x1.a51a6625307d3p+0, -0x1.33ba004f00621p+1}},
    {2.5, {0x1.680425af12b5ep-1, 0x1.f62057f7296c9p-2, -0x1.e3bef327df0e7p-3}},
    {9.75, {0x1.1cd063a584615p+1, 0x1.ba619bdfe25c4p-4, -0x1.7ddc2d0d1fffep-7}},
    {10, {0x1.20396dc85cc95p+1, 0x1.aec2e54649b87p-4, -0x1.6a14bbe9b38d5p-7}},
    {10.5, {0x1.26c8bce67b3b0p+1, 0x1.994285a96fe56p-4, -0x1.46dd93288d87ep-7}},
    {11, {0x1.2d063a9529962p+1, 0x1.85cd22b6ed8f7p-4, -0x1.288b849dece56p-7}},
    {12, {0x1.38a9234f5821cp+1, 0x1.63f337df20565p-4, -0x1.ee9d183c6d81bp-8}},
    {14, {0x1.4d2c6b83db6a0p+1, 0x1.2f44d947fbd06p-4, -0x1.671a2df07f8bdp-8}},
    {17, {0x1.66d986558884dp+1, 0x1.f0554450641c9p-5, -0x1.e0ffaaff680aap-9}},
    {25, {0x1.9970650883155p+1, 0x1.4e522a00923fdp-5, -0x1.b48b00d866ce2p-10}},
    {1000.0, {0x1.ba1078189c03cp+2, 0x1.06466dfb5dfe0p-10, -0x1.0cb43b06cc039p-20}},
    {1000000.0, {0x1.ba18a88c907d1p+3, 0x1.0c6f82d72bcaap-20, -0x1.1979aa853d0dap-40}},
};
// clang-format on

// From 10 to 12 the series' first omitted term decides; a hundredth of its last one would show. The bounds
// are little above what was measured: 1e-15 and 2.2e-16, 2.2e-16 and 6.7e-16, 2.7e-15 and 1.03e-14.
TEST(Polygamma, Accuracy) {
    constexpr double below_ten[3] = {3e-15, 6e-16, 6e-15}, from_ten[3] = {5e-16, 1e-15, 1.3e-14};
    double (*const routine[3])(double) = {digamma, trigamma, tetragamma};
    const char* const name[3] = {"psi", "psi'", "psi''"};
    for (int k = 0; k < 3; ++k) {
        double shifted = 0.0, series = 0.0;
        for (const truth& t : truths) {
            const double error = std::fabs(routine[k](t.z) / t.value[k] - 1.0);
            double& worst = t.z < 10.0 ? shifted : series;
            worst = std::max(worst, error);
        }
        std::printf("%s: worst %.2g below 10, %.3g from 10\n", name[k], shifted, series);
        EXPECT_LT(shifted, below_ten[k]) << name[k];
        EXPECT_LT(series, from_ten[k]) << name[k];
    }
}

// Below its limit each is its pole alone. At the limit the constant beside the pole is seen: -0.577, 1.645,
// -2.404.
TEST(Polygamma, PolesNextToZero) {
    const auto below = [](double z) { return std::nextafter(z, 0.0); };
    double z = below(1e-12);
    EXPECT_SAME_BITS(digamma(z), -1.0 / z);
    EXPECT_NEAR(digamma(1e-12) + 1.0 / 1e-12, -0.5772156649015329, 2e-4);  // an ulp of 1e12 is 1.2e-4
    z = below(1e-6);
    EXPECT_SAME_BITS(trigamma(z), 1.0 / (z * z));
    EXPECT_NEAR(trigamma(1e-6) - 1.0 / (1e-6 * 1e-6), 1.6449340668482264, 5e-4);
    z = below(1e-4);
    EXPECT_SAME_BITS(tetragamma(z), -2.0 / (z * z * z));
    EXPECT_NEAR(tetragamma(1e-4) + 2.0 / (1e-4 * 1e-4 * 1e-4), -2.4041138063191885 + 6.49e-4, 2e-3);
}

}  // namespace
