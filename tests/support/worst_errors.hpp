// tests/support/worst_errors.hpp: the worst error per regime against reference values, printed and held to a
// stated limit.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>

#include "support/bits.hpp"

namespace zolv_test {

class worst_errors {
public:
    // scale 0 compares absolutely.
    void add(const std::string& regime, double got, double want, double scale, const std::string& where) {
        entry& e = entries_[regime];
        ++e.count;
        const double difference = std::abs(got - want);
        const double error = got == want ? 0.0 : scale == 0.0 ? difference : difference / std::abs(scale);
        if (!(error <= e.error)) e = {error, e.count, where + ": got " + show(got) + ", want " + show(want)};
    }
    void add(const std::string& regime, double got, double want, const std::string& where) {
        add(regime, got, want, want, where);
    }

    // Every regime met must be listed, and every listed one met.
    void expect_within(const std::string& title, const std::map<std::string, double>& limits) const {
        for (const auto& [regime, e] : entries_) {
            std::printf("%s, %s: worst %.2g of %d\n", title.c_str(), regime.c_str(), e.error, e.count);
            const auto limit = limits.find(regime);
            ASSERT_NE(limit, limits.end()) << regime;
            EXPECT_LE(e.error, limit->second) << title << ", " << regime << ": " << e.where;
        }
        for (const auto& [regime, limit] : limits) EXPECT_EQ(entries_.count(regime), 1u) << regime;
    }

private:
    struct entry {
        double error = 0.0;
        int count = 0;
        std::string where;
    };
    std::map<std::string, entry> entries_;
};

}  // namespace zolv_test
