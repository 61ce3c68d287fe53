/* by_value_c.c: the by-value calls as C makes them. */
#include "layout.h"

void default_setting_in_c(zolv_BestArimaAutoFindSetting* out) {
    *out = zolv_CreateBestArimaAutoFindSetting();
}

int search_in_c(const double* series, int count, const zolv_BestArimaAutoFindSetting* setting,
                zolv_BestArmaModel* models, int32_t* order, int capacity) {
    const zolv_BestArmaGroup group = zolv_AutoFindBestArma(series, count, setting);
    const int found = group.count;
    for (int i = 0; i < found && i < capacity; ++i) {
        models[i] = group.models[i];
        order[i] = group.order[i];
    }
    zolv_CleanUpAfterAutoFindBestArma(group);
    return found;
}
