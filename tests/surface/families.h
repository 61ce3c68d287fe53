/* families.h: a fixed piece of work for the programs of this folder, through the public header alone. */
#ifndef ZOLV_TESTS_FAMILIES_H
#define ZOLV_TESTS_FAMILIES_H

#ifdef __cplusplus
extern "C" {
#endif

enum { families_capacity = 1 << 17 };

/* Calls something of every family and writes all that came back, codes included, into results.
 * Returns how many doubles it wrote, at most families_capacity; below 0 if a call failed that should not. */
int use_every_family(double* results);

/* The monthly totals of international airline passengers, 1949 to 1960, in thousands. */
extern const double airline_passengers[144];

#ifdef __cplusplus
}
#endif

#endif
