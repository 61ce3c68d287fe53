/* layout.h: what the C and the C++ view of the records are compared by. */
#ifndef ZOLV_TESTS_LAYOUT_H
#define ZOLV_TESTS_LAYOUT_H

#include <stddef.h>

#include "zolv.h"

#ifdef __cplusplus
extern "C" {
#endif

#define RECORDS(X)                                                                                 \
    X(zolv_ArimaModel)                                                                             \
    X(zolv_ArimaModelSpec) X(ArimaSummary) X(zolv_ParameterTable) X(zolv_BestArimaAutoFindSetting) \
        X(zolv_BestArmaModel) X(zolv_BestArmaGroup) X(zolv_UnitRootTest)

struct record_layout {
    const char* name;
    size_t size, alignment;
};

extern const struct record_layout record_layouts_in_c[]; /* the last has no name */

/* by_value_c.c: calls that pass or return records by value, made from C. */
void default_setting_in_c(zolv_BestArimaAutoFindSetting* out);
/* Searches, copies the ranking (at most capacity candidates) and releases the group. Returns its count. */
int search_in_c(const double* series, int count, const zolv_BestArimaAutoFindSetting* setting,
                zolv_BestArmaModel* models, int32_t* order, int capacity);

#ifdef __cplusplus
}
#endif

#endif
