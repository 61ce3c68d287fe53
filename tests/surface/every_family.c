/* every_family.c: a C program that includes the header and calls something of every family. It prints nothing
 * of its own unless it fails, and the test that runs it asks that nothing at all is printed. */
#include <math.h>
#include <stdio.h>

#include "families.h"
#include "zolv.h"

static int failures = 0;

static void near(const char* what, double got, double want, double tolerance) {
    if (fabs(got - want) <= tolerance * fabs(want)) return;
    fprintf(stderr, "%s: got %.17g, want %.17g\n", what, got, want);
    ++failures;
}

int main(void) {
    static double results[families_capacity];
    const int count = use_every_family(results);
    if (count <= 0) {
        fprintf(stderr, "%d calls failed\n", -count);
        return 1;
    }

    /* One value of each family, from closed forms and published tables. */
    near("normal", zolv_NormalCdf(1.0, 0.0, 1.0, 0), 0.8413447460685429, 1e-10);
    near("Student t, 1 degree of freedom", zolv_TCdf(1.0, 1.0, 0.0, 0), 0.75, 1e-14);
    near("chi-square, 2 degrees of freedom", zolv_ChiSqCdf(2.0, 2.0, 0.0, 1), exp(-1.0), 1e-14);
    near("beta", zolv_BetaCdf(0.25, 2.0, 1.0, 0), 0.0625, 1e-14);
    near("F, 2 and 2 degrees of freedom", zolv_FCdf(3.0, 2.0, 2.0, 0.0, 0), 0.75, 1e-14);
    near("binomial", zolv_BinomialPdf(2.0, 4, 0.5), 0.375, 1e-14);
    double series[144], parameters[3] = {0.1, 0.1, 0.0};
    for (int i = 0; i < 144; ++i) series[i] = log(airline_passengers[i]);
    zolv_ArimaModel airline = {0, 1, 1, 0, 1, 1, 12, 0, NULL, parameters, 0};
    zolv_QorArima(series, 144, &airline);
    near("theta of the airline model (Box and Jenkins)", parameters[0], 0.396, 2e-2);
    near("Theta of the airline model", parameters[1], 0.614, 2e-2);
    near("residual variance of the airline model", parameters[2], 1.34e-3, 3e-2);
    double value = 16.0, root = 0.0;
    zolv_QorPowerTransform(&value, 1, 0.5, &root);
    near("square root", root, 4.0, 0.0);
    return failures != 0;
}
