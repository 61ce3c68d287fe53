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
//        Only of the backward pass, of which nothing remains but the backcasts, no more is made than decides
//        their bits.
// Passes hand on nothing else, provided that no lag is 0, where a term meets what the array held before, that
// nothing comes near the bound of the recursion, and that most lanes see one series, as they do when sums are
// rounded to nearest. Where that is not so, a run returns false and has touched nothing outside; the passes
// are then to be made one after another.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "time_series/lag_terms.hpp"
#include "time_series/lane_kernels.hpp"

namespace vek::time_series {

// Far enough below the bound of the recursion, 1.001e18, that no shift by a constant reaches it from there.
inline constexpr double near_bound = 1e17;

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

    // The lanes: the point itself, of the first pass; the same again, of the second; theta_j less and plus
    // its step for each j; and the point behind these. Without a constant a second pass is the first to the
    // bit. With one, the first quad is for the passes that see a series of their own: the first, which
    // changes it, those of the constant's steps, and the last, whose constant has been there and back.
    int First() const { return 0; }
    int Raised(int j) const { return Moved(j, 1, 0); }
    int Lowered(int j) const { return Moved(j, 2, Steps()); }
    int After() const { return frame_.hasConstant ? 3 : 1; }
    int Second() const { return frame_.hasConstant ? 4 + 2 * Steps() : First(); }

    // The points of a run, in the order of their passes; then the run.
    void Begin();
    void Add(int lane, const double* theta);
    bool RunFullPasses(const double* w);  // with fresh backcasts
    // With the backcasts in w and from `first` on, as a full pass has left them; the residuals before are 0.
    bool RunFrozenPasses(const double* w, std::ptrdiff_t first);
    // A single pass, at First(), with fresh backcasts.
    bool RunOnePass(const double* w, const double* theta);
    // In place of a run: the residuals of one pass.
    void Put(int lane, const double* e);

    // The first time that enters the sums of a lane.
    std::ptrdiff_t FirstIndex(int lane) const { return first_[static_cast<std::size_t>(lane)]; }
    // Below it the residuals of the backward pass are known.
    std::ptrdiff_t BackwardFrom() const { return backwardFrom_; }
    double Residual(std::ptrdiff_t t, int lane) const { return Row(e_, t)[lane]; }
    struct Squares {
        double first, second;
    };
    // Of the first two passes, added up in time until a sum is above `cap`.
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
    // Steps of parameters but for the constant.
    int Steps() const { return frame_.parameters - (frame_.hasConstant ? 1 : 0); }
    int Moved(int j, int ofConstant, int behind) const {
        if (frame_.hasConstant) return j == Steps() ? ofConstant : 4 + behind + j;
        return 2 + behind + j;
    }

    bool RunPasses(const double* w);
    bool Spread(const double* w, std::ptrdiff_t from);
    bool SpreadShifted(const double* w);
    void SpreadAlone(const double* w);
    void SpreadBackcasts(const double* w, std::ptrdiff_t from);
    std::ptrdiff_t CloseBackwardPasses();
    bool RunForward();
    bool WithinBound() const;
    void BeginProducts(std::ptrdiff_t from);
    void AddProducts(std::ptrdiff_t end);
    void ClearRows(double* rows, std::ptrdiff_t below, std::ptrdiff_t& zeroBelow);
    void LeaveBackcasts(int lane, double* w) const;
    LaneArrays Arrays();
    bool HasApart() const { return frame_.hasConstant && points_ > 1; }
    // In use, less 1.
    std::size_t Quads() const {
        return points_ > 1 ? static_cast<std::size_t>(stride_ / lanes_per_quad - 1) : 0;
    }
    double* Row(double* rows, std::ptrdiff_t t) const { return rows + t * stride_; }

    PassFrame frame_;
    const LaneKernels* kernels_ = nullptr;
    std::ptrdiff_t maxLag_ = 0, rowsEnd_ = 0;
    bool hasLagZero_ = false;

    std::ptrdiff_t stride_ = 0;                       // lanes in a row
    std::ptrdiff_t wZeroBelow_ = 0, eZeroBelow_ = 0;  // rows of the margin that hold nothing but 0
    std::vector<double> memory_;
    double *w_ = nullptr, *e_ = nullptr;                          // a row per time, of w_ below rowsEnd_ only
    double *common_ = nullptr, *apart_ = nullptr;                 // see LaneArrays
    double *arCoefficient_ = nullptr, *maCoefficient_ = nullptr;  // a row per term
    double* drifted_ = nullptr;  // with a constant, the working series behind the last pass

    std::size_t points_ = 0;
    std::array<int, max_lanes> order_{};  // the lane of each pass
    std::array<double, max_lanes> shift_{}, squares_{};
    std::array<std::int64_t, max_lanes> first_{};
    std::ptrdiff_t spreadFrom_ = 0;  // the working series is spread from there on, before it are backcasts
    bool seriesStands_ = false;      // without a constant: it is spread for good
    double largest_ = 0.0;           // magnitude in the series, before a constant is taken off
    // Over the points: the largest sums of magnitudes, and what signs the MA terms have.
    double arSize_ = 0.0, maSize_ = 0.0;
    std::array<bool, zolv::time_series::max_terms> hasNegative_{}, hasPositive_{};
    std::ptrdiff_t backwardFrom_ = 0;
    LaneProducts products_;
    std::ptrdiff_t productsFrom_ = -1;  // they are made from there on; -1 if not
};

}  // namespace vek::time_series
