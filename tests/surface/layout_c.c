/* layout_c.c: sizes and offsets of the records as C sees them. Compiling it is the test; the C++ program that
 * it is linked into compares its own view with the numbers below. */
#include "layout.h"

#include <stddef.h>

#include "zolv.h"

#define SIZE(Record, size) _Static_assert(sizeof(Record) == (size), "size of " #Record)
#define AT(Record, field, offset) _Static_assert(offsetof(Record, field) == (offset), #Record "." #field)

SIZE(zolv_ArimaModel, 56);
AT(zolv_ArimaModel, ArOrder, 0);
AT(zolv_ArimaModel, Differencing, 4);
AT(zolv_ArimaModel, MaOrder, 8);
AT(zolv_ArimaModel, SeasonalArOrder, 12);
AT(zolv_ArimaModel, SeasonalDifferencing, 16);
AT(zolv_ArimaModel, SeasonalMaOrder, 20);
AT(zolv_ArimaModel, SeasonalPeriod, 24);
AT(zolv_ArimaModel, Reserved, 28);
AT(zolv_ArimaModel, Constant, 32);
AT(zolv_ArimaModel, Parameters, 40);
AT(zolv_ArimaModel, Reserved2, 48);

SIZE(zolv_ArimaModelSpec, 48);
AT(zolv_ArimaModelSpec, Field[11], 44);

SIZE(ArimaSummary, 56);
AT(ArimaSummary, DegreesOfFreedom, 0);
AT(ArimaSummary, SumOfSquares, 8);
AT(ArimaSummary, SigmaSquared, 16);
AT(ArimaSummary, MeanSquare, 24);
AT(ArimaSummary, Aicc, 32);
AT(ArimaSummary, Aic, 40);
AT(ArimaSummary, Bic, 48);

SIZE(zolv_ParameterTable, 32);
AT(zolv_ParameterTable, Coefficient, 0);
AT(zolv_ParameterTable, StandardError, 8);
AT(zolv_ParameterTable, TValue, 16);
AT(zolv_ParameterTable, PValue, 24);

SIZE(zolv_BestArimaAutoFindSetting, 52);
AT(zolv_BestArimaAutoFindSetting, regularDifference, 0);
AT(zolv_BestArimaAutoFindSetting, minAr, 4);
AT(zolv_BestArimaAutoFindSetting, maxAr, 8);
AT(zolv_BestArimaAutoFindSetting, minMa, 12);
AT(zolv_BestArimaAutoFindSetting, maxMa, 16);
AT(zolv_BestArimaAutoFindSetting, seasonalDifference, 20);
AT(zolv_BestArimaAutoFindSetting, minSeasonalAr, 24);
AT(zolv_BestArimaAutoFindSetting, maxSeasonalAr, 28);
AT(zolv_BestArimaAutoFindSetting, minSeasonalMa, 32);
AT(zolv_BestArimaAutoFindSetting, maxSeasonalMa, 36);
AT(zolv_BestArimaAutoFindSetting, seasonalPeriod, 40);
AT(zolv_BestArimaAutoFindSetting, includeConstant, 44);
AT(zolv_BestArimaAutoFindSetting, criterion, 48);

SIZE(zolv_BestArmaModel, 48);
AT(zolv_BestArmaModel, p, 0);
AT(zolv_BestArmaModel, q, 4);
AT(zolv_BestArmaModel, seasonalP, 8);
AT(zolv_BestArmaModel, seasonalQ, 12);
AT(zolv_BestArmaModel, logLikelihood, 16);
AT(zolv_BestArmaModel, aicc, 24);
AT(zolv_BestArmaModel, aic, 32);
AT(zolv_BestArmaModel, bic, 40);

SIZE(zolv_BestArmaGroup, 24);
AT(zolv_BestArmaGroup, models, 0);
AT(zolv_BestArmaGroup, order, 8);
AT(zolv_BestArmaGroup, count, 16);

SIZE(zolv_UnitRootTest, 48);
AT(zolv_UnitRootTest, statistic, 0);
AT(zolv_UnitRootTest, pValue, 8);
AT(zolv_UnitRootTest, critical1, 16);
AT(zolv_UnitRootTest, critical5, 24);
AT(zolv_UnitRootTest, critical10, 32);
AT(zolv_UnitRootTest, sampleSize, 40);
AT(zolv_UnitRootTest, lagCount, 44);

_Static_assert(sizeof(zolv_ResultCode) == sizeof(int), "result codes are ints");
_Static_assert(sizeof(zolv_ArimaHandle) == sizeof(void*), "a handle is a pointer");

const struct record_layout record_layouts_in_c[] = {
#define LAYOUT(Record) {#Record, sizeof(Record), _Alignof(Record)},
    RECORDS(LAYOUT)
#undef LAYOUT
        {NULL, 0, 0}};
