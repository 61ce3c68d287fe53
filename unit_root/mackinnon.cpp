// unit_root/mackinnon.cpp: p-value and critical values of the Dickey-Fuller tau statistic.
//
// Source: p-values by MacKinnon, Approximate asymptotic distribution functions for unit-root and
//         cointegration tests, JBES 12 (1994), tables 3 and 4, one integrated variable: the normal
//         distribution function of a polynomial in the statistic, of second degree in the lower tail and of
//         third degree above. Critical values by MacKinnon, Critical values for cointegration tests, Queen's
//         Economics Department working paper 1227 (2010), table 2: a cubic in the inverse sample size.
// Order:  each polynomial is the sum as printed, with x*x and x*x*x for the powers.
#include "unit_root/mackinnon.hpp"

#include "frame/nan.hpp"
#include "kernels/normal.hpp"

namespace zolv::unit_root {

namespace {

struct TauTable {
    double tau_min;   // below: 0
    double tau_max;   // above: 1
    double tau_star;  // below: the quadratic; from there on: the cubic
    double b[3];
    double c[4];
    double critical[3][4];  // 1%, 5%, 10%
};

// clang-format off
constexpr TauTable tau_tables[] = {
    // 0: constant
    {-18.83, 2.74, -1.61,
     {2.1659, 1.4412, 0.038269},
     {1.7339, 0.93202, -0.12745, -0.010368},
     {{-3.43035, -6.5393, -16.786, -79.433},
      {-2.86154, -2.8903, -4.234, -40.04},
      {-2.56677, -1.5384, -2.809, 0.0}}},
    // 1: constant and linear trend
    {-16.18, 0.7, -2.89,
     {3.2512, 1.6047, 0.049588},
     {2.5261, 0.61654, -0.37956, -0.060285},
     {{-3.95877, -9.0531, -28.428, -134.155},
      {-3.41049, -4.3904, -9.036, -45.374},
      {-3.12705, -2.5856, -3.925, -22.38}}},
    // 2: constant, linear and quadratic trend
    {-17.17, 0.54, -3.21,
     {4.0003, 1.658, 0.048288},
     {3.0778, 0.49529, -0.41477, -0.059359},
     {{-4.37113, -11.5882, -35.819, -334.047},
      {-3.83239, -5.9057, -12.49, -118.284},
      {-3.55326, -3.6596, -5.293, -63.559}}},
    // 3: none
    {-19.04, dru::impl::plus_infinity, -1.04,
     {0.6344, 1.2378, 0.032496},
     {0.4797, 0.93557, -0.06999, 0.033066},
     {{-2.56574, -2.2358, -3.627, 0.0},
      {-1.941, -0.2686, -3.365, 31.223},
      {-1.61682, 0.2656, -2.714, 25.364}}},
};
// clang-format on

double Quadratic(const double (&k)[3], double x) { return k[0] + k[1] * x + k[2] * (x * x); }

double Cubic(const double (&k)[4], double x) { return k[0] + k[1] * x + k[2] * (x * x) + k[3] * (x * x * x); }

double TauProbability(const TauTable& table, double t) {
    if (t < table.tau_min) return 0.0;
    if (t > table.tau_max) return 1.0;
    const double z = t < table.tau_star ? Quadratic(table.b, t) : Cubic(table.c, t);
    return dru::impl::normal_cdf(z, 0.0, 1.0, 0);
}

}  // namespace

void AdfCriticalValues(std::int32_t regression, zolv_UnitRootTest& test) {
    if (!dru::impl::is_finite(test.statistic)) return;
    if (regression < 0 || regression > 3) return;
    const TauTable& table = tau_tables[regression];
    const double u = 1.0 / test.sampleSize;
    test.pValue = TauProbability(table, test.statistic);
    test.critical1 = Cubic(table.critical[0], u);
    test.critical5 = Cubic(table.critical[1], u);
    test.critical10 = Cubic(table.critical[2], u);
}

}  // namespace zolv::unit_root
