// Allocations of a fit and a forecast: none inside the search, and any that fails reaches the caller as the
// standard exception, with nothing leaked and the model still usable.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <new>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "time_series/cm_cmnd_arima.hpp"

namespace {

long countdown = -1;  // allocations still granted; negative: all
long granted = 0;
long alive = 0;

}  // namespace

void* operator new(std::size_t size) {
    if (countdown == 0) throw std::bad_alloc();
    if (countdown > 0) --countdown;
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    ++granted;
    ++alive;
    return memory;
}
void operator delete(void* memory) noexcept {
    if (memory != nullptr) --alive;
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace {

using vek::time_series::CmCmndArima;
using zolv::time_series::ArimaOrders;

long allocations_of_fit(const std::vector<double>& z, const ArimaOrders& orders, int& code) {
    CmCmndArima model(z.data(), static_cast<int>(z.size()), orders, false, nullptr);
    const long before = granted;
    code = model.Estimate();
    return granted - before;
}

TEST(ArimaAllocation, TheNumberOfAllocationsDoesNotDependOnTheSearch) {
    const std::vector<double> z = zolv_test::load_series("airline_passengers");
    int code = 0;
    const long few = allocations_of_fit(z, {0, 1, 1, 0, 1, 1, 12}, code);  // 8 iterations, 2 parameters
    EXPECT_EQ(code, 10000);
    const long many = allocations_of_fit(z, {1, 1, 1, 1, 1, 1, 12}, code);  // 25 iterations, 4 parameters
    EXPECT_EQ(code, 20000);
    EXPECT_EQ(few, many);
    EXPECT_LE(few, 4);
}

TEST(ArimaAllocation, AFailedAllocationOfTheFitIsThrownAndNothingLeaks) {
    const std::vector<double> z = zolv_test::load_series("airline_passengers");
    bool clean = false;
    for (long n = 0; n < 100 && !clean; ++n) {
        const long before = alive;
        {
            CmCmndArima model(z.data(), 144, {0, 1, 1, 0, 1, 1, 12}, true, nullptr);
            model.RecordHistory(true);
            countdown = n;
            bool thrown = false;
            try {
                model.Estimate();
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            clean = !thrown;
            countdown = -1;
        }
        EXPECT_EQ(alive, before);
    }
    EXPECT_TRUE(clean);
}

TEST(ArimaAllocation, AFailedAllocationOfAForecastLeavesTheModelUsable) {
    const std::vector<double> z = zolv_test::load_series("airline_passengers");
    CmCmndArima model(z.data(), 144, {0, 1, 1, 0, 1, 1, 12}, true, nullptr);
    ASSERT_LT(model.Estimate(), 30000);
    ASSERT_EQ(model.MakeForecast(144, 24), 0);
    const std::vector<double> wanted = model.GetForecast(), errors = model.GetForecastStandardError();
    const auto ask = [&model](int origin, int leads, long n) {
        countdown = n;
        bool thrown = false;
        try {
            model.MakeForecast(origin, leads);
            model.GetForecastStandardError();
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        countdown = -1;
        return thrown;
    };
    for (long n = 0; n < 3; ++n) {
        const int more = 100 + 100 * static_cast<int>(n);  // more than any vector has room for
        EXPECT_TRUE(ask(144, more, n));
        // Neither the request that failed nor the one before it is taken for done.
        ASSERT_EQ(model.MakeForecast(144, 24), 0);
        EXPECT_EQ(model.GetForecast(), wanted);
        EXPECT_EQ(model.GetForecastStandardError(), errors);
        EXPECT_FALSE(ask(144, more, -1));
        EXPECT_EQ(model.GetForecast().size(), static_cast<std::size_t>(more));
        for (std::size_t l = 0; l < 24; ++l) EXPECT_SAME_BITS(model.GetForecast()[l], wanted[l]);
    }
}

TEST(ArimaAllocation, ARequestBeyondMemoryIsThrown) {
    const std::vector<double> z = zolv_test::load_series("airline_passengers");
    CmCmndArima model(z.data(), 144, {0, 1, 1, 0, 1, 1, 12}, true, nullptr);
    ASSERT_LT(model.Estimate(), 30000);
    EXPECT_EQ(model.MakeForecast(2, 2147483647), 30027);  // refused before anything is sized by it
    ASSERT_EQ(model.MakeForecast(144, 2), 0);
}

}  // namespace
