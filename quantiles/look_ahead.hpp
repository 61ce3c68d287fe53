// quantiles/look_ahead.hpp: residuals at the points that a search is about to ask for, four at a time.
//
// A doubling search and a bisection ask for points that are known, or can be guessed, before the residuals
// are: the next steps of the doubling; the middles of the bracket's halves; and, once the residual is nearly
// straight within the bracket, the whole path to where the chord through its ends meets 0. Where four
// residuals cost about as much as one (lanes.hpp), they are worked out together and kept until they are asked
// for. A guess that is never asked for changes nothing: an answer is kept for its own point alone.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "quantiles/lanes.hpp"

namespace dru::impl {

// From so many indices of any weight on, the sums of four points in step pay.
inline constexpr double worth_looking_ahead = 10.0;

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
        first_step_ = f0 > 0.0 ? -1.0 : 1.0;
        step_ = first_step_ * std::fabs(x0);
        asked_ = 0;
    }
    // What follows is a solve_bracketed between a and b, with the residual fa at a, and fb at b if that is
    // known.
    void expect_bisection(double a, double fa, double b, double fb) {
        guess_ = guess::bisection;
        a_ = a, fa_ = fa;
        b_ = b, fb_ = fb;
        asked_ = 0;
        followed_ = 0;
    }

    double operator()(double x) {
        const double f = answer(x);
        ++asked_;
        if (guess_ == guess::doubling) {
            step_ = step_ == 0.0 ? first_step_ : 2.0 * step_;
        } else if (guess_ == guess::bisection) {
            const bool towards_b = (fa_ < 0.0) == (f < 0.0);
            followed_ = towards_b == beyond(x) ? followed_ + 1 : 0;
            if (towards_b) {
                a_ = x, fa_ = f;
            } else {
                b_ = x, fb_ = f;
            }
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
            next = followed_ >= trusted ? path_from(x) : both_halves(x);
        }
        for (double& point : next) {
            if (!usable_(point, x)) point = x;
        }
        at_ = next;
        value_ = residuals_(next);
        known_ = lane_count;
        return value_[0];
    }

    // Whether the chord through the ends of the bracket meets 0 between x and b; unknown ends say nothing.
    bool beyond(double x) const {
        const double root = a_ + (b_ - a_) * (fa_ / (fa_ - fb_));
        return a_ < b_ ? root > x : root < x;
    }

    // x and what a bisection asks for next if the chord is right.
    lane_array path_from(double x) const {
        double a = a_, b = b_;
        lane_array next{x};
        for (std::size_t l = 1; l < lane_count; ++l) {
            (beyond(next[l - 1]) ? a : b) = next[l - 1];
            next[l] = (a + b) / 2.0;
        }
        return next;
    }

    // x, the middles of both halves, and one step more in the likelier of them.
    lane_array both_halves(double x) const {
        const lane_array path = path_from(x);
        return {x, (a_ + x) / 2.0, (x + b_) / 2.0, path[2]};
    }

    static constexpr int plain_doublings = 2, plain_bisections = 2;
    static constexpr int trusted = 2;  // steps on the chord's side of x in a row, for its path to be taken

    Residual residual_;
    Residuals residuals_;
    Usable usable_;
    guess guess_ = guess::nothing;
    double step_ = 0.0;        // from the point before to the next one
    double first_step_ = 1.0;  // in place of one of 0
    int asked_ = 0;
    double a_ = 0.0, fa_ = 0.0, b_ = 0.0, fb_ = 0.0;
    int followed_ = 0;
    std::size_t known_ = 0;  // of the points and residuals below
    lane_array at_{}, value_{};
};

}  // namespace dru::impl
