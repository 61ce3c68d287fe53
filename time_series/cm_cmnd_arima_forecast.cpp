// time_series/cm_cmnd_arima_forecast.cpp: forecasts on the undifferenced series through one generalised
// autoregressive polynomial, and their standard errors from the psi weights.
//
// Source: Box & Jenkins (1976), 5.1 and 5.3. Signs: 1 - a1 B - a2 B^2 ... on both sides; while differences
//         are multiplied in, element 0 holds the -1 that makes the AR list a polynomial.
#include <algorithm>
#include <cmath>

#include "frame/nan.hpp"
#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima.hpp"

namespace vek::time_series {

namespace code = zolv::time_series::code;

namespace {

std::size_t at(std::ptrdiff_t index) { return static_cast<std::size_t>(index); }

}  // namespace

int CmCmndArima::MakeForecast(int origin, int leads) {
    leads = std::max(leads, 0);
    if (forecastReady_ && origin == origin_ && leads == leads_) {
        // Oddity: a repeated request is done even if it was refused the first time; there is nothing to show.
        if (forecasts_.size() != at(leads_)) forecasts_.assign(at(leads_), dru::impl::missing_value);
        return code::done;
    }
    forecastReady_ = false;
    origin_ = origin;
    leads_ = leads;
    forecasts_.clear();
    forecastSe_.clear();
    psi_.clear();
    if (!fitted_ || origin <= orders_.ShortestOrigin() || origin > n_) {
        forecastReady_ = true;
        return code::origin_too_early;
    }
    if (const int failure = BuildForecastPolynomials(); failure != code::done) {
        leads_ = 0;
        return failure;
    }
    forecasts_.assign(at(leads), 0.0);
    psi_.assign(at(leads) + 1, 0.0);
    std::copy(series_, series_ + n_, w_.begin() + margin);

    // Coefficients behind the end of a table are 0.
    const auto maAt = [this](Index m) { return m < ma_room ? polyMa_[at(m)] : 0.0; };
    psi_[0] = 1.0;
    for (Index i = 0; i < leads; ++i) {
        const Index reach = std::min(i + 1, ar_room - 1);
        double sum = 0.0;
        for (Index j = 1; j <= reach; ++j) sum += polyAr_[at(j)] * psi_[at(i + 1 - j)];
        psi_[at(i + 1)] = -maAt(i) + sum;
    }

    const Index now = margin + origin;                                    // of the raw series in w
    const Index nowResidual = now - static_cast<Index>(differenceLoss_);  // the same time in e
    for (Index l = 0; l < leads; ++l) {
        double f = constant_;
        for (Index m = 1; m <= degree_; ++m) {
            f += polyAr_[at(m)] * (l >= m ? forecasts_[at(l - m)] : w_[at(now + l - m)]);
            // Where e ends there is no MA term left either: its lags are within the margin.
            const Index r = nowResidual + l - m;
            f -= polyMa_[at(m - 1)] * (l >= m || r < 0 ? 0.0 : e_[at(r)]);
        }
        forecasts_[at(l)] = f;
    }
    forecastReady_ = true;
    return code::done;
}

int CmCmndArima::BuildForecastPolynomials() {
    polyMa_.fill(0.0);
    polyAr_.fill(0.0);
    // Terms of equal lag add up. A period of 0 makes lag 0: it vanishes in the -1 of the AR side, and has no
    // place on the MA side.
    for (Index i = 0; i < arTerms_.count; ++i) polyAr_[at(arTerms_.lag[at(i)])] += arCoefficient_[at(i)];
    for (Index j = 0; j < maTerms_.count; ++j) {
        const Index lag = maTerms_.lag[at(j)];
        if (lag >= 1) polyMa_[at(lag - 1)] += maCoefficient_[at(j)];
    }
    Index degreeAr = arTerms_.Absent() ? 0 : arTerms_.lag[at(arTerms_.count - 1)];
    const Index degreeMa = maTerms_.Absent() ? 0 : maTerms_.lag[at(maTerms_.count - 1)];
    polyAr_[0] = -1.0;
    if ((orders_.d != 0 || orders_.D != 0) && differenceLoss_ + degreeAr + 1 > ar_room) {
        return code::polynomial_too_long;
    }
    // With a period of 0 a second pass would find only zeros.
    const int seasonal = orders_.S == 0 ? std::min(orders_.D, 1) : orders_.D;
    for (int i = 0; i < seasonal; ++i) MultiplyByDifference(orders_.S, degreeAr);
    for (int i = 0; i < orders_.d; ++i) MultiplyByDifference(1, degreeAr);
    degree_ = std::max(degreeAr, degreeMa);
    return code::done;
}

// polyAr_ times (1 - B^lag).
void CmCmndArima::MultiplyByDifference(Index lag, Index& degree) {
    for (Index i = 1; i <= degree + lag; ++i) {
        if (i < lag) {
            polyWork_[at(i)] = polyAr_[at(i)];
        } else if (i <= degree) {
            polyWork_[at(i)] = polyAr_[at(i)] - polyAr_[at(i - lag)];
        } else {
            polyWork_[at(i)] = -polyAr_[at(i - lag)];
        }
    }
    degree += lag;
    std::copy(polyWork_.begin() + 1, polyWork_.begin() + 1 + degree, polyAr_.begin() + 1);
}

const std::vector<double>& CmCmndArima::GetForecastStandardError() {
    if (psi_.size() != at(leads_) + 1) {  // no weights: the last request was refused
        forecastSe_.assign(at(leads_), dru::impl::missing_value);
        return forecastSe_;
    }
    forecastSe_.assign(at(leads_), 0.0);
    double variance = sigmaSquared_;
    for (Index l = 0; l < leads_; ++l) {
        forecastSe_[at(l)] = std::sqrt(variance);
        const double next = variance + sigmaSquared_ * (psi_[at(l + 1)] * psi_[at(l + 1)]);
        variance = next > 0.0 ? next : 0.0;  // 0 for a NaN too
    }
    return forecastSe_;
}

}  // namespace vek::time_series
