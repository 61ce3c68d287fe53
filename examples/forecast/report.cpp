#include "report.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

void print_heading(const std::string& text) {
    std::printf("\n%s\n%s\n", text.c_str(), std::string(text.size(), '-').c_str());
}

std::string describe(const model_orders& o, int period) {
    char text[96];
    std::snprintf(text, sizeof text, "(%d,%d,%d)(%d,%d,%d)%d", o.p, o.d, o.q, o.P, o.D, o.Q, period);
    if (o.P + o.D + o.Q == 0) std::snprintf(text, sizeof text, "(%d,%d,%d)", o.p, o.d, o.q);
    return text;
}

void print_unit_root(const char* name, const std::vector<double>& values) {
    zolv_UnitRootTest test;
    zolv_AugmentedDickeyFuller(values.data(), static_cast<int>(values.size()), -1, 0, 0, 0.05, &test);
    std::printf("%-12s statistic %8.3f   p %6.4f   critical 1%% %.3f  5%% %.3f  10%% %.3f   lags %d, T %d\n",
                name, test.statistic, test.pValue, test.critical1, test.critical5, test.critical10,
                test.lagCount, test.sampleSize);
}

void print_candidates(const zolv_BestArmaGroup& group, int shown) {
    std::printf("rank  p  q  P  Q   log likelihood         AICc          AIC          BIC\n");
    for (int i = 0; i < std::min(shown, static_cast<int>(group.count)); ++i) {
        const zolv_BestArmaModel& m = group.models[group.order[i]];
        const bool without_constant = m.p >= 10000;
        std::printf("%4d %2d %2d %2d %2d %16.4f %12.4f %12.4f %12.4f%s\n", i + 1, m.p % 10000, m.q,
                    m.seasonalP, m.seasonalQ, m.logLikelihood, m.aicc, m.aic, m.bic,
                    without_constant ? "  (without constant)" : "");
    }
}

void print_parameters(zolv_ArimaHandle fit, const model_orders& o, int period, bool has_constant) {
    std::vector<std::string> names;
    const auto block = [&](const char* name, int count, int step) {
        for (int i = 1; i <= count; ++i) names.push_back(std::string(name) + " " + std::to_string(i * step));
    };
    block("AR", o.p, 1);
    block("seasonal AR", o.P, period);
    block("MA", o.q, 1);
    block("seasonal MA", o.Q, period);
    const std::size_t plain = names.size();
    if (has_constant) names.push_back("constant");
    if (has_constant && o.d + o.D == 0) names.push_back("mean");

    std::vector<double> columns[4];
    for (auto& column : columns) column.assign(names.size() + 1, NAN);
    zolv_ParameterTable table{columns[0].data(), columns[1].data(), columns[2].data(), columns[3].data()};
    zolv_GetParameterTable(fit, &table);
    std::printf("%-16s %12s %12s %10s %10s\n", "parameter", "estimate", "std. error", "t", "p");
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::printf("%-16s %12.6f %12.6f", names[i].c_str(), columns[0][i], columns[1][i]);
        if (i <= plain) std::printf(" %10.3f %10.4f", columns[2][i], columns[3][i]);
        std::printf("\n");
    }
}

void print_summary(zolv_ArimaHandle fit) {
    ArimaSummary s{};
    zolv_GetModelSummary(fit, &s);
    std::printf("degrees of freedom   %12.0f\n", s.DegreesOfFreedom);
    std::printf("sum of squares       %12.6g\n", s.SumOfSquares);
    std::printf("residual variance    %12.6g\n", s.SigmaSquared);
    std::printf("mean square          %12.6g\n", s.MeanSquare);
    std::printf("AICc %.4f   AIC %.4f   BIC %.4f\n", s.Aicc, s.Aic, s.Bic);
}

void print_ljung_box(zolv_ArimaHandle fit) {
    double rows[4][3];
    double* pointers[4];
    for (int i = 0; i < 4; ++i) {
        std::fill(rows[i], rows[i] + 3, NAN);
        pointers[i] = rows[i];
    }
    zolv_QorLjungBoxTest(fit, pointers);
    std::printf("lag  chi-square   df        p\n");
    for (int i = 0; i < 4; ++i) {
        if (std::isnan(rows[i][1])) continue;
        std::printf("%3d %11.4f %4.0f %8.4f\n", 12 * (i + 1), rows[i][0], rows[i][1], rows[i][2]);
    }
}

void print_history(zolv_ArimaHandle fit) {
    uint32_t length = 0;
    const uint32_t count = zolv_GetIterationHistoryCount(fit, &length);
    std::vector<std::vector<double>> rows(count, std::vector<double>(length));
    std::vector<double*> pointers;
    for (auto& row : rows) pointers.push_back(row.data());
    zolv_GetIterationHistory(fit, pointers.data());
    std::printf("iteration  sum of squares  parameters\n");
    for (uint32_t i = 0; i < count; ++i) {
        std::printf("%9u %15.8f ", i, rows[i][0]);
        for (uint32_t j = 1; j < length; ++j) std::printf(" %10.6f", rows[i][j]);
        std::printf("\n");
    }
}
