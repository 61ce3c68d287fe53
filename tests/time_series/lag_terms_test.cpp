#include "time_series/lag_terms.hpp"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "support/bits.hpp"
#include "time_series/arima_orders.hpp"

namespace {

using zolv::time_series::ArimaOrders;
using zolv::time_series::BuildLagTerms;
using zolv::time_series::LagTerms;
using zolv::time_series::max_terms;

TEST(LagTerms, NoOrdersMeanNoTerms) {
    const LagTerms terms = BuildLagTerms(0, 0, 12, 3);
    EXPECT_TRUE(terms.Absent());
    EXPECT_FALSE(terms.HasCross());
    EXPECT_EQ(terms.maxLag, 0);
}

TEST(LagTerms, OneSidedTermsHaveNoCross) {
    const LagTerms regular = BuildLagTerms(3, 0, 12, 0);
    EXPECT_EQ(regular.count, 3);
    EXPECT_FALSE(regular.HasCross());
    EXPECT_EQ(regular.maxLag, 3);
    const LagTerms seasonal = BuildLagTerms(0, 2, 12, 5);
    EXPECT_EQ(seasonal.count, 2);
    EXPECT_EQ(seasonal.lag[0], 12);
    EXPECT_EQ(seasonal.lag[1], 24);
    EXPECT_EQ(seasonal.first[0], 5);
    EXPECT_EQ(seasonal.first[1], 6);
    EXPECT_FALSE(seasonal.HasCross());
}

// (1 - a B - b B^2)(1 - C B^4 - D B^8), parameters from index 3.
TEST(LagTerms, CrossTermsFollowNonSeasonalOuterSeasonalInner) {
    const LagTerms terms = BuildLagTerms(2, 2, 4, 3);
    const std::vector<std::int64_t> lags = {1, 2, 4, 8, 5, 9, 6, 10};
    const std::vector<int> first = {3, 4, 5, 6, 3, 3, 4, 4}, second = {0, 0, 0, 0, 5, 6, 5, 6};
    ASSERT_EQ(terms.count, 8);
    EXPECT_EQ(terms.plain, 4);
    EXPECT_TRUE(terms.HasCross());
    EXPECT_EQ(terms.maxLag, 10);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(terms.lag[i], lags[i]) << i;
        EXPECT_EQ(terms.first[i], first[i]) << i;
        EXPECT_EQ(terms.second[i], second[i]) << i;
    }
    const double theta[] = {9, 9, 9, 0.5, -0.25, 0.75, 0.125};
    std::array<double, max_terms> c{};
    terms.Coefficients(theta, c);
    const double wanted[] = {0.5, -0.25, 0.75, 0.125, -0.375, -0.0625, 0.1875, 0.03125};
    for (std::size_t i = 0; i < 8; ++i) EXPECT_SAME_BITS(c[i], wanted[i]);
}

TEST(LagTerms, FiveByFiveFillsTheTable) {
    const LagTerms terms = BuildLagTerms(5, 5, 19, 0);
    EXPECT_EQ(terms.count, max_terms);
    EXPECT_EQ(terms.maxLag, 5 + 5 * 19);
}

TEST(LagTerms, TheLongestPeriodDoesNotOverflow) {
    const LagTerms terms = BuildLagTerms(5, 5, 2147483647, 0);
    EXPECT_EQ(terms.maxLag, 5 + 5 * std::int64_t{2147483647});
}

TEST(ArimaOrders, TermOrdersAre0To5AndCountsAreNotNegative) {
    EXPECT_TRUE((ArimaOrders{5, 7, 5, 5, 7, 5, 12}.Valid()));
    EXPECT_TRUE((ArimaOrders{0, 0, 0, 0, 0, 0, 0}.Valid()));
    for (int i = 0; i < 7; ++i) {
        int o[] = {1, 1, 1, 1, 1, 1, 4};
        o[i] = -1;
        EXPECT_FALSE((ArimaOrders{o[0], o[1], o[2], o[3], o[4], o[5], o[6]}.Valid())) << i;
        o[i] = 6;
        const bool term = i == 0 || i == 2 || i == 3 || i == 5;
        EXPECT_EQ((ArimaOrders{o[0], o[1], o[2], o[3], o[4], o[5], o[6]}.Valid()), !term) << i;
    }
}

TEST(ArimaOrders, ProductsOfThePeriodAreTakenIn64Bits) {
    const int huge = 2147483647;
    const ArimaOrders orders{5, huge, 5, 5, huge, 5, huge};
    EXPECT_EQ(orders.DifferenceLoss(), std::int64_t{huge} * huge + huge);
    EXPECT_EQ(orders.ShortestOrigin(), (std::int64_t{huge} + 5) * huge + 5 + huge + 1);
}

}  // namespace
