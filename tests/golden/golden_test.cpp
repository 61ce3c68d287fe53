// tests/golden/golden_test.cpp: the bits of every export over a fixed grid, against a committed table.
//
// No expectation here comes from elsewhere: the table pins what the library gave when it was written, and the
// other folders say whether that is right. It is there so that a change meant to move no bit can be seen to
// move none. scripts/golden.sh writes the table again; table.hpp says when a row can be compared.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <set>
#include <string>

#include "golden/families.hpp"
#include "golden/fits.hpp"
#include "golden/frame_rows.hpp"
#include "golden/series_rows.hpp"
#include "golden/table.hpp"

namespace golden {

class write_when_asked : public testing::Environment {
public:
    void TearDown() override {
        if (table::instance().writing()) {
            EXPECT_TRUE(table::instance().write());
        }
    }
};
[[maybe_unused]] const auto* const environment = testing::AddGlobalTestEnvironment(new write_when_asked);

TEST(Golden, Normal) { normal_rows(); }
TEST(Golden, T) { t_rows(); }
TEST(Golden, ChiSquare) { chi_square_rows(); }
TEST(Golden, Beta) { beta_rows(); }
TEST(Golden, F) { f_rows(); }
TEST(Golden, Binomial) { binomial_rows(); }
TEST(Golden, MissingValue) { missing_value_rows(); }
TEST(Golden, LinearAlgebra) { linear_algebra_rows(); }
TEST(Golden, Fits) { fit_rows(); }
TEST(Golden, Likelihood) { likelihood_rows(); }
TEST(Golden, Search) { search_rows(); }
TEST(Golden, Transforms) { transform_rows(); }
TEST(Golden, Lambda) { lambda_rows(); }
TEST(Golden, UnitRoot) { unit_root_rows(); }

// What the table is worth: enough of everything, and no export of a value left out.
TEST(Golden, TableCoversEveryExport) {
    if (table::instance().writing()) return;  // there is nothing committed to look at yet
    std::uint64_t scalar_values = 0;
    std::set<std::string> names, fits;
    for (const auto& [key, row] : table::instance().committed()) {
        names.insert(row.name);
        if (row.name.rfind("Parallel", 0) != 0) scalar_values += row.count;
        if (row.name == "GetResidual") fits.insert(row.regime);
    }
    EXPECT_GE(scalar_values, 200000u);
    EXPECT_GE(fits.size(), 60u);
    // Whose results stand in the rows of another call, or who have none.
    const std::set<std::string> within = {"SetMKLReproducibility",    "DeleteArimaModelPtr",
                                          "GetMaxResidualCount",      "GetMaxBackcastCount",
                                          "GetIterationHistoryCount", "CleanUpAfterAutoFindBestArma"};
    std::ifstream exports(ZOLV_TEST_REFERENCE "/../surface/exports.txt");
    ASSERT_TRUE(exports.is_open());
    int seen = 0;
    for (std::string line; std::getline(exports, line);) {
        if (line.rfind("zolv_", 0) != 0) continue;
        const std::string name = line.substr(5);
        if (within.count(name) == 0) {
            EXPECT_EQ(names.count(name), 1u) << name;
        }
        ++seen;
    }
    EXPECT_GT(seen, 80);
}

}  // namespace golden
