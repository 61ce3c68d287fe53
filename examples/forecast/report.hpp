// examples/forecast/report.hpp: the printed tables of the forecast program.
#pragma once

#include <string>
#include <vector>

#include "options.hpp"
#include "zolv.h"

void print_heading(const std::string& text);
std::string describe(const model_orders& orders, int period);

void print_unit_root(const char* name, const std::vector<double>& values);
void print_candidates(const zolv_BestArmaGroup& group, int shown);
void print_parameters(zolv_ArimaHandle fit, const model_orders& orders, int period, bool has_constant);
void print_summary(zolv_ArimaHandle fit);
void print_ljung_box(zolv_ArimaHandle fit);
void print_history(zolv_ArimaHandle fit);
