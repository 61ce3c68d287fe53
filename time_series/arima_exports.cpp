// time_series/arima_exports.cpp: the two ways to fit, and the end of a handle.
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "frame/nan.hpp"
#include "time_series/arima_codes.hpp"
#include "time_series/arima_handle.hpp"
#include "time_series/arima_orders.hpp"
#include "time_series/gaussian_random_walk.hpp"
#include "time_series/parameter_order.hpp"

namespace {

using vek::time_series::CmCmndArima;
using zolv::time_series::ArimaOrders;
using zolv::time_series::ClassicArima;
using zolv::time_series::GaussianRandomWalk;
namespace code = zolv::time_series::code;

constexpr double unusable_start = 0.1;
constexpr double no_start_constant = 1e10;

// The period counts only where something seasonal uses it.
ArimaOrders OrdersOf(const zolv_ArimaModel& model) {
    ArimaOrders orders{model.ArOrder,         model.Differencing,         model.MaOrder,
                       model.SeasonalArOrder, model.SeasonalDifferencing, model.SeasonalMaOrder,
                       model.SeasonalPeriod};
    if (orders.P == 0 && orders.D == 0 && orders.Q == 0 && orders.S > 0) orders.S = 0;
    return orders;
}

bool IsRandomWalk(const ArimaOrders& orders) {
    return orders.p == 0 && orders.d == 1 && orders.q == 0 && orders.P == 0 && orders.D == 0 && orders.Q == 0;
}

// Models count in int and keep a margin of 100; a longer series, which only a mistaken count announces, is
// treated like a missing one: as empty.
int LengthOf(const double* series, std::uint32_t n) {
    constexpr std::uint32_t longest = std::numeric_limits<std::int32_t>::max() - 100;
    return series == nullptr || n > longest ? 0 : static_cast<int>(n);
}

double FiniteOr(double value, double substitute) { return dru::impl::is_finite(value) ? value : substitute; }

int QorRandomWalk(const double* series, int n, const zolv_ArimaModel& model) {
    GaussianRandomWalk walk(series, n, model.Constant != nullptr);
    const int result = walk.Estimate();
    if (result != code::done) return result;
    model.Parameters[0] = walk.GetSigmaSquared();
    if (model.Constant != nullptr) *model.Constant = walk.Drift();
    return result;
}

}  // namespace

extern "C" {

zolv_ArimaHandle zolv_MakeArimaModelPtr(const double* series, uint32_t n, zolv_ArimaModel* model,
                                        uint32_t* code_out) {
    const auto answer = [code_out](int result) {
        if (code_out != nullptr) *code_out = static_cast<uint32_t>(result);
    };
    const ArimaOrders orders = model != nullptr ? OrdersOf(*model) : ArimaOrders{.p = -1};
    if (!orders.Valid()) {
        answer(code::orders_out_of_range);
        return nullptr;
    }
    const bool has_constant = model->Constant != nullptr;
    const int length = LengthOf(series, n);

    std::vector<double> start;  // lives as long as the fit needs it
    std::unique_ptr<ClassicArima> fit;
    if (IsRandomWalk(orders)) {
        fit.reset(new (std::nothrow) GaussianRandomWalk(series, length, has_constant));
    } else {
        // In fit order as they stand, NaN included. Without them a constant's start is not read either.
        if (model->Parameters != nullptr) {
            start.reserve(static_cast<std::size_t>(orders.TermCount()) + 1);
            start.assign(model->Parameters, model->Parameters + orders.TermCount());
            if (has_constant) start.push_back(*model->Constant);
        }
        const std::vector<double>* const given = model->Parameters != nullptr ? &start : nullptr;
        auto* const iterative = new (std::nothrow) CmCmndArima(series, length, orders, has_constant, given);
        if (iterative != nullptr) iterative->RecordHistory(true);
        fit.reset(iterative);
    }
    if (fit == nullptr) {
        answer(code::no_memory);
        return nullptr;
    }
    const int result = fit->Estimate();
    answer(result);
    // A failed fit ends with this call: nobody could release it later.
    return code::is_failure(result) ? nullptr : zolv::time_series::HandleOf(fit.release());
}

void zolv_DeleteArimaModelPtr(zolv_ArimaHandle* handle) {
    if (handle == nullptr) return;
    delete zolv::time_series::ModelOf(*handle);
    *handle = nullptr;
}

int zolv_QorArima(const double* series, uint32_t n, zolv_ArimaModel* model) {
    if (model == nullptr || model->Parameters == nullptr) return code::orders_out_of_range;
    const ArimaOrders orders = OrdersOf(*model);
    if (!orders.Valid()) return code::orders_out_of_range;
    const int length = LengthOf(series, n);
    if (IsRandomWalk(orders)) return QorRandomWalk(series, length, *model);

    const int terms = orders.TermCount();
    std::vector<double> values(model->Parameters, model->Parameters + terms);
    for (double& value : values) value = FiniteOr(value, unusable_start);
    zolv::time_series::RecordToFitOrder(values.data(), orders);
    const bool has_constant = model->Constant != nullptr;
    if (has_constant) values.push_back(FiniteOr(*model->Constant, no_start_constant));

    CmCmndArima fit(series, length, orders, has_constant, &values);
    const int result = fit.Estimate();
    if (code::is_failure(result)) return result;

    std::vector<double> estimates = fit.GetEstimatedParameter();
    zolv::time_series::FitToRecordOrder(estimates.data(), orders);
    for (int i = 0; i < terms; ++i) model->Parameters[i] = estimates[static_cast<std::size_t>(i)];
    model->Parameters[terms] = fit.GetSigmaSquared();
    if (has_constant) *model->Constant = estimates.back();
    return result;
}

}  // extern "C"
