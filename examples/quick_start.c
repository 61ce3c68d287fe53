/* Fits a seasonal model to the logged airline passengers of 1949 to 1951 and forecasts 1952. */
#include <math.h>
#include <stdio.h>
#include <zolv.h>

int main(void) {
    static const double passengers[] = {112, 118, 132, 129, 121, 135, 148, 148, 136, 119, 104, 118,
                                        115, 126, 141, 135, 125, 149, 170, 170, 158, 133, 114, 140,
                                        145, 150, 178, 163, 172, 178, 199, 199, 184, 162, 146, 166};
    double series[36], theta, forecast[12], lower[12], upper[12];
    for (int i = 0; i < 36; ++i) series[i] = log(passengers[i]);
    zolv_ArimaModel model = {0, 1, 1, 0, 1, 0, 12, 0, NULL, NULL, 0}; /* (0,1,1)(0,1,0)12 */
    uint32_t code;
    zolv_ArimaHandle fit = zolv_MakeArimaModelPtr(series, 36, &model, &code);
    if (fit == NULL) return (int)code;
    zolv_GetEstimatedParameter(fit, 1, &theta);
    zolv_GetForecast(fit, 36, 12, forecast);
    zolv_GetForecastLimit(fit, 0.95, 36, 12, lower, upper);
    printf("code %u, theta %.3f\n", code, theta);
    for (int i = 0; i < 12; ++i)
        printf("%8.1f %8.1f %8.1f\n", exp(lower[i]), exp(forecast[i]), exp(upper[i]));
    zolv_DeleteArimaModelPtr(&fit);
    return 0;
}
