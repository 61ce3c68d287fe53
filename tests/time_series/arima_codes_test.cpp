#include "time_series/arima_codes.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

namespace code = zolv::time_series::code;

struct Row {
    int value;
    std::string name, provoked_by;
};

std::vector<Row> listed() {
#define ROW(value, name, provoked_by) {value, #name, provoked_by},
    return {ZOLV_RESULT_CODES(ROW)};
#undef ROW
}

TEST(ArimaCodes, TheListHoldsEveryCodeOnceInRisingOrder) {
    const std::vector<int> wanted = {0,     10000, 10005, 20000, 30000, 30001, 30007, 30018, 30023,
                                     30025, 30026, 30027, 30028, 30029, 30030, 30031, 30032};
    const std::vector<Row> rows = listed();
    ASSERT_EQ(rows.size(), wanted.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].value, wanted[i]);
        EXPECT_FALSE(rows[i].provoked_by.empty()) << rows[i].name;
    }
}

TEST(ArimaCodes, TheCallersEnumeratorsAndTheLibrarysNamesAgree) {
#define AGREE(value, name, provoked_by)                   \
    EXPECT_EQ(static_cast<int>(zolv_code_##name), value); \
    EXPECT_EQ(code::name, value);
    ZOLV_RESULT_CODES(AGREE)
#undef AGREE
    EXPECT_EQ(zolv_code_origin_too_early, 30027);  // spelled out once, as a caller would
}

TEST(ArimaCodes, FailuresStartAt30000) {
    EXPECT_FALSE(code::is_failure(code::done));
    EXPECT_FALSE(code::is_failure(code::iterations_used));
    EXPECT_FALSE(code::is_failure(29999));
    EXPECT_TRUE(code::is_failure(30000));
    EXPECT_TRUE(code::is_failure(code::polynomial_too_long));
}

}  // namespace
