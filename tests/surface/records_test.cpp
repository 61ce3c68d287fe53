// The records from C++: the same layout and the same by-value calls as from C, exported assignments.
#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/bits.hpp"
#include "surface/families.h"
#include "surface/layout.h"

namespace {

TEST(Records, CAndCppSeeOneLayout) {
    const record_layout in_cpp[] = {
#define LAYOUT(Record) {#Record, sizeof(Record), alignof(Record)},
        RECORDS(LAYOUT)
#undef LAYOUT
    };
    std::size_t i = 0;
    for (const record_layout& record : in_cpp) {
        EXPECT_STREQ(record.name, record_layouts_in_c[i].name);
        EXPECT_EQ(record.size, record_layouts_in_c[i].size) << record.name;
        EXPECT_EQ(record.alignment, record_layouts_in_c[i].alignment) << record.name;
        ++i;
    }
    EXPECT_EQ(record_layouts_in_c[i].name, nullptr);
}

// Trivial copies keep the calling convention of C; see the Itanium C++ ABI, "non-trivial for the purposes of
// calls".
#define EXPECT_PASSES_AS_IN_C(Record)                              \
    static_assert(std::is_trivially_copy_constructible_v<Record>); \
    static_assert(std::is_trivially_move_constructible_v<Record>); \
    static_assert(std::is_trivially_destructible_v<Record>);       \
    static_assert(std::is_standard_layout_v<Record>)

EXPECT_PASSES_AS_IN_C(zolv_ArimaModel);
EXPECT_PASSES_AS_IN_C(zolv_ArimaModelSpec);
EXPECT_PASSES_AS_IN_C(zolv_BestArimaAutoFindSetting);
EXPECT_PASSES_AS_IN_C(zolv_BestArmaModel);
EXPECT_PASSES_AS_IN_C(zolv_BestArmaGroup);
EXPECT_PASSES_AS_IN_C(ArimaSummary);
EXPECT_PASSES_AS_IN_C(zolv_ParameterTable);

TEST(Records, SettingByValueIsTheSameFromCAndCpp) {
    zolv_BestArimaAutoFindSetting from_c;
    std::memset(static_cast<void*>(&from_c), 0x5A, sizeof from_c);
    default_setting_in_c(&from_c);
    const zolv_BestArimaAutoFindSetting from_cpp = zolv_CreateBestArimaAutoFindSetting();
    EXPECT_EQ(std::memcmp(&from_c, &from_cpp, sizeof from_c), 0);
    const std::int32_t defaults[13] = {0, 0, 5, 0, 5, 0, 0, 0, 0, 0, 0, 1, 0};
    EXPECT_EQ(std::memcmp(&from_c, defaults, sizeof defaults), 0);
}

TEST(Records, GroupByValueIsTheSameFromCAndCpp) {
    std::vector<double> series(airline_passengers, airline_passengers + 60);
    zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
    setting.regularDifference = 1;
    setting.maxAr = setting.maxMa = 1;
    zolv_BestArmaModel models[16];
    std::int32_t order[16];
    const int count = search_in_c(series.data(), 60, &setting, models, order, 16);
    const zolv_BestArmaGroup group = zolv_AutoFindBestArma(series.data(), 60, &setting);
    ASSERT_EQ(group.count, count);
    ASSERT_GT(count, 0);
    ASSERT_LE(count, 16);
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(group.order[i], order[i]);
        EXPECT_EQ(std::memcmp(&group.models[i], &models[i], sizeof models[i]), 0) << "candidate " << i;
    }
    zolv_CleanUpAfterAutoFindBestArma(group);
}

// Each byte of a record is copied by both assignments, and the assigned record is what comes back.
template <class Record>
void expect_memberwise_assignment() {
    unsigned char pattern[sizeof(Record)];
    for (std::size_t i = 0; i < sizeof pattern; ++i) pattern[i] = static_cast<unsigned char>(i + 1);
    Record source, copied, moved;
    std::memcpy(static_cast<void*>(&source), pattern, sizeof source);
    std::memset(static_cast<void*>(&copied), 0, sizeof copied);
    std::memset(static_cast<void*>(&moved), 0, sizeof moved);
    EXPECT_EQ(&(copied = source), &copied);
    EXPECT_EQ(&(moved = std::move(source)), &moved);
    const std::size_t members =
        sizeof(Record) == sizeof(zolv_BestArmaGroup) ? 20 : sizeof(Record);  // then padding
    EXPECT_EQ(std::memcmp(&copied, pattern, members), 0);
    EXPECT_EQ(std::memcmp(&moved, pattern, members), 0);
    EXPECT_EQ(std::memcmp(&source, pattern, members), 0);
}

TEST(Records, AssignmentsAreMemberwise) {
    expect_memberwise_assignment<zolv_ArimaModel>();
    expect_memberwise_assignment<zolv_ArimaModelSpec>();
    expect_memberwise_assignment<zolv_BestArimaAutoFindSetting>();
    expect_memberwise_assignment<zolv_BestArmaModel>();
    expect_memberwise_assignment<zolv_BestArmaGroup>();
    expect_memberwise_assignment<zolv_UnitRootTest>();
}

TEST(Records, UnitRootTestConstructors) {
    const auto expect_default = [](const zolv_UnitRootTest& test) {
        EXPECT_MISSING(test.statistic);
        EXPECT_MISSING(test.pValue);
        EXPECT_MISSING(test.critical1);
        EXPECT_MISSING(test.critical5);
        EXPECT_MISSING(test.critical10);
        EXPECT_EQ(test.sampleSize, -1);
        EXPECT_EQ(test.lagCount, -1);
    };
    zolv_UnitRootTest test;
    expect_default(test);
    const zolv_UnitRootTest copied(test);
    const zolv_UnitRootTest moved(std::move(test));
    expect_default(copied);
    expect_default(moved);
}

}  // namespace
