// quantiles/look_ahead.hpp: residuals at the points that a search is about to ask for, four at a time.
//
// A doubling search and a bisection ask for points that are known before the residuals are: the next steps of
// the doubling, the two halves of the bracket. Where four residuals cost about as much as one (lanes.hpp),
// they are worked out together and kept until they are asked for. A guess that is never asked for changes
// nothing: an answer is kept for its own point alone.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "quantiles/lanes.hpp"

namespace dru::impl {

// From so many indices of any weight on, the sums of four points in step pay.
inline constexpr double worth_looking_ahead = 100.0;

// residual(x) is the residual at one point; residuals(x) are those at four points. usable(y, x)
// tells whether y can be asked for in step with x, or x alone can.
template <class Residual, class Residuals, class Usable>
class look_ahead {
public:
    look_ahead(Residual residual, Residuals residuals, Usable usable)
        : residual_(residual), residuals_(residuals), usable_(usable) {}

    // What follows is an expand_bracket from x0.
    void expect_doubling(double x0, double f0) {
        guess_ = guess::doubling;
        step_ = f0 > 0.0 ? -std::fabs(x0) : std::fabs(x0);
        asked_ = 0;
    }
    // What follows is a solve_bracketed with the residual fa at a.
    void expect_bisection(double a, double fa, double b) {
        guess_ = guess::bisection;
        a_ = a;
        b_ = b;
        below_at_a_ = fa < 0.0;
        asked_ = 0;
    }

    double operator()(double x) {
        const double f = answer(x);
        ++asked_;
        if (guess_ == guess::doubling) {
            if (asked_ > 1) step_ = 2.0 * step_;
        } else if (guess_ == guess::bisection) {
            (below_at_a_ == (f < 0.0) ? a_ : b_) = x;
        }
        return f;
    }

private:
    enum class guess { nothing, doubling, bisection };

    double answer(double x) {
        for (std::size_t l = 0; l < known_; ++l) {
            if (std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(at_[l])) return value_[l];
        }
        // Most doublings end after a step or two, and points far apart have little in common.
        const int plain = guess_ == guess::doubling ? plain_doublings : plain_bisections;
        if (guess_ == guess::nothing || asked_ < plain || !usable_(x, x)) return residual_(x);
        lane_array next;
        if (guess_ == guess::doubling) {
            double step = step_, at = x;
            for (double& point : next) {
                point = at;
                step = 2.0 * step;
                at = at + step;
            }
        } else {
            next = {x, (a_ + x) / 2.0, (x + b_) / 2.0, x};
        }
        for (double& point : next) {
            if (!usable_(point, x)) point = x;
        }
        at_ = next;
        value_ = residuals_(next);
        known_ = lane_count;
        return value_[0];
    }

    static constexpr int plain_doublings = 2, plain_bisections = 4;

    Residual residual_;
    Residuals residuals_;
    Usable usable_;
    guess guess_ = guess::nothing;
    double step_ = 0.0;  // from the point before to the next one
    int asked_ = 0;
    double a_ = 0.0, b_ = 0.0;
    bool below_at_a_ = false;
    std::size_t known_ = 0;  // of the points and residuals below
    lane_array at_{}, value_{};
};

}  // namespace dru::impl
