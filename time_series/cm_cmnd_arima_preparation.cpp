// time_series/cm_cmnd_arima_preparation.cpp: from the caller's question to a centred, differenced series, a
// parameter vector and two lists of lags, or to the code that says why there is no fit.
//
// Every product of the period is taken in 64 bits and compared with the length of the series before anything
// is sized or indexed by it.
#include <algorithm>
#include <cmath>

#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima.hpp"

namespace vek::time_series {

namespace code = zolv::time_series::code;

namespace {

constexpr double no_start_constant = 1e10;
constexpr double default_start = 0.1;
constexpr double missing_start = 1.23456e30;  // behind the caller's last start value; no term uses it
constexpr std::int64_t longest_lag = 100;     // the margin in front of the series

}  // namespace

int CmCmndArima::PrepareSeries() {
    const int terms = orders_.TermCount();
    if (terms == 0) return code::no_terms;
    const int parameters = terms + (hasConstant_ ? 1 : 0);
    if (parameters > max_parameters) return code::too_many_parameters;
    differenceLoss_ = orders_.DifferenceLoss();
    if (n_ <= differenceLoss_ + 3) return code::series_too_short;
    if (n_ <= orders_.ShortestOrigin()) return code::origin_too_early;

    for (int i = 0; i < zolv::time_series::max_order; ++i) {
        const auto row = static_cast<std::size_t>(i);
        arLags_[row] = maLags_[row] = i + 1;
        seasonalArLags_[row] = seasonalMaLags_[row] = std::int64_t{orders_.S} * (i + 1);
    }
    FillStartSlots();

    startConstant_ = no_start_constant;
    if (hasStartValues_ && hasConstant_ && startValues_->size() >= static_cast<std::size_t>(parameters)) {
        startConstant_ = (*startValues_)[static_cast<std::size_t>(parameters) - 1];
    }

    arrayLength_ = Index{n_} + margin;
    const auto length = static_cast<std::size_t>(arrayLength_);
    e_.assign(length, 0.0);
    a_.assign(length, 0.0);
    w_.assign(length, 0.0);

    DifferenceInPlace();
    if (count_ <= parameters) return code::series_too_short;

    const double* const w = w_.data() + margin;
    double sum = 0.0;
    for (Index t = 0; t < count_; ++t) sum += w[t];
    mean_ = sum / count_;
    double squares = 0.0;
    for (Index t = 0; t < count_; ++t) squares += (w[t] - mean_) * (w[t] - mean_);
    standardDeviation_ = std::sqrt(squares / (count_ - 1));
    return code::done;
}

void CmCmndArima::FillStartSlots() {
    const auto fill = [this](StartSlots& slots, int offset) {
        slots.fill(default_start);
        if (!hasStartValues_) return;
        for (std::size_t i = 0; i < slots.size(); ++i) {
            const std::size_t at = static_cast<std::size_t>(offset) + i;
            slots[i] = at < startValues_->size() ? (*startValues_)[at] : missing_start;
        }
    };
    fill(arStart_, 0);
    fill(seasonalArStart_, orders_.p);
    fill(maStart_, orders_.p + orders_.P);
    fill(seasonalMaStart_, orders_.p + orders_.P + orders_.q);
}

// Order: the seasonal differences first, each in place at the front of the data area, in increasing time.
void CmCmndArima::DifferenceInPlace() {
    double* const w = w_.data() + margin;
    std::copy(series_, series_ + n_, w);
    Index count = n_;
    const auto difference = [&](Index lag) {
        count -= lag;
        for (Index t = 0; t < count; ++t) w[t] = w[t + lag] - w[t];
    };
    // A period of 0 takes each value from itself: once is as good as the two thousand million times that a
    // caller may ask for.
    const int seasonal = orders_.S == 0 ? std::min(orders_.D, 1) : orders_.D;
    for (int i = 0; i < seasonal; ++i) difference(orders_.S);
    for (int i = 0; i < orders_.d; ++i) difference(1);
    count_ = static_cast<int>(count);
}

// One block of terms into the parameter vector; false when the vector has no room for it.
bool CmCmndArima::TakeBlock(int order, const Lags& lags, const StartSlots& start) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(order); ++i) {
        if (++lastParameter_ >= max_parameters) return false;
        lagOf_[static_cast<std::size_t>(lastParameter_)] = lags[i];
        theta_[static_cast<std::size_t>(lastParameter_)] = start[i];
    }
    return true;
}

int CmCmndArima::PrepareParameters() {
    lastParameter_ = -1;
    lagOf_.fill(0);
    theta_.fill(0.0);
    if (!TakeBlock(orders_.p, arLags_, arStart_) ||
        !TakeBlock(orders_.P, seasonalArLags_, seasonalArStart_) ||
        !TakeBlock(orders_.q, maLags_, maStart_) ||
        !TakeBlock(orders_.Q, seasonalMaLags_, seasonalMaStart_)) {
        return code::orders_out_of_range;
    }

    preSample_ = 0.0;
    if (hasConstant_) {
        for (Index t = margin; t < margin + count_; ++t) w_[static_cast<std::size_t>(t)] -= mean_;
        if (++lastParameter_ >= max_parameters) return code::orders_out_of_range;
        // The last parameter is the deviation of the process mean from the sample mean.
        double& deviation = theta_[static_cast<std::size_t>(lastParameter_)];
        deviation = 0.0;
        if (startConstant_ != no_start_constant) {
            const auto sum = [this](int from, int terms) {
                double total = 0.0;
                for (int i = from; i < from + terms; ++i) total += theta_[static_cast<std::size_t>(i)];
                return total;
            };
            const double regular = 1.0 - sum(0, orders_.p);
            if (orders_.p >= 1 && regular == 0.0) return code::start_constant_useless;
            const double seasonal = 1.0 - sum(orders_.p, orders_.P);
            deviation = startConstant_ / (regular * seasonal) - mean_;
        }
    }

    arTerms_ = zolv::time_series::BuildLagTerms(orders_.p, orders_.P, orders_.S, 0);
    maTerms_ = zolv::time_series::BuildLagTerms(orders_.q, orders_.Q, orders_.S, orders_.p + orders_.P);
    const std::int64_t maxLag = std::max(arTerms_.maxLag, maTerms_.maxLag);
    if (maxLag > longest_lag) return code::lag_too_long;
    maxLag_ = static_cast<Index>(maxLag);

    firstIndex_ = 0;
    backcastSpan_ = std::min(n_ - static_cast<Index>(maTerms_.maxLag) + margin, count_ - maxLag_ + margin);
    std::fill_n(e_.begin(), margin, 0.0);
    std::fill_n(a_.begin(), margin, 0.0);
    std::fill_n(w_.begin(), margin, preSample_);
    lanes_.Prepare(
        {&arTerms_, &maTerms_, ParameterCount(), hasConstant_, margin, margin + count_, backcastSpan_});
    return code::done;
}

}  // namespace vek::time_series
