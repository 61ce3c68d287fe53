// tests/fuzz/series.hpp: series and models from the fuzzer's bytes, for the targets of the time-series side.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/input.hpp"
#include "fuzz/oracle.hpp"
#include "zolv.h"

namespace zolv_fuzz {

// Congruential numbers in -1 .. 1: what a few bytes of the input stand for.
class noise {
public:
    explicit noise(std::uint64_t seed) : state_(seed) {}
    double operator()() {
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return (static_cast<double>(state_ >> 11) * 0x1p-53 - 0.5) * 2.0;
    }

private:
    std::uint64_t state_;
};

// Of [count] values: noise, a walk, a season and a trend, one constant, or numbers as they come; some kinds
// are then sprinkled with special values. The vector has no room beyond its end, so that the sanitizer sees
// it.
inline std::vector<double> series(input& in, int count, bool ordinary = false) {
    std::vector<double> x(static_cast<std::size_t>(count));
    const std::uint8_t kind = in.byte();
    noise next(in.word(2));
    double level = in.flag() ? in.between(-20.0, 20.0) : 0.0;
    const double slope = in.flag() ? in.between(-1.0, 1.0) : 0.0;
    const int period = in.from_to(1, 12);
    const argument any{-3.0, 4.0, true, {}};
    double before = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        switch (kind % 8) {
            default:
                x[i] = level + slope * static_cast<double>(i) + next();
                break;
            case 1:
                x[i] = level += next() + slope;
                break;
            case 2:
                x[i] = level + slope * static_cast<double>(i) +
                       3.0 * std::sin(6.283185307179586 * static_cast<double>(i) / period) + 0.1 * next();
                break;
            case 3:
                x[i] = before = level + slope * before + next();
                break;
            case 4:
                x[i] = level + slope * static_cast<double>(i);
                break;
            case 5:
                x[i] = static_cast<double>(static_cast<int>(8.0 * next()));
                break;
            case 6:
                x[i] = in.between(-100.0, 100.0);
                break;
            case 7:
                x[i] = ordinary ? in.between(0.0, 1.0) : in.number(any);
                break;
        }
    }
    if (ordinary) return x;
    const int scale = in.byte() % 16;
    if (scale == 1)
        for (double& v : x) v *= 1e17;
    if (scale == 2)
        for (double& v : x) v *= 1e-160;
    if (scale == 3 && !x.empty())
        for (int i = in.from_to(1, 3); i > 0; --i)
            x[static_cast<std::size_t>(in.below(count))] = in.special();
    return x;
}

struct orders {
    std::int32_t p = 0, d = 0, q = 0, P = 0, D = 0, Q = 0, S = 0;
    int terms() const { return p + q + P + Q; }
    bool in_range() const {
        const auto order = [](std::int32_t k) { return k >= 0 && k <= 5; };
        return order(p) && order(q) && order(P) && order(Q) && d >= 0 && D >= 0 && S >= 0;
    }
};

inline orders some_orders(input& in, int longest_period) {
    orders o;
    const std::uint8_t shape = in.byte();
    o.p = in.below(3);
    o.d = in.below(4) == 3 ? in.below(3) : in.below(2);
    o.q = in.below(3);
    if ((shape & 3) == 3) {
        o.P = in.below(3);
        o.D = in.below(2);
        o.Q = in.below(3);
        o.S = in.from_to(0, longest_period);
    }
    if (shape >= 248) {  // anything at all
        std::int32_t* const fields[] = {&o.p, &o.d, &o.q, &o.P, &o.D, &o.Q, &o.S};
        std::int32_t& field = *fields[in.byte() % std::size(fields)];
        const std::int32_t values[] = {-1, 3,   4,          5,
                                       6,  100, 2147483647, static_cast<std::int32_t>(-2147483647 - 1)};
        field = values[in.byte() % std::size(values)];
    } else if (shape >= 232) {
        (shape % 2 == 0 ? o.p : o.q) = in.from_to(3, 5);
    }
    return o;
}

inline zolv_ArimaModel model_of(const orders& o, double* parameters, double* constant) {
    zolv_ArimaModel model;
    model.ArOrder = o.p;
    model.Differencing = o.d;
    model.MaOrder = o.q;
    model.SeasonalArOrder = o.P;
    model.SeasonalDifferencing = o.D;
    model.SeasonalMaOrder = o.Q;
    model.SeasonalPeriod = o.S;
    model.Reserved = 0;
    model.Constant = constant;
    model.Parameters = parameters;
    model.Reserved2 = 0;
    return model;
}

inline void show_model(const char* what, const orders& o, const std::vector<double>& x) {
    show(what, {double(o.p), double(o.d), double(o.q), double(o.P), double(o.D), double(o.Q), double(o.S)},
         x);
}

inline bool is_result_code(int code) {
    switch (code) {
#define ZOLV_FUZZ_CODE(value, name, provoked_by) case value:
        ZOLV_RESULT_CODES(ZOLV_FUZZ_CODE)
#undef ZOLV_FUZZ_CODE
        return true;
        default:
            return false;
    }
}

// A fit from a fresh handle, ended with the scope.
class fit {
public:
    fit(const std::vector<double>& x, const orders& o, const std::vector<double>* start,
        const double* constant)
        : count_(static_cast<std::uint32_t>(x.size())) {
        std::vector<double> parameters = start != nullptr ? *start : std::vector<double>{};
        double level = constant != nullptr ? *constant : 0.0;
        zolv_ArimaModel model = model_of(o, start != nullptr ? parameters.data() : nullptr,
                                         constant != nullptr ? &level : nullptr);
        handle_ = zolv_MakeArimaModelPtr(x.data(), count_, &model, &code);
        require(is_result_code(static_cast<int>(code)), "a known code", {double(code)});
        require((handle_ != nullptr) == (code < 30000), "a handle for a result", {double(code)});
    }
    fit(const fit&) = delete;
    fit& operator=(const fit&) = delete;
    ~fit() { zolv_DeleteArimaModelPtr(&handle_); }

    operator zolv_ArimaHandle() const { return handle_; }

    std::uint32_t code = 0;

private:
    std::uint32_t count_;
    zolv_ArimaHandle handle_ = nullptr;
};

}  // namespace zolv_fuzz
