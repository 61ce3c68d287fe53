// tests/fuzz/family.hpp: what holds for every distribution family, whatever its arguments.
#pragma once

#include <vector>

#include "fuzz/input.hpp"
#include "fuzz/oracle.hpp"

namespace zolv_fuzz {

// The array form has the bits of the scalar one on any team, apart from and over its input, and writes
// nothing else. Returns what the scalar form says.
template <class Scalar, class Array>
std::vector<double> array_is_scalar(input& in, const std::vector<double>& x, const char* law,
                                    const Scalar& scalar, const Array& array) {
    std::vector<double> said;
    said.reserve(x.size());
    for (const double value : x) said.push_back(scalar(value));
    const std::uint8_t how = in.byte();
    const team workers(how);
    if (how % 3 == 0) {
        guarded both(x);
        array(both.data(), x.size(), both.data());
        both.check(law);
        for (std::size_t i = 0; i < x.size(); ++i)
            require(same_bits(both[i], said[i]), law, {x[i], both[i], said[i]});
    } else {
        guarded out(x.size());
        array(x.data(), x.size(), out.data());
        out.check(law);
        for (std::size_t i = 0; i < x.size(); ++i)
            require(same_bits(out[i], said[i]), law, {x[i], out[i], said[i]});
    }
    return said;
}

// A NaN is the missing value exactly for bad parameters, the sign-set NaN otherwise and always for a NaN
// variate.
inline void require_nan_rules(bool valid, double variate, double value, const char* law,
                              std::initializer_list<double> parameters) {
    bool holds = true;
    if (!valid) {
        holds = is_missing(value);
    } else if (std::isnan(variate)) {
        holds = is_sign_set_nan(value);
    } else if (std::isnan(value)) {
        holds = is_sign_set_nan(value);
    }
    if (!holds) {
        std::fprintf(stderr, "variate %.17g gave 0x%016" PRIX64 "\n", variate, bits(value));
        fail(law, parameters);
    }
}

inline bool is_bad_probability(double p) { return !(p >= 0.0 && p <= 1.0); }

// Whether the interval around x that a search may leave holds a point where the rising function meets p.
template <class Cdf>
bool brackets(double x, double relative, double absolute, double p, double slack, const Cdf& cdf) {
    const double width = std::fabs(x) * relative + absolute;
    return cdf(x - width) <= p + slack && cdf(x + width) >= p - slack;
}

}  // namespace zolv_fuzz
