// tests/support/quantile_bits.hpp: rows of quantile_bits.csv, compared bit for bit where the C library is the
// one that the table was made with, and to 1e-10 elsewhere: a quantile may stop one Newton step apart there.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"

namespace zolv_test {

struct quantile_row {
    std::string branch;
    double x, y, z;
    unsigned char upper;
};

// Calls function(row) for each row of the routine and compares; returns the number of rows.
template <class Function>
int check_quantile_rows(const std::string& routine, const Function& function) {
    static const reference_table table("quantile_bits");
    int rows = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (table.text(i, "routine") != routine) continue;
        ++rows;
        const quantile_row row{table.text(i, "branch"), table.number(i, "x"), table.number(i, "y"),
                               table.number(i, "z"), static_cast<unsigned char>(table.number(i, "upper"))};
        const double got = function(row), want = table.number(i, "result");
        SCOPED_TRACE(routine + " " + row.branch + "(" + show(row.x) + ", " + show(row.y) + ", " +
                     show(row.z) + "), upper " + std::to_string(row.upper));
        if (std::isnan(want)) {
            EXPECT_TRUE(std::isnan(got)) << show(got);
        } else if (platform_has_table_bits()) {
            EXPECT_SAME_BITS(got, want);
        } else {
            EXPECT_TRUE(within_relative(got, want, 1e-10));
        }
    }
    EXPECT_GT(rows, 0) << routine;
    return rows;
}

}  // namespace zolv_test
