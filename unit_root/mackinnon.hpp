// unit_root/mackinnon.hpp: p-value and critical values of the Dickey-Fuller tau statistic.
#pragma once

#include <cstdint>

#include "zolv.h"

namespace zolv::unit_root {

// Fills pValue, critical1, critical5 and critical10 from statistic and sampleSize. Writes nothing for a
// statistic that is NaN or infinite, or a regression outside 0 to 3.
void AdfCriticalValues(std::int32_t regression, zolv_UnitRootTest& test);

}  // namespace zolv::unit_root
