// quantiles/root_search.cpp: the searches for a callable whose type is settled at run time.
#include "quantiles/root_search.hpp"

namespace dru::impl {

template double solve_bracketed(double, double, double, double, residual_function, unsigned char&);
template double solve_newton(double, residual_function, residual_function, int, unsigned char&);
template double search_discrete(double, double, residual_function, int);
template void expand_bracket(double&, double&, double&, double&, residual_function, unsigned char&);

}  // namespace dru::impl
