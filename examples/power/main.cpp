// Power of the two-sample t test and of the one-way F test against sample size, from the noncentral t and F.
//
// t test: n per group, standardised difference d, so noncentrality d sqrt(n / 2) with 2 n - 2 degrees of
// freedom. F test: k groups of n, Cohen's effect f, so lambda = f^2 k n. zolv takes the Poisson mean of the
// mixture as the noncentrality of F, which is lambda / 2.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "zolv.h"

namespace {

struct settings {
    double alpha = 0.05;
    int groups = 4;
    int largest = 100;
    std::string picture = "power.png";
};

double t_power(int n, double difference, double alpha) {
    const double df = 2.0 * n - 2.0;
    const double nc = difference * std::sqrt(n / 2.0);
    const double critical = zolv_TInvCdf(alpha / 2.0, df, 0.0, 1);
    return zolv_TCdf(critical, df, nc, 1) + zolv_TCdf(-critical, df, nc, 0);
}

double f_power(int n, int groups, double effect, double alpha) {
    const double d1 = groups - 1.0;
    const double d2 = static_cast<double>(groups) * (n - 1.0);
    const double lambda = effect * effect * groups * n;
    const double critical = zolv_FInvCdf(alpha, d1, d2, 0.0, 1);
    return zolv_FCdf(critical, d1, d2, lambda / 2.0, 1);
}

// One curve per effect: element i is the power at n = i + 2.
using curves = std::vector<std::vector<double>>;

template <class Power>
curves compute(const std::vector<double>& effects, int largest, const Power& power) {
    curves result;
    for (const double effect : effects) {
        std::vector<double> curve;
        for (int n = 2; n <= largest; ++n) curve.push_back(power(n, effect));
        result.push_back(curve);
    }
    return result;
}

void print(const char* title, const std::vector<double>& effects, const curves& all) {
    std::printf("\n%s\n     n", title);
    for (const double effect : effects) std::printf("   effect %.2f", effect);
    std::printf("\n");
    const std::size_t count = all.front().size();
    for (std::size_t i = 0; i < count; i += i < 18 ? 2 : 10) {
        std::printf("%6zu", i + 2);
        for (const auto& curve : all) std::printf("   %11.4f", curve[i]);
        std::printf("\n");
    }
    for (std::size_t e = 0; e < all.size(); ++e) {
        std::size_t i = 0;
        while (i < count && all[e][i] < 0.8) ++i;
        if (i < count) {
            std::printf("effect %.2f: power 0.8 from n = %zu per group\n", effects[e], i + 2);
        } else {
            std::printf("effect %.2f: power 0.8 is not reached here\n", effects[e]);
        }
    }
}

void plot(FILE* pipe, const char* title, const std::vector<double>& effects, const curves& all) {
    std::fprintf(pipe, "set title '%s'\nset key bottom right\nplot", title);
    for (std::size_t e = 0; e < effects.size(); ++e) {
        std::fprintf(pipe, "%s '-' with lines lw 2 title 'effect %.2f'", e == 0 ? "" : ",", effects[e]);
    }
    std::fputs(", 0.8 with lines dt 2 lc rgb 'gray' notitle\n", pipe);
    for (const auto& curve : all) {
        for (std::size_t i = 0; i < curve.size(); ++i) std::fprintf(pipe, "%zu %.17g\n", i + 2, curve[i]);
        std::fputs("e\n", pipe);
    }
}

}  // namespace

int main(int argc, char** argv) {
    settings s;
    CLI::App app{"Power of the two-sample t test and of the one-way F test against sample size."};
    app.add_option("--alpha", s.alpha, "size of the test")->check(CLI::Range(1e-6, 0.5));
    app.add_option("--groups", s.groups, "groups of the F test")->check(CLI::Range(2, 50));
    app.add_option("--largest", s.largest, "largest sample size per group")->check(CLI::Range(10, 1000));
    app.add_option("--picture", s.picture, "output picture (.png or .svg), none for no picture");
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return 0;
    } catch (const CLI::ParseError& error) {
        std::cerr << "power: " << error.what() << "\n";
        return 2;
    }

    const std::vector<double> differences{0.2, 0.5, 0.8}, effects{0.1, 0.25, 0.4};
    const curves t = compute(differences, s.largest, [&](int n, double d) { return t_power(n, d, s.alpha); });
    const curves f = compute(effects, s.largest,
                             [&](int n, double effect) { return f_power(n, s.groups, effect, s.alpha); });
    std::printf("two-sided size %g\n", s.alpha);
    print("Two-sample t test, n per group", differences, t);
    const std::string title = "One-way F test, " + std::to_string(s.groups) + " groups, n per group";
    print(title.c_str(), effects, f);

    if (s.picture == "none") return 0;
    FILE* pipe = popen("gnuplot", "w");
    if (pipe == nullptr) return 2;
    const bool svg = s.picture.size() > 4 && s.picture.compare(s.picture.size() - 4, 4, ".svg") == 0;
    std::string quoted;
    for (const char c : s.picture) quoted += c == '\'' ? std::string("''") : std::string(1, c);
    std::fprintf(pipe, "set terminal %s size 1100,500\nset output '%s'\n", svg ? "svg" : "pngcairo",
                 quoted.c_str());
    std::fputs("set multiplot layout 1,2\nset yrange [0:1]\nset xlabel 'n per group'\nset ylabel 'power'\n",
               pipe);
    plot(pipe, "Two-sample t test", differences, t);
    plot(pipe, title.c_str(), effects, f);
    std::fputs("unset multiplot\n", pipe);
    if (pclose(pipe) != 0) {
        std::cerr << "power: gnuplot could not draw " << s.picture << "\n";
        return 2;
    }
    std::printf("\npicture: %s\n", s.picture.c_str());
    return 0;
}
