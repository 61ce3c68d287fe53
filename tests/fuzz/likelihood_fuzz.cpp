// The exact likelihood: the same twice, a number or the missing value, inputs left as they are.
#include "fuzz/series.hpp"

using namespace zolv_fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const int count = in.from_to(-1, 46);
    const orders o = some_orders(in, 13);
    const bool constant = in.flag();
    const std::vector<double> x = series(in, count < 0 ? 0 : count);
    const argument coefficient{-3.0, 0.3, true, {}};
    std::vector<double> parameters(static_cast<std::size_t>(o.in_range() ? o.terms() + 1 : 21));
    for (double& v : parameters) v = in.byte() < 192 ? in.between(-1.0, 1.0) : in.number(coefficient);
    if (in.byte() < 200 && o.in_range()) parameters.back() = in.decades(-3.0, 3.0);
    show_model("likelihood", o, x);
    show("parameters", {double(constant)}, parameters);

    const std::vector<double> x_before = x, parameters_before = parameters;
    double level = in.special();
    const zolv_ArimaModel model = model_of(o, parameters.data(), constant ? &level : nullptr);
    const double first = zolv_ArimaLogLikelihood(x.data(), count, &model);
    const double second = zolv_ArimaLogLikelihood(x_before.data(), count, &model);
    require(same_bits(first, second), "the same likelihood twice", {first, second});
    require(!std::isnan(first) || is_missing(first), "a number or the missing value", {first});
    for (std::size_t i = 0; i < x.size(); ++i)
        require(same_bits(x[i], x_before[i]), "the series is read only", {double(i), x[i], x_before[i]});
    for (std::size_t i = 0; i < parameters.size(); ++i)
        require(same_bits(parameters[i], parameters_before[i]), "the parameters are read only", {double(i)});
    if (!o.in_range() || count < 1)
        require(is_missing(first), "no likelihood of what is no model", {first, double(count)});

    // The constant is a flag: its value is not read.
    if (constant) {
        double other = 3.0;
        const zolv_ArimaModel same = model_of(o, parameters.data(), &other);
        const double third = zolv_ArimaLogLikelihood(x.data(), count, &same);
        require(same_bits(first, third), "the constant's value is not read", {first, third});
    }
    return 0;
}
