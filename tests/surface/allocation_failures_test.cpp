// Every allocation that the library asks for fails once, n = 1, 2, ... until a call runs clean, on the
// calling thread and inside parallel regions, for every export that allocates. The provider's malloc leads to
// operator new like everything else (frame/provider_memory.cpp).
//
// What must come of it: the standard exception or the code that the header names, nothing written where the
// header says so, nothing printed, nothing lost (counted by live blocks), and the next call as if nothing had
// happened. Only what libzolv itself asks for is counted and refused, by the address that asks.
#include <gtest/gtest.h>
#include <link.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "support/arima_model.hpp"
#include "support/bits.hpp"
#include "support/printed_text.hpp"
#include "support/series.hpp"
#include "support/threads.hpp"
#include "zolv.h"

namespace {

std::atomic<std::uintptr_t> text_begin{0}, text_end{0};
std::atomic<long> left{-1};  // allocations still granted; negative: all
std::atomic<bool> refused{false};
std::atomic<long> live{0};

// Blocks of the library's, so that a release by whoever is recognised.
constexpr std::size_t slots = 1 << 12;
std::atomic<void*> blocks[slots];

bool is_of_the_library(void* caller) {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    return address >= text_begin.load(std::memory_order_relaxed) &&
           address < text_end.load(std::memory_order_relaxed);
}

std::size_t slot_of(void* block) {
    return (reinterpret_cast<std::uintptr_t>(block) >> 4) * 2654435761u % slots;
}

void remember(void* block) {
    for (std::size_t i = slot_of(block), tries = 0; tries < slots; i = (i + 1) % slots, ++tries) {
        void* expected = nullptr;
        if (blocks[i].compare_exchange_strong(expected, block)) {
            ++live;
            return;
        }
    }
    std::abort();  // more than the table holds
}

void forget(void* block) {
    if (block == nullptr || live.load(std::memory_order_relaxed) == 0) return;
    for (std::size_t i = slot_of(block), tries = 0; tries < slots; i = (i + 1) % slots, ++tries) {
        void* expected = block;
        if (blocks[i].load(std::memory_order_relaxed) == block &&
            blocks[i].compare_exchange_strong(expected, nullptr)) {
            --live;
            return;
        }
    }
}

bool refuse(void* caller) {
    if (!is_of_the_library(caller)) return false;
    if (left.load() < 0) return false;
    if (left.fetch_sub(1) != 0) return false;
    refused = true;
    return true;
}

}  // namespace

#define CALLER __builtin_return_address(0)

#define ALLOCATE(on_failure)                               \
    if (refuse(CALLER)) on_failure;                        \
    void* const block = std::malloc(size == 0 ? 1 : size); \
    if (block == nullptr) on_failure;                      \
    if (is_of_the_library(CALLER)) remember(block);        \
    return block

__attribute__((noinline)) void* operator new(std::size_t size) { ALLOCATE(throw std::bad_alloc()); }
__attribute__((noinline)) void* operator new[](std::size_t size) { ALLOCATE(throw std::bad_alloc()); }
__attribute__((noinline)) void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ALLOCATE(return nullptr);
}
__attribute__((noinline)) void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    ALLOCATE(return nullptr);
}
static void release(void* block) {
    forget(block);
    std::free(block);
}
__attribute__((noinline)) void operator delete(void* block) noexcept { release(block); }
__attribute__((noinline)) void operator delete[](void* block) noexcept { release(block); }
__attribute__((noinline)) void operator delete(void* block, std::size_t) noexcept { release(block); }
__attribute__((noinline)) void operator delete[](void* block, std::size_t) noexcept { release(block); }
__attribute__((noinline)) void operator delete(void* block, const std::nothrow_t&) noexcept {
    release(block);
}
__attribute__((noinline)) void operator delete[](void* block, const std::nothrow_t&) noexcept {
    release(block);
}

namespace {

int find_text(dl_phdr_info* object, std::size_t, void* inside) {
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const auto& header = object->dlpi_phdr[i];
        const std::uintptr_t begin = object->dlpi_addr + header.p_vaddr, end = begin + header.p_memsz;
        const auto address = reinterpret_cast<std::uintptr_t>(inside);
        if (header.p_type != PT_LOAD || address < begin || address >= end) continue;
        text_begin = begin;
        text_end = end;
        return 1;
    }
    return 0;
}

using list = std::vector<double>;

// A call writes what it answers into `out`, which comes filled with -7.5, and returns its code.
struct fault_case {
    std::string name;
    std::function<int(list& out)> call;
    int refusal = 0;           // the code that a refusal gives; 0: there is none, only the exception
    bool keeps_output = true;  // out is untouched by a call that fails
    long least_points = 1;
    bool never_fails = false;  // the answer is right whatever is refused
};

long fail_each(const fault_case& c, std::size_t length = 4000) {
    list want(length, -7.5);
    const int code = c.call(want);  // the first call may leave something with the provider or the runtime
    for (long n = 0;; ++n) {
        if (n > 20000) {
            ADD_FAILURE() << c.name << " does not come clean";
            return n;
        }
        list got(length, -7.5);
        const long before = live;
        bool thrown = false;
        int answer = 0;
        refused = false;
        left = n;
        try {
            answer = c.call(got);
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        left = -1;
        EXPECT_EQ(live.load(), before) << c.name << ", allocation " << n << ": blocks are lost";
        if (c.never_fails && refused) {
            EXPECT_FALSE(thrown) << c.name;
            EXPECT_EQ(std::memcmp(got.data(), want.data(), length * sizeof(double)), 0) << c.name << " " << n;
            continue;
        }
        if (!refused) {
            EXPECT_FALSE(thrown) << c.name;
            EXPECT_EQ(answer, code) << c.name;
            EXPECT_EQ(std::memcmp(got.data(), want.data(), length * sizeof(double)), 0) << c.name << " " << n;
            return n;
        }
        if (!thrown) {
            EXPECT_NE(c.refusal, 0) << c.name << ", allocation " << n << ": no exception";
            EXPECT_EQ(answer, c.refusal) << c.name << ", allocation " << n;
        }
        if (c.keeps_output) {
            for (const double value : got) {
                if (value == -7.5) continue;
                ADD_FAILURE() << c.name << ", allocation " << n << ": output is written";
                break;
            }
        }
    }
}

class AllocationFailures : public testing::Test {
protected:
    static void SetUpTestSuite() {
        dl_iterate_phdr(find_text, reinterpret_cast<void*>(&zolv_GetMissingValue));
        ASSERT_NE(text_begin.load(), 0u);
    }
    static void run(const std::vector<fault_case>& cases) {
        for (const fault_case& c : cases) {
            zolv_test::printed_text printed;
            const long points = fail_each(c);
            EXPECT_EQ(printed.stop(), "") << c.name;
            std::printf("  %-52s %6ld\n", c.name.c_str(), points);
            EXPECT_GE(points, c.least_points) << c.name;
        }
    }
    static void on_teams(const std::vector<fault_case>& cases) {
        for (const int team : zolv_test::team_sizes) {
            std::printf("  %d threads\n", team);
            zolv_test::with_threads(team, [&] { run(cases); });
        }
    }
};

list matrix(int n) {
    list a(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            a[static_cast<std::size_t>(i * n + j)] = i == j ? n + 1.0 : 1.0 / (i + j + 1.0);
    }
    return a;
}

TEST_F(AllocationFailures, LinearAlgebra) {
    std::vector<fault_case> cases;
    for (const int n : {3, 40}) {
        const list a = matrix(n);
        list packed(static_cast<std::size_t>(n * (n + 1) / 2));
        zolv_PackTriangularMat(a.data(), packed.data(), n);
        const std::string order = ", order " + std::to_string(n);
        cases.push_back({"ScaleTransposeIP" + order, [=](list& out) {
                             list ab = a;
                             try {
                                 zolv_ScaleTransposeIP(2.0, ab.data(), n, n - 1, 1);
                             } catch (...) {
                                 EXPECT_EQ(std::memcmp(ab.data(), a.data(), ab.size() * sizeof(double)), 0);
                                 throw;
                             }
                             std::copy(ab.begin(), ab.end(), out.begin());
                             return 0;
                         }});
        const auto factorisation = [&](const char* name, int (*call)(double*, std::int64_t), const list& of,
                                       bool keeps) {
            cases.push_back({name + order,
                             [=](list& out) {
                                 list m = of;
                                 const int code = call(m.data(), n);
                                 if (code == 0) std::copy(m.begin(), m.end(), out.begin());
                                 if (code != 0 && keeps) {
                                     EXPECT_EQ(std::memcmp(m.data(), of.data(), m.size() * sizeof(double)),
                                               0);
                                 }
                                 return code;
                             },
                             30007});
        };
        factorisation("CholeskyFacUnpack", zolv_CholeskyFacUnpack, a, true);
        factorisation("CholeskyFacPack", zolv_CholeskyFacPack, packed, true);
        factorisation("CholeskyInvUnpack", zolv_CholeskyInvUnpack, a, false);
        factorisation("CholeskyInvPack", zolv_CholeskyInvPack, packed, false);
        cases.push_back({"SolveSquareSystem" + order,
                         [=](list& out) {
                             list m = a, b(static_cast<std::size_t>(n), 1.0);
                             int code = -1;
                             try {
                                 code = zolv_SolveSquareSystem(m.data(), b.data(), n);
                             } catch (...) {
                                 EXPECT_EQ(b, list(static_cast<std::size_t>(n), 1.0));
                                 EXPECT_EQ(m, a);
                                 throw;
                             }
                             if (code == 0) std::copy(b.begin(), b.end(), out.begin());
                             return code;
                         },
                         30000, true, 3});
    }
    // Products whose bookkeeping cannot be had take it from a reserve: nothing fails.
    for (const auto& [name, form] :
         {std::pair{"MatrixMatrixProduct", 0}, std::pair{"MatMatTriangularProduct", 1},
          std::pair{"SymmetricMatMatProduct", 2}}) {
        const list a = matrix(150);
        cases.push_back(
            {name,
             [a, form = form](list& out) {
                 static list c(a.size());
                 std::fill(c.begin(), c.end(), 0.0);
                 if (form == 0) {
                     zolv_MatrixMatrixProduct(1.0, a.data(), a.data(), 0.0, c.data(), 150, 150, 150, 0, 1);
                 } else if (form == 1) {
                     zolv_MatMatTriangularProduct(1.0, a.data(), a.data(), 0.0, c.data(), 150, 150, 1, 0, 1);
                 } else {
                     zolv_SymmetricMatMatProduct(1.0, a.data(), a.data(), 0.0, c.data(), 150, 150, 0, 0);
                 }
                 std::copy_n(c.begin(), out.size(), out.begin());
                 return 0;
             },
             0, false, 0, true});
    }
    run(cases);
}

struct regime {
    const char* name;
    double a, b;
    long least;
};

TEST_F(AllocationFailures, Distributions) {
    list x, p;
    for (int i = 0; i < 40; ++i) {
        x.push_back(-3.0 + 0.31 * i);
        p.push_back(0.012 + 0.0245 * i);
    }
    const auto n = static_cast<std::uint64_t>(x.size());
    std::vector<fault_case> scalars, arrays;
    const auto scalar = [&](const std::string& name, long least, auto call) {
        scalars.push_back({name,
                           [=](list& out) {
                               list said;
                               for (std::size_t i = 0; i < x.size(); ++i) said.push_back(call(x[i], p[i]));
                               std::copy(said.begin(), said.end(), out.begin());
                               return 0;
                           },
                           0, true, least});
    };
    // An array whose element fails may hold the others.
    const auto array = [&](const std::string& name, long least, auto call) {
        arrays.push_back({name,
                          [=](list& out) {
                              call(out.data());
                              return 0;
                          },
                          0, false, least});
    };
    const regime t[] = {{"central", 5.0, 0.0, 0},   {"", 5.0, 2.0, 1},       {"large df", 1000.0, 2.0, 1},
                        {"negative", 2.5, -4.0, 1}, {"saddle", 1e5, 3.0, 0}, {"far", 5.0, 2500.0, 0}};
    for (const regime& r : t) {
        const double df = r.a, nc = r.b;
        const std::string of =
            std::string(", ") + r.name + " df " + std::to_string(int(df)) + " nc " + std::to_string(nc);
        scalar("TPdf" + of, 0, [=](double v, double) { return zolv_TPdf(v, df, nc); });
        scalar("TCdf" + of, 0, [=](double v, double) { return zolv_TCdf(v, df, nc, 1); });
        scalar("TInvCdf" + of, 0,
               [=](double, double q) { return std::fabs(nc) > 100 ? 0.0 : zolv_TInvCdf(q, df, nc, 1); });
        array("ParallelTPdf" + of, 0, [=](double* out) { zolv_ParallelTPdf(x.data(), n, df, nc, out); });
        array("ParallelTCdf" + of, 0, [=](double* out) { zolv_ParallelTCdf(x.data(), n, df, nc, 0, out); });
        if (std::fabs(nc) < 100)
            array("ParallelTInvCdf" + of, 0,
                  [=](double* out) { zolv_ParallelTInvCdf(p.data(), n, df, nc, 0, out); });
    }
    for (const double nc : {0.0, 3.0}) {
        const std::string of = ", nc " + std::to_string(nc);
        scalar("ChiSqPdf" + of, 0, [=](double v, double) { return zolv_ChiSqPdf(v, 3.5, nc); });
        scalar("ChiSqCdf" + of, 0, [=](double v, double) { return zolv_ChiSqCdf(v, 3.5, nc, 1); });
        scalar("ChiSqInvCdf" + of, 0, [=](double, double q) { return zolv_ChiSqInvCdf(q, 3.5, nc, 1); });
        scalar("FPdf" + of, 0, [=](double v, double) { return zolv_FPdf(v, 3.5, 9.0, nc); });
        scalar("FCdf" + of, 0, [=](double v, double) { return zolv_FCdf(v, 3.5, 9.0, nc, 1); });
        scalar("FInvCdf" + of, 0, [=](double, double q) { return zolv_FInvCdf(q, 3.5, 9.0, nc, 1); });
        array("ParallelChiSqPdf" + of, 0,
              [=](double* out) { zolv_ParallelChiSqPdf(x.data(), n, 3.5, nc, out); });
        array("ParallelChiSqCdf" + of, 0,
              [=](double* out) { zolv_ParallelChiSqCdf(x.data(), n, 3.5, nc, 0, out); });
        array("ParallelFPdf" + of, 0,
              [=](double* out) { zolv_ParallelFPdf(x.data(), n, 3.5, 9.0, nc, out); });
        array("ParallelFCdf" + of, 0,
              [=](double* out) { zolv_ParallelFCdf(x.data(), n, 3.5, 9.0, nc, 0, out); });
        array("ParallelFInvCdf" + of, 0,
              [=](double* out) { zolv_ParallelFInvCdf(p.data(), n, 3.5, 9.0, nc, 0, out); });
    }
    scalar("Normal, Beta, Binomial", 0, [](double v, double q) {
        return zolv_NormalPdf(v, 0.0, 1.0) + zolv_NormalCdf(v, 0.0, 1.0, 0) +
               zolv_NormalInvCdf(q, 0.0, 1.0, 0) + zolv_BetaPdf(q, 2.0, 0.5) + zolv_BetaCdf(q, 2.0, 0.5, 0) +
               zolv_BetaInvCdf(q, 2.0, 0.5, 0) + zolv_BinomialPdf(std::floor(v), 20, 0.3) +
               zolv_BinomialCdf(v, 20, 0.3, 0) + zolv_BinomialInvCdf(q, 20, 0.3, 1);
    });
    array("ParallelNormal...", 0, [=](double* out) {
        zolv_ParallelNormalPdf(x.data(), n, 0.0, 1.0, out);
        zolv_ParallelNormalCdf(x.data(), n, 0.0, 1.0, 0, out + n);
        zolv_ParallelNormalInvCdf(p.data(), n, 0.0, 1.0, 0, out + 2 * n);
    });
    array("ParallelBeta...", 0, [=](double* out) {
        zolv_ParallelBetaPdf(p.data(), n, 2.0, 0.5, out);
        zolv_ParallelBetaCdf(p.data(), n, 2.0, 0.5, 0, out + n);
        zolv_ParallelBetaInvCdf(p.data(), n, 2.0, 0.5, 0, out + 2 * n);
    });
    array("ParallelBinomial...", 0, [=](double* out) {
        zolv_ParallelBinomialPdf(x.data(), n, 20, 0.3, out);
        zolv_ParallelBinomialCdf(x.data(), n, 20, 0.3, 0, out + n);
        zolv_ParallelBinomialInvCdf(p.data(), n, 20, 0.3, 0, out + 2 * n);
    });
    run(scalars);
    on_teams(arrays);
}

list airline() { return zolv_test::logs_of(zolv_test::load_series("airline_passengers")); }

TEST_F(AllocationFailures, Transforms) {
    const list x = zolv_test::load_series("airline_passengers");
    const auto count = static_cast<std::int32_t>(x.size());
    run({{"GetBoxCoxLambda",
          [=](list& out) { return zolv_GetBoxCoxLambda(x.data(), count, 12, -1.0, 2.0, 1e-6, out.data()); }},
         {"power transforms",
          [=](list& out) {
              zolv_QorPowerTransform(x.data(), count, 0.3, out.data());
              zolv_InverseQorPowerTransform(x.data(), count, 0.3, out.data() + 200);
              zolv_InverseQorPowerTransformFit(x.data(), count, 0.3, 0.1, out.data() + 400);
              zolv_InverseQorPowerTransformForecast(x.data(), count, 0.3, x.data(), out.data() + 600);
              zolv_InverseQorPowerTransformInterval(x.data(), x.data(), count, -0.3, out.data() + 800,
                                                    out.data() + 1000);
              return 0;
          },
          0, true, 0}});
}

TEST_F(AllocationFailures, UnitRoot) {
    const list x = airline();
    std::vector<fault_case> cases;
    for (int method = 0; method < 4; ++method) {
        for (int regression = 0; regression < 4; ++regression) {
            cases.push_back({"AugmentedDickeyFuller, method " + std::to_string(method) + " regression " +
                                 std::to_string(regression),
                             [=](list& out) {
                                 zolv_UnitRootTest test;
                                 test.statistic = -7.5;
                                 test.pValue = -7.5;
                                 test.critical1 = -7.5;
                                 test.lagCount = test.sampleSize = -7;
                                 const auto keep = [&] {
                                     out[0] = test.statistic;
                                     out[1] = test.pValue;
                                     out[2] = test.critical1;
                                     if (test.lagCount != -7) out[3] = test.lagCount;
                                     if (test.sampleSize != -7) out[4] = test.sampleSize;
                                 };
                                 try {
                                     zolv_AugmentedDickeyFuller(x.data(), 144, 4, method, regression, 0.05,
                                                                &test);
                                 } catch (...) {
                                     keep();
                                     throw;
                                 }
                                 keep();
                                 return 0;
                             }});
        }
    }
    run(cases);
}

const zolv_test::arima_orders fits[] = {{0, 1, 1, 0, 1, 1, 12}, {2, 0, 1, 0, 0, 0, 0}, {0, 1, 0, 0, 0, 0, 0}};

TEST_F(AllocationFailures, Fits) {
    const list x = airline();
    std::vector<fault_case> cases;
    for (const zolv_test::arima_orders& of : fits) {
        const std::string name = std::to_string(of.p) + std::to_string(of.d) + std::to_string(of.q) +
                                 (of.S != 0 ? " seasonal" : "");
        cases.push_back({"MakeArimaModelPtr " + name,
                         [=](list& out) {
                             zolv_ArimaModel model = zolv_test::arima_model(of);
                             std::uint32_t code = 1;
                             zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), 144, &model, &code);
                             if (handle != nullptr) out[0] = zolv_GetSigmaSquared(handle);
                             zolv_DeleteArimaModelPtr(&handle);
                             return static_cast<int>(code);
                         },
                         30001});
        cases.push_back({"QorArima " + name, [=](list& out) {
                             double constant = 0.0, values[8] = {0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1};
                             zolv_ArimaModel model = zolv_test::arima_model(of, values, &constant);
                             int code = 0;
                             try {
                                 code = zolv_QorArima(x.data(), 144, &model);
                             } catch (...) {
                                 for (const double v : values) EXPECT_EQ(v, 0.1);
                                 EXPECT_EQ(constant, 0.0);
                                 throw;
                             }
                             std::copy(values, values + 8, out.begin());
                             out[8] = constant;
                             return code;
                         }});
        if (of.p + of.q == 0) continue;
        cases.push_back({"ArimaLogLikelihood " + name,
                         [=](list& out) {
                             double values[5] = {0.3, 0.2, 0.1, 0.01, 0.01};
                             const zolv_ArimaModel model = zolv_test::arima_model(of, values);
                             out[0] = zolv_ArimaLogLikelihood(x.data(), 144, &model);
                             return 0;
                         },
                         0, true, 8});
    }
    run(cases);
}

TEST_F(AllocationFailures, GettersOfAFreshHandle) {
    const list x = airline();
    using getter = std::function<void(zolv_ArimaHandle, list&)>;
    const std::pair<const char*, getter> getters[] = {
        {"GetEstimatedParameter",
         [](zolv_ArimaHandle h, list& out) { zolv_GetEstimatedParameter(h, 3, out.data()); }},
        {"GetForecast", [](zolv_ArimaHandle h, list& out) { zolv_GetForecast(h, 144, 24, out.data()); }},
        {"GetForecastStandardError",
         [](zolv_ArimaHandle h, list& out) { zolv_GetForecastStandardError(h, 140, 30, out.data()); }},
        {"GetForecastLimit",
         [](zolv_ArimaHandle h, list& out) {
             zolv_GetForecastLimit(h, 0.9, 130, 20, out.data(), out.data() + 20);
         }},
        {"GetParameterTable",
         [](zolv_ArimaHandle h, list& out) {
             zolv_ParameterTable table{&out[0], &out[5], &out[10], &out[15]};
             zolv_GetParameterTable(h, &table);
         }},
        {"GetParameterCorrelationMatrix",
         [](zolv_ArimaHandle h, list& out) { zolv_GetParameterCorrelationMatrix(h, out.data()); }},
        {"GetModelSummary",
         [](zolv_ArimaHandle h, list& out) {
             ArimaSummary s;
             zolv_GetModelSummary(h, &s);
             out[0] = s.Aicc, out[1] = s.Bic, out[2] = s.SumOfSquares;
         }},
        {"QorLjungBoxTest",
         [](zolv_ArimaHandle h, list& out) {
             double* rows[] = {&out[0], &out[3], &out[6], &out[9]};
             zolv_QorLjungBoxTest(h, rows);
         }},
        {"GetResidual, GetFit, backcasts",
         [](zolv_ArimaHandle h, list& out) {
             zolv_GetResidual(h, 50, out.data());
             zolv_GetFit(h, 50, out.data() + 50);
             zolv_GetTimeSeriesBackcast(h, 10, out.data() + 100);
             zolv_GetGaussianNoiseBackcast(h, 10, out.data() + 110);
         }},
    };
    std::vector<fault_case> cases;
    for (const auto& [name, ask] : getters) {
        cases.push_back(
            {name,
             [=, ask = ask](list& out) {
                 const long granted = left.exchange(-1);  // the fit has its own test
                 zolv_ArimaModel model = zolv_test::arima_model(fits[0]);
                 std::uint32_t code = 1;
                 zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), 144, &model, &code);
                 left = granted;
                 try {
                     ask(handle, out);
                 } catch (...) {
                     // The handle goes on being used.
                     list again(out.size(), -7.5), want(out.size(), -7.5);
                     ask(handle, again);
                     zolv_ArimaHandle other = zolv_MakeArimaModelPtr(x.data(), 144, &model, &code);
                     ask(other, want);
                     EXPECT_EQ(std::memcmp(again.data(), want.data(), want.size() * sizeof(double)), 0);
                     zolv_DeleteArimaModelPtr(&other);
                     zolv_DeleteArimaModelPtr(&handle);
                     throw;
                 }
                 const long rest = left.exchange(-1);
                 zolv_DeleteArimaModelPtr(&handle);
                 left = rest;
                 return 0;
             },
             0, true, 0});
    }
    run(cases);
}

TEST_F(AllocationFailures, Search) {
    const list all = airline(), x(all.begin(), all.begin() + 30);
    zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
    setting.maxAr = setting.maxMa = 1;
    const auto search = [=](list& out) {
        const zolv_BestArmaGroup group = zolv_AutoFindBestArma(x.data(), 30, &setting);
        int code = 0;
        if (group.models == nullptr) {
            code = group.count == 0 && group.order == nullptr ? 1 : 2;
        } else if (group.order == nullptr) {
            code = 1;  // no room for the ranking
        } else {
            for (int i = 0; i < group.count; ++i) out[static_cast<std::size_t>(i)] = group.models[i].aicc;
        }
        zolv_CleanUpAfterAutoFindBestArma(group);
        return code;
    };
    on_teams({{"AutoFindBestArma", search, 1, true, 60}});
}

}  // namespace
