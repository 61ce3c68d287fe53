// tests/golden/families.hpp: the six families with their regimes: ordinary ones, both sides of the parameters
// at which a method changes, and parameters outside the domain.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "golden/distribution_rows.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "zolv.h"

namespace golden {

inline constexpr int bulk = 360;           // random variates per parameter set
inline constexpr int bulk_quantile = 120;  // random probabilities
inline constexpr int bulk_mixture = 50;    // where every value is a sum over a Poisson mixture
inline constexpr int few = 6;

// The parameter sets of a row: each value with its neighbours, put into a template at one place.
inline std::vector<list> around(const list& values, const list& rest, std::size_t place) {
    std::vector<list> sets;
    for (const double v : both_sides(values)) {
        list q = rest;
        q.insert(q.begin() + static_cast<std::ptrdiff_t>(place), v);
        sets.push_back(q);
    }
    return sets;
}

inline std::vector<list> operator+(std::vector<list> a, const std::vector<list>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline std::string short_number(double x) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", x);
    return text;
}

#define GOLDEN_MEMBERS(Name, ...)                                                                          \
    {                                                                                                      \
        {"Pdf", false, false,                                                                              \
         [](double x, const list& q, unsigned char) { return zolv_##Name##Pdf(x, __VA_ARGS__); },          \
         [](const double* x, std::uint64_t n, const list& q, unsigned char, double* out) {                 \
             zolv_Parallel##Name##Pdf(x, n, __VA_ARGS__, out);                                             \
         }},                                                                                               \
            {"Cdf", true, false,                                                                           \
             [](double x, const list& q, unsigned char u) { return zolv_##Name##Cdf(x, __VA_ARGS__, u); }, \
             [](const double* x, std::uint64_t n, const list& q, unsigned char u, double* out) {           \
                 zolv_Parallel##Name##Cdf(x, n, __VA_ARGS__, u, out);                                      \
             }},                                                                                           \
            {"InvCdf", true, true,                                                                         \
             [](double x, const list& q, unsigned char u) {                                                \
                 return zolv_##Name##InvCdf(x, __VA_ARGS__, u);                                            \
             },                                                                                            \
             GOLDEN_QUANTILE_ARRAY(Name, __VA_ARGS__)},                                                    \
    }
#define GOLDEN_QUANTILE_ARRAY(Name, ...)                                                \
    [](const double* x, std::uint64_t n, const list& q, unsigned char u, double* out) { \
        zolv_Parallel##Name##InvCdf(x, n, __VA_ARGS__, u, out);                         \
    }

inline void normal_rows() {
    const family f = {"Normal", GOLDEN_MEMBERS(Normal, q[0], q[1])};
    const list cuts = {0.0, -8.03, 38.4638, -38.4638, 1.28, -1.28, 25.0, 5.0};
    std::vector<regime> regimes;
    for (const list& q : {list{0, 1}, {0.5, 2}, {-3, 1e-10}, {1e10, 1e5}, {100, 15}}) {
        const std::string label = "mean=" + short_number(q[0]) + " sd=" + short_number(q[1]);
        list switches = cuts;
        for (const double c : cuts) switches.push_back(q[0] + q[1] * c);
        regimes.push_back({label,
                           {q},
                           variates(label, switches, q[0] - 9 * q[1], q[0] + 9 * q[1], 4 * bulk),
                           probabilities(label, 4 * bulk_quantile)});
    }
    regimes.push_back(
        {"outside the domain",
         {{0, 0}, {0, -1}, {missing, 1}, {sign_set, 1}, {0, infinity}, {infinity, 1}, {0, missing}},
         special_values(),
         special_probabilities()});
    distribution_rows("normal", f, regimes);
}

inline void t_rows() {
    const family f = {"T", GOLDEN_MEMBERS(T, q[0], q[1])};
    std::vector<regime> regimes;
    for (const double df : {5.0, 2.5, 1000.0, 1e5, 1.0, 2.0, 0.3, 30.0, 1e10}) {
        const std::string label = "df=" + short_number(df);
        const double split = dru::impl::beta_split_point(0.5, 0.5 * df);
        const list ends = {std::sqrt(df), -std::sqrt(df), std::sqrt(df * split / (1.0 - split))};
        regimes.push_back(
            {label, {{df, 0.0}}, variates(label, ends, -9, 9, bulk), probabilities(label, bulk_quantile)});
    }
    for (const list& q : {list{5, 2},
                          {2.5, 2},
                          {1000, 2},
                          {1e5, 2},
                          {5, 0.5},
                          {2.5, 0.5},
                          {1000, 0.5},
                          {1e5, 0.5},
                          {5, 20},
                          {2.5, 20},
                          {1000, 20},
                          {1e5, 20},
                          {30, -4},
                          {0.3, 1.5}}) {
        const std::string label = "df=" + short_number(q[0]) + " nc=" + short_number(q[1]);
        regimes.push_back({label,
                           {q},
                           variates(label, {q[1], 0.0}, q[1] - 6, q[1] + 9, bulk_mixture),
                           few_probabilities(label, few)});
    }
    stream random("t switches");
    const list x = random.between(-12, 12, 20) + random.magnitudes(-4, 6, 6) + list{0.0, -0.0, 1e100};
    const list p = few_probabilities("t switches", 3);
    regimes.push_back(
        {"switches of df",
         around({0.002, 1.2, 2.0, 18.0, 20.0, 200.0, 334.0, 2000.0, 20000.0, 2e9, 2e15, 1e100}, {0.0}, 0), x,
         p});
    regimes.push_back({"switches of df with nc", around({2.0, 50.0, 334.0, 2000.0}, {1.5}, 0), x, {}});
    regimes.push_back(
        {"switches of nc", around({21.274, 21.417, -21.274, -21.417, 5e-324}, {30.0}, 1), x, {}});
    regimes.push_back({"switches of a huge nc", around({2000.0}, {7.5}, 1), {-1.0, 0.0, 1900.0, 2100.0}, {}});
    regimes.push_back(
        {"outside the domain",
         {{0, 0}, {-1, 0}, {3, missing}, {infinity, 0}, {3, infinity}, {sign_set, 1}, {5, -infinity}},
         special_values(),
         special_probabilities()});
    distribution_rows("t", f, regimes);
}

#undef GOLDEN_QUANTILE_ARRAY
#define GOLDEN_QUANTILE_ARRAY(Name, ...) nullptr

inline void chi_square_rows() {
    const family f = {"ChiSq", GOLDEN_MEMBERS(ChiSq, q[0], q[1])};
    std::vector<regime> regimes;
    for (const double df : {3.0, 50.0, 1e5, 0.3, 1.0, 2.0, 9.5, 5000.0, 1e10}) {
        const std::string label = "df=" + short_number(df);
        const double spread = 8.0 * std::sqrt(2.0 * df);
        const list ends = {df, 2.0, 2.0 * dru::impl::gamma_median_estimate(0.5 * df), 0.0};
        regimes.push_back({label,
                           {{df, 0.0}},
                           variates(label, ends, std::fmax(0.0, df - spread), df + spread, bulk),
                           probabilities(label, bulk_quantile)});
    }
    for (const list& q : {list{3, 10},
                          {50, 10},
                          {1e5, 10},
                          {3, 1000},
                          {50, 1000},
                          {1e5, 1000},
                          {0.3, 2},
                          {1.5, 0.7},
                          {500, 0.1}}) {
        const std::string label = "df=" + short_number(q[0]) + " nc=" + short_number(q[1]);
        const double mean = q[0] + q[1], spread = 7.0 * std::sqrt(2.0 * (q[0] + 2.0 * q[1]));
        regimes.push_back(
            {label,
             {q},
             variates(label, {mean}, std::fmax(0.0, mean - spread), mean + spread, bulk_mixture),
             few_probabilities(label, few)});
    }
    stream random("chi-square switches");
    const list x = random.between(0, 40, 20) + random.magnitudes(-4, 18, 12) + list{0.0, -0.0, 1e100};
    const list p = few_probabilities("chi-square switches", 3);
    regimes.push_back(
        {"switches of df",
         around({2e-100, 0.001, 0.006017570161929386, 0.005, 2.0, 9.0, 18.0, 20.0, 20000.0, 2e12, 1e100},
                {0.0}, 0),
         x, p});
    regimes.push_back({"switches of df and nc",
                       around({2.0}, {2.0}, 0) + around({2.0}, {3.0}, 0) + around({2.0}, {0.5}, 1) +
                           around({5e-324}, {5.0}, 1),
                       x, p});
    regimes.push_back(
        {"outside the domain",
         {{0, 3}, {0, 0}, {-1, 0}, {3, -1}, {missing, 0}, {3, missing}, {infinity, 0}, {sign_set, 1}},
         special_values(),
         special_probabilities()});
    distribution_rows("chi-square", f, regimes);
}

#undef GOLDEN_QUANTILE_ARRAY
#define GOLDEN_QUANTILE_ARRAY(Name, ...)                                                \
    [](const double* x, std::uint64_t n, const list& q, unsigned char u, double* out) { \
        zolv_Parallel##Name##InvCdf(x, n, __VA_ARGS__, u, out);                         \
    }

inline void beta_rows() {
    const family f = {"Beta", GOLDEN_MEMBERS(Beta, q[0], q[1])};
    std::vector<regime> regimes;
    for (const list& q : {list{0.5, 0.5},
                          {2, 3},
                          {50, 80},
                          {3e4, 5e4},
                          {1, 1},
                          {2.5, 0.75},
                          {0.01, 3},
                          {700, 300},
                          {2, 1e10},
                          {1e-3, 1e-3},
                          {3, 4000},
                          {80, 50}}) {
        const std::string label = "a=" + short_number(q[0]) + " b=" + short_number(q[1]);
        const double mean = q[0] / (q[0] + q[1]);
        const double sd = std::sqrt(mean * (1.0 - mean) / (q[0] + q[1] + 1.0));
        const list ends = {0.5,
                           mean,
                           dru::impl::beta_split_point(q[0], q[1]),
                           1.0 - dru::impl::beta_split_point(q[1], q[0]),
                           1.0,
                           0.02,
                           0.98};
        stream near("near the mean " + label);
        regimes.push_back(
            {label,
             {q},
             variates(label, ends, 0.0, 1.0, bulk / 2) +
                 near.between(std::fmax(0.0, mean - 6 * sd), std::fmin(1.0, mean + 6 * sd), bulk / 2),
             probabilities(label, bulk_quantile)});
    }
    stream random("beta switches");
    const list x = random.between(0, 1, 24) + random.magnitudes(-60, -2, 12) + list{0.0, -0.0, 0.5, 1.0};
    const list p = few_probabilities("beta switches", 3);
    const list shapes = {0.0005, 0.001, 0.0025, 0.6, 1.0, 9.0, 10.0, 100.0, 1000.0, 1e9, 1e15, 1e23};
    regimes.push_back({"switches of a", around(shapes, {2.5}, 0) + around(shapes, {0.3}, 0), x, p});
    regimes.push_back({"switches of b",
                       around(shapes, {2.5}, 1) + around(shapes, {0.3}, 1) + around(shapes, {0.0007}, 1), x,
                       p});
    regimes.push_back(
        {"switches of the normal form",
         around({20000.0}, {20000.0}, 0) + around({10000.0}, {1e12}, 0) + around({10000.0}, {1e18}, 1), x,
         p});
    regimes.push_back({"outside the domain",
                       {{0, 1}, {1, -1}, {missing, 1}, {1, infinity}, {1, sign_set}},
                       special_values(),
                       special_probabilities()});
    distribution_rows("beta", f, regimes);
}

inline void f_rows() {
    const family f = {"F", GOLDEN_MEMBERS(F, q[0], q[1], q[2])};
    std::vector<regime> regimes;
    for (const list& q : {list{3, 10, 0},
                          {20, 50, 0},
                          {300, 700, 0},
                          {1, 1, 0},
                          {2, 2, 0},
                          {0.3, 40, 0},
                          {5, 1e10, 0},
                          {1e5, 2e5, 0}}) {
        const std::string label = "d1=" + short_number(q[0]) + " d2=" + short_number(q[1]);
        const double split = dru::impl::beta_split_point(0.5 * q[0], 0.5 * q[1]);
        const list ends = {q[1] / q[0], q[1] * split / (1.0 - split) / q[0], 1.0, 0.0};
        const double sd = std::sqrt(2.0 / q[0] + 2.0 / q[1]);
        regimes.push_back({label,
                           {q},
                           variates(label, ends, std::fmax(0.0, 1 - 6 * sd), 1 + 6 * sd, bulk),
                           probabilities(label, bulk_quantile)});
    }
    for (const list& q : {list{3, 10, 5},
                          {20, 50, 5},
                          {300, 700, 5},
                          {3, 10, 30},
                          {20, 50, 30},
                          {300, 700, 30},
                          {1, 3, 2},
                          {5, 9, 0.2}}) {
        const std::string label =
            "d1=" + short_number(q[0]) + " d2=" + short_number(q[1]) + " nc=" + short_number(q[2]);
        const double mean = 1.0 + 2.0 * q[2] / q[0];
        regimes.push_back({label,
                           {q},
                           variates(label, {mean, q[1] / q[0]}, 0.0, 4.0 * mean, bulk_mixture),
                           few_probabilities(label, few)});
    }
    stream random("f switches");
    const list x = random.between(0, 6, 20) + random.magnitudes(-30, 30, 12) + list{0.0, -0.0, 1.0};
    const list p = few_probabilities("f switches", 3);
    const list df = {0.001, 1.2, 2.0, 18.0, 20.0, 200.0, 2000.0, 2e9, 2e15};
    regimes.push_back({"switches of d1", around(df, {7.0, 0.0}, 0), x, p});
    regimes.push_back({"switches of d2", around(df, {5.0, 0.0}, 1), x, p});
    regimes.push_back({"switches of the normal form", around({40000.0}, {40000.0, 0.0}, 0), x, p});
    regimes.push_back({"switches with nc",
                       around({2.0, 18.0}, {7.0, 3.0}, 0) + around({1.0, 5e-324}, {5.0, 9.0}, 2),
                       x,
                       {}});
    regimes.push_back({"outside the domain",
                       {{0, 1, 0},
                        {1, -1, 0},
                        {1, 1, -2},
                        {missing, 1, 0},
                        {1, infinity, 0},
                        {1, 1, missing},
                        {1, sign_set, 1}},
                       special_values(),
                       special_probabilities()});
    distribution_rows("f", f, regimes);
}

inline void binomial_rows() {
    const family f = {"Binomial", GOLDEN_MEMBERS(Binomial, static_cast<std::uint32_t>(q[0]), q[1])};
    std::vector<regime> regimes;
    for (const list& q : {list{20, 0.3},
                          {1000, 0.3},
                          {1e6, 0.3},
                          {20, 0.97},
                          {1000, 0.001},
                          {1e6, 0.5},
                          {1e6, 1e-6},
                          {1, 0.25},
                          {14, 0.5},
                          {100000, 1e-4},
                          {4e9, 0.1}}) {
        const std::string label = "n=" + short_number(q[0]) + " prob=" + short_number(q[1]);
        const double n = q[0], mean = n * q[1], sd = std::sqrt(mean * (1.0 - q[1]));
        list x =
            special_values() + both_sides({n, std::floor(mean), std::floor(mean) + 1.0, 22500.0, n - 1.0});
        stream random("variates of " + label);
        for (const double v : random.between(std::fmax(-2.0, mean - 30 * sd - 2),
                                             std::fmin(n + 2, mean + 30 * sd + 2), bulk)) {
            x = x + list{std::floor(v)};
        }
        x = x + random.between(0.0, n, 20);
        regimes.push_back({label, {q}, x, probabilities(label, n > 1e5 ? bulk_mixture / 2 : bulk_quantile)});
    }
    stream random("binomial switches");
    list x = {0, 1, 2, 3, 50, 19999, 20000, 20001, 21000, 22499, 22500, 22501, 0.5, 20000.5};
    for (const double v : random.between(19000, 21500, 30)) x.push_back(std::floor(v));
    const list p = few_probabilities("binomial switches", 6);
    std::vector<list> sets;
    for (const double n : {39998.0, 39999.0, 40001.0, 40002.0, 22499.0, 22500.0, 22501.0}) {
        sets = sets + around({0.5}, {n}, 1);
    }
    regimes.push_back({"switches", sets + around({1e-100, 5e-324}, {30.0}, 1), x, p});
    regimes.push_back(
        {"ends of the domain",
         {{0, 0.5}, {30, 0.0}, {30, -0.0}, {30, 1.0}, {4294967295.0, 0.2}, {4294967295.0, below(1.0)}},
         special_values() + x,
         p});
    regimes.push_back(
        {"outside the domain",
         {{30, -0.1}, {30, missing}, {30, above(1.0)}, {30, sign_set}, {30, infinity}, {30, -5e-324}},
         special_values(),
         special_probabilities()});
    distribution_rows("binomial", f, regimes);
}

#undef GOLDEN_MEMBERS
#undef GOLDEN_QUANTILE_ARRAY

}  // namespace golden
