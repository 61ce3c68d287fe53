// frame/records.cpp: the exported assignments and constructors of the records.
//
// All of them are member-wise; they stand here, out of line, because callers of other compilers link them
// by name.
#include "frame/nan.hpp"
#include "zolv.h"

zolv_ArimaModel& zolv_ArimaModel::operator=(const zolv_ArimaModel&) noexcept = default;
zolv_ArimaModel& zolv_ArimaModel::operator=(zolv_ArimaModel&&) noexcept = default;

zolv_ArimaModelSpec& zolv_ArimaModelSpec::operator=(const zolv_ArimaModelSpec&) noexcept = default;
zolv_ArimaModelSpec& zolv_ArimaModelSpec::operator=(zolv_ArimaModelSpec&&) noexcept = default;

zolv_BestArimaAutoFindSetting& zolv_BestArimaAutoFindSetting::operator=(
    const zolv_BestArimaAutoFindSetting&) noexcept = default;
zolv_BestArimaAutoFindSetting& zolv_BestArimaAutoFindSetting::operator=(
    zolv_BestArimaAutoFindSetting&&) noexcept = default;

zolv_BestArmaModel& zolv_BestArmaModel::operator=(const zolv_BestArmaModel&) noexcept = default;
zolv_BestArmaModel& zolv_BestArmaModel::operator=(zolv_BestArmaModel&&) noexcept = default;

zolv_BestArmaGroup& zolv_BestArmaGroup::operator=(const zolv_BestArmaGroup&) noexcept = default;
zolv_BestArmaGroup& zolv_BestArmaGroup::operator=(zolv_BestArmaGroup&&) noexcept = default;

zolv_UnitRootTest::zolv_UnitRootTest() noexcept
    : statistic(dru::impl::missing_value),
      pValue(dru::impl::missing_value),
      critical1(dru::impl::missing_value),
      critical5(dru::impl::missing_value),
      critical10(dru::impl::missing_value),
      sampleSize(-1),
      lagCount(-1) {}
zolv_UnitRootTest::zolv_UnitRootTest(zolv_UnitRootTest&&) noexcept = default;
zolv_UnitRootTest& zolv_UnitRootTest::operator=(const zolv_UnitRootTest&) noexcept = default;
zolv_UnitRootTest& zolv_UnitRootTest::operator=(zolv_UnitRootTest&&) noexcept = default;
