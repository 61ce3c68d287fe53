// bench/hostile_times.cpp: how long a scalar distribution export can take.
//
// For each export: the number of calls of the full product of the hostile values, the longest of them with
// its arguments, how many were above 1 s, and the 99.9th percentile and the longest time where parameters are
// log-uniform in 1e-2 .. 1e4, noncentralities included. A call that takes longer than the limit is left by a
// jump and counted; the process is none the worse for it, since scalar calls hold nothing that matters here.
//
// Times are the processor's.
//
//     hostile_times [limit in seconds, 30] [ordinary calls per export, 20000] [part of a name]
//                   [one in so many of the calls with a long sum, 1]
#include <setjmp.h>
#include <signal.h>
#include <sys/time.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "surface/distribution_exports.hpp"

namespace {

using zolv_test::distribution_export;

sigjmp_buf too_long;
void leave(int) { siglongjmp(too_long, 1); }

double limit_in_seconds = 30.0;

struct longest {
    double seconds = 0.0;
    double a[zolv_test::most_arguments] = {};
    unsigned char upper = 0;
    long calls = 0, above_a_second = 0, given_up = 0;
};

double processor_seconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

// Seconds of the call; the limit where it is given up.
double timed(const distribution_export& of, const double* a, unsigned char upper, longest& worst) {
    const double start = processor_seconds();
    if (sigsetjmp(too_long, 1) == 0) {
        of.scalar(a, upper);
    } else {
        ++worst.given_up;
    }
    const double seconds = processor_seconds() - start;
    ++worst.calls;
    if (seconds > 1.0) {
        ++worst.above_a_second;
        std::fprintf(stderr, "%s(%.17g, %.17g, %.17g, %.17g; %d) %.2f s\n", of.name, a[0], a[1], a[2], a[3],
                     upper, seconds);
    }
    if (seconds > worst.seconds) {
        worst.seconds = seconds;
        worst.upper = upper;
        std::copy_n(a, zolv_test::most_arguments, worst.a);
    }
    return seconds;
}

void arm() {
    itimerval limit{};
    limit.it_value.tv_sec = static_cast<time_t>(limit_in_seconds);
    limit.it_value.tv_usec =
        static_cast<suseconds_t>((limit_in_seconds - double(limit.it_value.tv_sec)) * 1e6);
    setitimer(ITIMER_VIRTUAL, &limit, nullptr);
}

longest full_product(const distribution_export& of, std::size_t share) {
    longest worst;
    std::size_t long_calls = 0;
    std::vector<double> values[zolv_test::most_arguments];
    std::size_t total = 1;
    for (int i = 0; i < of.arguments; ++i) total *= (values[i] = zolv_test::hostile_argument(of, i)).size();
    for (std::size_t index = 0; index < total; ++index) {
        double a[zolv_test::most_arguments] = {};
        std::size_t rest = index;
        for (int i = 0; i < of.arguments; ++i) {
            a[i] = values[i][rest % values[i].size()];
            rest /= values[i].size();
        }
        for (unsigned char upper = 0; upper <= (zolv_test::has_tails(of) ? 1 : 0); ++upper) {
            if (zolv_test::is_long_sum(of, a) && long_calls++ % share != 0) continue;
            arm();
            timed(of, a, upper, worst);
        }
    }
    return worst;
}

// Parameters log-uniform in 1e-2 .. 1e4; the variate around where the mass lies, or a probability.
std::vector<double> ordinary(const distribution_export& of, int calls, longest& worst) {
    std::mt19937_64 random(20260101);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const auto parameter = [&] { return std::pow(10.0, -2.0 + 6.0 * unit(random)); };
    const std::string name = of.name;
    std::vector<double> seconds;
    for (int call = 0; call < calls; ++call) {
        double a[zolv_test::most_arguments] = {};
        for (int i = 1; i < of.arguments; ++i) a[i] = parameter();
        if (zolv_test::is_binomial(of)) {
            a[1] = std::ceil(a[1]);
            a[2] = unit(random);
        }
        const bool family_t = name[0] == 'T', central = name[0] == 'N' || name[0] == 'B' || call % 2 == 0;
        if (!central) {
            if (family_t && call % 4 == 1) a[2] = -a[2];
        } else if (name[0] == 'T' || name[0] == 'C' || name[0] == 'F') {
            a[of.arguments - 1] = 0.0;
        }
        if (of.kind == zolv_test::export_kind::quantile) {
            a[0] = unit(random);
        } else if (name.starts_with("Beta")) {
            a[0] = unit(random);
        } else if (zolv_test::is_binomial(of)) {
            a[0] = std::floor(a[1] * unit(random));
        } else if (family_t || name[0] == 'N') {
            a[0] = (call % 3 == 0 ? -1.0 : 1.0) * parameter();
        } else {
            a[0] = parameter();
        }
        const auto upper = static_cast<unsigned char>(zolv_test::has_tails(of) ? call / 2 % 2 : 0);
        arm();
        seconds.push_back(timed(of, a, upper, worst));
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) limit_in_seconds = std::atof(argv[1]);
    const int calls = argc > 2 ? std::atoi(argv[2]) : 20000;
    const std::string part = argc > 3 ? argv[3] : "";
    const std::size_t share = argc > 4 ? static_cast<std::size_t>(std::atol(argv[4])) : 1;
    signal(SIGVTALRM, leave);
    std::printf("%-16s %9s %10s %7s %8s   %-60s %12s %12s\n", "export", "calls", "longest", "> 1 s",
                "given up", "at", "99.9 % (ms)", "longest (ms)");
    for (const distribution_export& of : zolv_test::distribution_exports) {
        if (std::string(of.name).find(part) == std::string::npos) continue;
        const longest hostile = full_product(of, share);
        longest usual;
        const std::vector<double> times = ordinary(of, calls, usual);
        char at[128];
        std::snprintf(at, sizeof at, "(%.9g, %.9g, %.9g, %.9g; %d)", hostile.a[0], hostile.a[1], hostile.a[2],
                      hostile.a[3], hostile.upper);
        const std::size_t rank = times.size() - 1 - times.size() / 1000;
        std::printf("%-16s %9ld %9.3fs %7ld %8ld   %-60s %12.3f %12.3f", of.name, hostile.calls,
                    hostile.seconds, hostile.above_a_second, hostile.given_up, at,
                    times.empty() ? 0.0 : 1e3 * times[rank], 1e3 * usual.seconds);
        std::printf("   (%.6g, %.6g, %.6g, %.6g; %d)\n", usual.a[0], usual.a[1], usual.a[2], usual.a[3],
                    usual.upper);
        std::fflush(stdout);
    }
    itimerval off{};
    setitimer(ITIMER_VIRTUAL, &off, nullptr);
    return 0;
}
