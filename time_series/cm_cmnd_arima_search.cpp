// time_series/cm_cmnd_arima_search.cpp: least squares by Marquardt's compromise between the Gauss-Newton step
// and the gradient, with derivatives from central differences of the residuals.
//
// Source: Marquardt (1963), J. SIAM 11; Box & Jenkins (1976), program 7.2. The angle between the step and the
//         gradient decides what a failed step changes: a wide one asks for more damping, a narrow one for a
//         shorter step. arccos by Abramowitz & Stegun 4.4.45.
// Oddity: theta walks +h, -2h, +h through its derivatives and keeps what the roundings leave.
// Memory: the lanes and the history are sized before the first iteration; nothing is allocated after that.
#include <algorithm>
#include <cmath>

#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima.hpp"

namespace vek::time_series {

namespace code = zolv::time_series::code;

namespace {

constexpr int max_iterations = 25;
constexpr int max_tries = 16;
constexpr std::size_t history_rows = max_iterations + 1;  // the start and each accepted step
constexpr double smallest_start = 0.005;  // a parameter nearer to 0 gives no usable derivative step
constexpr double replaced_start = 0.1;
constexpr double first_lambda = 0.01;
constexpr double lowest_lambda = 1e-5;  // below it no lower damping is tried
constexpr double step_fraction = 0.95;
constexpr double longest_move = 0.15;  // no parameter but the constant moves further in one step
constexpr double wide_angle = 30.0;
constexpr double singular_sum = 1e35;  // what a step that cannot be computed is said to cost

// Oddity: 3.141596 is not pi. It stands between a step that is taken and one that is not, so it stays.
double AngleInDegrees(double cosine) {
    const double x = std::fabs(cosine);
    double angle = 0.0;
    if (x <= 1.0) {
        angle = std::sqrt(1.0 - x) * (((0.074261 - 0.0187293 * x) * x - 0.2121144) * x + 1.5707288);
    }
    return (cosine < 0.0 ? 3.141596 - angle : angle) * 57.2958;
}

}  // namespace

int CmCmndArima::MarquardtSearch() {
    const auto k = static_cast<std::size_t>(ParameterCount());
    if (recordHistory_) history_.assign(history_rows, std::vector<double>(k + 1));
    historyRows_ = 0;
    for (std::size_t i = 0; i < k; ++i) {
        if (std::fabs(theta_[i]) < smallest_start) theta_[i] = replaced_start;
    }
    lambda_ = first_lambda;
    double sum = 0.0;
    if (!Visit(true, sum)) return code::recursion_overflow;
    RecordRow(sum);

    Step step;
    for (int iteration = 1; iteration <= max_iterations; ++iteration) {
        lastIteration_ = iteration == max_iterations;
        step.damping = step_fraction;
        if (!TakeDerivatives()) return code::recursion_overflow;
        if (const int ended = FormNormalEquations(); ended != code::done) {
            if (ended == code::no_better_step) sumOfSquares_ = sum;
            return ended;
        }
        if (const int ended = FindBetterStep(sum, step); ended != code::done) return ended;

        theta_ = candidate_;
        const bool converged = Converged(theta_);
        if (!Visit(!converged && !lastIteration_, sum)) return code::recursion_overflow;
        constant_ = ConstantOf(theta_);
        RecordRow(sum);
        if (sum < exact_fit) {
            sumOfSquares_ = sum;
            return code::done;
        }
        if (converged) return code::converged;
    }
    constant_ = ConstantOf(theta_);
    return code::iterations_used;
}

// Leaves the accepted parameters in candidate_. Returns done when there are any.
int CmCmndArima::FindBetterStep(double sum, Step& step) {
    if (lambda_ >= lowest_lambda) {
        if (!MarquardtStep(lambda_ / 10.0, step)) return code::recursion_overflow;
        if (!(step.sum > sum)) {
            lambda_ /= 10.0;
            return code::done;
        }
        RejectCandidate();
    }
    for (int tries = 1; tries <= max_tries; ++tries) {
        if (!MarquardtStep(lambda_, step)) return code::recursion_overflow;
        if (sum >= step.sum) return code::done;
        RejectCandidate();
        if (step.angle >= wide_angle) {
            lambda_ *= 10.0;
            step.damping = step_fraction;
        } else {
            step.damping *= 0.5;
        }
    }
    constant_ = ConstantOf(theta_);
    sumOfSquares_ = sum;
    return code::no_better_step;
}

// False when the recursion overflows at the candidate. A matrix that cannot be inverted is no failure: the
// step then costs singular_sum, and the angle and the damping stay as they were.
bool CmCmndArima::MarquardtStep(double lambda, Step& step) {
    const auto k = static_cast<std::size_t>(ParameterCount());
    for (std::size_t j = 0; j < k; ++j) {
        for (std::size_t i = 0; i < j; ++i) work_[j][i] = work_[i][j] = normal_[j][i];
        work_[j][j] = lambda + 1.0;
    }
    if (InvertMatrix(work_, lastParameter_) < lastParameter_) {
        step.sum = singular_sum;
        return true;
    }

    const std::size_t plain = hasConstant_ ? k - 1 : k;
    double longest = 0.0;
    for (std::size_t i = 0; i < k; ++i) {
        double solved = 0.0;
        for (std::size_t j = 0; j < k; ++j) solved += work_[i][j] * gradient_[j];
        solved_[i] = solved;
        scaledStep_[i] = solved / scale_[i];
        delta_[i] = scaledStep_[i] * step.damping;
        if (i < plain && std::fabs(delta_[i]) > longest) longest = std::fabs(delta_[i]);
    }
    // delta_ itself stays as it is: the convergence test looks at the step that was wanted.
    const double r = longest > longest_move ? longest_move / longest : 1.0;
    for (std::size_t i = 0; i < k; ++i) candidate_[i] = theta_[i] + r * delta_[i];
    step.damping *= r;
    if (!TryCandidate(step.sum)) return false;

    double dot = 0.0, solvedSquares = 0.0, gradientSquares = 0.0;
    for (std::size_t i = 0; i < k; ++i) {
        dot += gradient_[i] * solved_[i];
        solvedSquares += solved_[i] * solved_[i];
        gradientSquares += gradient_[i] * gradient_[i];
    }
    double cosine = 0.0;
    if (solvedSquares != 0.0 && gradientSquares != 0.0) {
        cosine = dot / (std::sqrt(solvedSquares) * std::sqrt(gradientSquares));
    }
    step.angle = AngleInDegrees(cosine);
    return true;
}

bool CmCmndArima::Converged(const Parameters& theta) const {
    const auto k = static_cast<std::size_t>(ParameterCount());
    for (std::size_t i = 0; i < k; ++i) {
        const bool isConstant = hasConstant_ && i + 1 == k;
        const double level = isConstant ? theta[i] + mean_ : theta[i];
        if (!(std::fabs(delta_[i]) < 0.001 * std::fabs(level) + 1e-5)) return false;
    }
    return true;
}

void CmCmndArima::RecordRow(double sum) {
    if (!recordHistory_) return;
    std::vector<double>& row = history_[historyRows_++];
    row.front() = sum;
    std::copy_n(theta_.begin(), ParameterCount(), row.begin() + 1);
    if (hasConstant_) row.back() = ConstantOf(theta_);
}

}  // namespace vek::time_series
