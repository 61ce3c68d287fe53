// bench/peers/peers.hpp: the same questions asked of other libraries, each called as its users call it.
//
// An answer is empty where a library has no such function, or fails on one of the arguments.
#pragma once

#include <string>

#include "support/answers.hpp"

namespace zolv_bench {

answer rmath_answer(const question& q);  // R's nmath as a library of its own
answer boost_answer(const question& q,
                    bool promote);     // with promotion to long double, its default, or without
answer gsl_answer(const question& q);  // GNU Scientific Library; no noncentral families

// For the report: "Boost.Math 1.74.0" and the like.
std::string rmath_version();
std::string boost_version();
std::string gsl_version();

}  // namespace zolv_bench
