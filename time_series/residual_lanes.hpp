// time_series/residual_lanes.hpp: the residual passes at many parameter vectors, in step.
//
// The passes that an iteration makes around one point do not read each other's residuals: each is a recursion
// of its own, and what a processor waits for is its addition before. So they run side by side, one parameter
// vector per lane.
//
// Order: a lane makes the operations of the pass that it stands for, one by one and in their order, on the
//        numbers that this pass meets when they run one after another:
//          - with a constant, the working series has been shifted there and back by every pass before; these
//            roundings are made in the order of the passes;
//          - its backcasts are its own, down to its own last one, and so is its first residual.
// Passes hand on nothing else, provided that no lag is 0, where a term meets what the array held before, and
// that nothing comes near the bound of the recursion. Where that is not so, a run returns false and has
// touched nothing outside; the passes are then to be made one after another.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "time_series/lag_terms.hpp"
#include "time_series/lane_kernels.hpp"

namespace vek::time_series {

// A model as its passes see it; times are indices of its arrays.
struct PassFrame {
    const zolv::time_series::LagTerms* ar = nullptr;
    const zolv::time_series::LagTerms* ma = nullptr;
    int parameters = 0;               // the constant counted
    bool hasConstant = false;         // the last parameter, taken off the working series for a pass
    std::ptrdiff_t margin = 0;        // where the series begins
    std::ptrdiff_t end = 0;           // behind its last value
    std::ptrdiff_t backcastSpan = 0;  // the backward pass starts below it
};

class ResidualLanes {
public:
    ResidualLanes() = default;
    ResidualLanes(const ResidualLanes&) = delete;
    ResidualLanes& operator=(const ResidualLanes&) = delete;

    // Takes all the memory there is need of. The term lists must stay, and without a constant so must the
    // series itself.
    void Prepare(const PassFrame& frame, const LaneKernels& kernels = FastestLaneKernels());

    // Gives it back; the next thing to call is Prepare.
    void Release() { std::vector<double>().swap(memory_); }

    // The lanes: theta_j less and plus its step for each j, the point itself before and after these, and the
    // same point as it was tried. Without a constant that pass and the one before are the same to the bit.
    int Lowered(int j) const { return j; }
    int Raised(int j) const { return frame_.parameters + j; }
    int Before() const { return 2 * frame_.parameters; }
    int After() const { return 2 * frame_.parameters + 1; }
    int Tried() const { return frame_.hasConstant ? 2 * frame_.parameters + 2 : Before(); }

    // The points of a run, in the order of their passes; then the run.
    void Begin();
    void Add(int lane, const double* theta);
    bool RunFullPasses(const double* w);  // with fresh backcasts
    // With the backcasts in w and from `first` on, as a full pass has left them; the residuals before are 0.
    bool RunFrozenPasses(const double* w, std::ptrdiff_t first);
    // In place of a run: the residuals of one pass.
    void Put(int lane, const double* e);

    // The first time that enters the sums of a lane.
    std::ptrdiff_t FirstIndex(int lane) const { return first_[static_cast<std::size_t>(lane)]; }
    double Residual(std::ptrdiff_t t, int lane) const { return Row(e_, t)[lane]; }
    struct Squares {
        double tried, before;
    };
    // Added up in time until a sum is above `cap`.
    Squares SumSquares(double cap) const;
    // Over t = from .. end - 1, x_j being the lowered less the raised residual of theta_j: the sums of x_j e,
    // e that of After(), and of x_j x_i for i <= j.
    const LaneProducts& SumProducts(std::ptrdiff_t from);

    // What is left in the working series by the first pass of the run, or by all.
    void LeaveFirst(double* w) const;
    void LeaveAll(double* w) const;
    // The residuals of the last pass.
    void LeaveResiduals(double* e) const;

private:
    bool Spread(const double* w, std::ptrdiff_t from);
    void SpreadShifted(const double* w, std::ptrdiff_t start, std::ptrdiff_t count);
    void FillRows(std::ptrdiff_t start, std::ptrdiff_t count, const double* value);
    void LeaveBackcasts(int lane, double* w) const;
    LaneArrays Arrays();
    std::size_t KernelIndex() const { return static_cast<std::size_t>(stride_ / lanes_per_quad - 1); }
    double* Row(double* rows, std::ptrdiff_t t) const { return rows + t * stride_; }

    PassFrame frame_;
    const LaneKernels* kernels_ = nullptr;
    std::ptrdiff_t maxLag_ = 0;
    bool hasLagZero_ = false;
    std::array<std::ptrdiff_t, zolv::time_series::max_terms> arDistance_{}, maDistance_{};

    std::ptrdiff_t stride_ = 0;  // lanes in a row
    std::vector<double> memory_;
    double *w_ = nullptr, *e_ = nullptr;                          // a row per time
    double *arCoefficient_ = nullptr, *maCoefficient_ = nullptr;  // a row per term
    double* drifted_ = nullptr;  // with a constant, the working series behind the last pass

    std::size_t points_ = 0;
    std::array<int, max_lanes> order_{};  // the lane of each pass
    std::array<double, max_lanes> shift_{};
    std::array<std::int64_t, max_lanes> first_{};
    std::ptrdiff_t spreadFrom_ =
        0;                       // w_ and drifted_ have the working series from there on, before it backcasts
    bool seriesStands_ = false;  // without a constant: in w_, for good
    LaneProducts products_;
};

}  // namespace vek::time_series
