// tests/support/regime_errors.hpp: worst relative errors of (lower, upper, mass) triples, regime by regime.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace zolv_test {

// What a regime may be off by. The limits in the tests are what was measured times about 2.
struct regime_limit {
    const char* regime;
    double mass;
    double smaller;  // the smaller tail, the one that is computed
    double larger;   // the other, 1 less the rest
};

class regime_errors {
public:
    struct triple {
        double lower, upper, mass;
    };

    void add(const std::string& regime, const triple& got, const triple& want) {
        worst& w = worst_[regime];
        ++w.rows;
        raise(w.mass, got.mass, want.mass);
        const bool lower = want.lower < want.upper;
        raise(w.smaller, lower ? got.lower : got.upper, lower ? want.lower : want.upper);
        raise(w.larger, lower ? got.upper : got.lower, lower ? want.upper : want.lower);
    }

    void expect_within(const std::vector<regime_limit>& limits) const {
        EXPECT_EQ(limits.size(), worst_.size());
        for (const regime_limit& limit : limits) {
            const auto found = worst_.find(limit.regime);
            ASSERT_NE(found, worst_.end()) << limit.regime;
            const worst& w = found->second;
            std::printf(
                "%-32s %4d rows, worst relative error: mass %.2g, smaller tail %.2g, larger tail %.2g\n",
                limit.regime, w.rows, w.mass, w.smaller, w.larger);
            EXPECT_LE(w.mass, limit.mass) << limit.regime;
            EXPECT_LE(w.smaller, limit.smaller) << limit.regime;
            EXPECT_LE(w.larger, limit.larger) << limit.regime;
        }
    }

private:
    struct worst {
        int rows = 0;
        double mass = 0.0, smaller = 0.0, larger = 0.0;
    };

    // A true 0 admits what rounding leaves of 1 - 1; a NaN counts as an infinite error.
    static void raise(double& error, double got, double want) {
        if (got == want || (want == 0.0 && std::abs(got) < 1e-15)) return;
        const double relative = std::abs(got - want) / std::abs(want);
        error = std::isnan(relative) ? HUGE_VAL : std::max(error, relative);
    }

    std::map<std::string, worst> worst_;
};

}  // namespace zolv_test
