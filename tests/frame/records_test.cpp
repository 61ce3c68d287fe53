// The exported assignments and constructors of the records, member by member; tests/surface/records_test.cpp
// asks the same of the shared library, padding included.
#include <gtest/gtest.h>

#include <utility>

#include "support/bits.hpp"
#include "zolv.h"

namespace {

// The record and its two assigned copies.
template <class Record, class Expect>
void expect_assigned(Record source, const Expect& expect) {
    Record copied, moved;
    EXPECT_EQ(&(copied = source), &copied);
    EXPECT_EQ(&(moved = std::move(source)), &moved);
    expect(copied);
    expect(moved);
}

TEST(RecordAssignments, Models) {
    double constant = 0.5, parameters[] = {0.25};
    zolv_ArimaModel model{};
    model.Differencing = 2;
    model.Constant = &constant;
    model.Parameters = parameters;
    expect_assigned(model, [&](const zolv_ArimaModel& got) {
        EXPECT_EQ(got.Differencing, 2);
        EXPECT_EQ(got.Constant, &constant);
        EXPECT_EQ(got.Parameters, parameters);
    });
    zolv_ArimaModelSpec spec{};
    spec.Field[0] = 3;
    spec.Field[11] = -1;
    expect_assigned(spec, [](const zolv_ArimaModelSpec& got) {
        EXPECT_EQ(got.Field[0], 3);
        EXPECT_EQ(got.Field[11], -1);
    });
    zolv_BestArmaModel best{};
    best.aicc = 1.5;
    best.bic = 2.5;
    expect_assigned(best, [](const zolv_BestArmaModel& got) {
        EXPECT_EQ(got.aicc, 1.5);
        EXPECT_EQ(got.bic, 2.5);
    });
}

TEST(RecordAssignments, SearchSettingsAndGroups) {
    zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
    setting.maxAr = 7;
    expect_assigned(setting, [](const zolv_BestArimaAutoFindSetting& got) { EXPECT_EQ(got.maxAr, 7); });
    zolv_BestArmaModel model{};
    zolv_BestArmaGroup group{};
    group.models = &model;
    group.count = 1;
    expect_assigned(group, [&](const zolv_BestArmaGroup& got) {
        EXPECT_EQ(got.models, &model);
        EXPECT_EQ(got.count, 1);
    });
}

TEST(RecordAssignments, UnitRootTests) {
    zolv_UnitRootTest test;
    EXPECT_MISSING(test.statistic);
    test.statistic = -3.5;
    test.lagCount = 4;
    const auto expect = [](const zolv_UnitRootTest& got) {
        EXPECT_EQ(got.statistic, -3.5);
        EXPECT_MISSING(got.critical10);
        EXPECT_EQ(got.lagCount, 4);
        EXPECT_EQ(got.sampleSize, -1);
    };
    expect_assigned(test, expect);
    expect(zolv_UnitRootTest(std::move(test)));
}

}  // namespace
