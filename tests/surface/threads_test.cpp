// The array forms give the same bits on teams of any size and inside a caller's own parallel region.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/bits.hpp"
#include "support/threads.hpp"
#include "zolv.h"

namespace {

using array_form = std::function<void(const double*, std::uint64_t, double*)>;

struct named_form {
    std::string name;
    array_form call;
    bool of_probabilities;
};

const double* probabilities() {
    static const std::vector<double> values = [] {
        std::vector<double> v(997);
        for (std::size_t i = 0; i < v.size(); ++i) v[i] = static_cast<double>(i) / 996.0;
        v[500] = zolv_GetMissingValue();
        v[501] = -0.5;
        return v;
    }();
    return values.data();
}

const double* variates() {
    static const std::vector<double> values = [] {
        std::vector<double> v(997);
        for (std::size_t i = 0; i < v.size(); ++i) v[i] = static_cast<double>(i) * 0.0173 - 3.0;
        v[500] = zolv_GetMissingValue();
        v[501] = 1.0 / 0.0;
        v[502] = -0.0;
        return v;
    }();
    return values.data();
}

std::vector<named_form> all_forms() {
    std::vector<named_form> forms;
    const auto add = [&](const char* name, bool of_probabilities, array_form call) {
        forms.push_back({name, std::move(call), of_probabilities});
    };
    using in = const double*;
    using count = std::uint64_t;
    add("NormalPdf", false, [](in x, count n, double* out) { zolv_ParallelNormalPdf(x, n, 0.5, 2.0, out); });
    add("TPdf", false, [](in x, count n, double* out) { zolv_ParallelTPdf(x, n, 5.5, 0.0, out); });
    add("TPdf, noncentral", false,
        [](in x, count n, double* out) { zolv_ParallelTPdf(x, n, 5.5, 1.5, out); });
    add("ChiSqPdf", false, [](in x, count n, double* out) { zolv_ParallelChiSqPdf(x, n, 3.5, 0.0, out); });
    add("ChiSqPdf, noncentral", false,
        [](in x, count n, double* out) { zolv_ParallelChiSqPdf(x, n, 3.5, 2.0, out); });
    add("BetaPdf", true, [](in x, count n, double* out) { zolv_ParallelBetaPdf(x, n, 2.5, 0.75, out); });
    add("FPdf", false, [](in x, count n, double* out) { zolv_ParallelFPdf(x, n, 5.0, 9.0, 0.0, out); });
    add("FPdf, noncentral", false,
        [](in x, count n, double* out) { zolv_ParallelFPdf(x, n, 5.0, 9.0, 2.0, out); });
    add("BinomialPdf", false,
        [](in x, count n, double* out) { zolv_ParallelBinomialPdf(x, n, 14, 0.3, out); });
    for (const unsigned char upper : {0, 1}) {
        add("NormalCdf", false,
            [=](in x, count n, double* out) { zolv_ParallelNormalCdf(x, n, 0.5, 2.0, upper, out); });
        add("NormalInvCdf", true,
            [=](in x, count n, double* out) { zolv_ParallelNormalInvCdf(x, n, 0.5, 2.0, upper, out); });
        add("TCdf", false,
            [=](in x, count n, double* out) { zolv_ParallelTCdf(x, n, 5.5, 0.0, upper, out); });
        add("TCdf, noncentral", false,
            [=](in x, count n, double* out) { zolv_ParallelTCdf(x, n, 5.5, 1.5, upper, out); });
        add("TInvCdf", true,
            [=](in x, count n, double* out) { zolv_ParallelTInvCdf(x, n, 5.5, 0.0, upper, out); });
        add("ChiSqCdf", false,
            [=](in x, count n, double* out) { zolv_ParallelChiSqCdf(x, n, 3.5, 0.0, upper, out); });
        add("ChiSqCdf, noncentral", false,
            [=](in x, count n, double* out) { zolv_ParallelChiSqCdf(x, n, 3.5, 2.0, upper, out); });
        add("BetaCdf", true,
            [=](in x, count n, double* out) { zolv_ParallelBetaCdf(x, n, 2.5, 0.75, upper, out); });
        add("BetaInvCdf", true,
            [=](in x, count n, double* out) { zolv_ParallelBetaInvCdf(x, n, 2.5, 0.75, upper, out); });
        add("FCdf", false,
            [=](in x, count n, double* out) { zolv_ParallelFCdf(x, n, 5.0, 9.0, 0.0, upper, out); });
        add("FCdf, noncentral", false,
            [=](in x, count n, double* out) { zolv_ParallelFCdf(x, n, 5.0, 9.0, 2.0, upper, out); });
        add("FInvCdf", true,
            [=](in x, count n, double* out) { zolv_ParallelFInvCdf(x, n, 5.0, 9.0, 0.0, upper, out); });
        add("BinomialCdf", false,
            [=](in x, count n, double* out) { zolv_ParallelBinomialCdf(x, n, 14, 0.3, upper, out); });
        add("BinomialInvCdf", true,
            [=](in x, count n, double* out) { zolv_ParallelBinomialInvCdf(x, n, 14, 0.3, upper, out); });
    }
    return forms;
}

TEST(Threads, ArrayFormsGiveTheSameBitsOnAnyTeam) {
    constexpr std::uint64_t n = 997;
    for (const named_form& form : all_forms()) {
        const double* const x = form.of_probabilities ? probabilities() : variates();
        std::vector<double> alone(n + 1, 7.5);
        zolv_test::with_threads(1, [&] { form.call(x, n, alone.data()); });
        for (const int team : zolv_test::team_sizes) {
            std::vector<double> shared(n + 1, 7.5);
            zolv_test::with_threads(team, [&] { form.call(x, n, shared.data()); });
            EXPECT_EQ(std::memcmp(alone.data(), shared.data(), (n + 1) * sizeof(double)), 0)
                << form.name << " on " << team << " threads";
        }
        // Each member of the caller's team makes the whole call.
        constexpr int members = 3;
        std::vector<double> inside[members];
#pragma omp parallel for num_threads(members) schedule(static)
        for (int member = 0; member < members; ++member) {
            inside[member].assign(n + 1, 7.5);
            form.call(x, n, inside[member].data());
        }
        for (const std::vector<double>& out : inside) {
            EXPECT_EQ(std::memcmp(alone.data(), out.data(), (n + 1) * sizeof(double)), 0)
                << form.name << " inside a caller's region";
        }
    }
}

TEST(Threads, AnEmptyArrayIsNotTouched) {
    for (const named_form& form : all_forms()) {
        double out = 7.5;
        form.call(nullptr, 0, &out);
        EXPECT_EQ(out, 7.5) << form.name;
    }
}

}  // namespace
