// Forecasts: a handle that has been asked before says what a fresh one says; limits around forecasts, errors
// that do not shrink; nothing written on a refusal or beyond the leads asked for.
#include "fuzz/series.hpp"

using namespace zolv_fuzz;

namespace {

struct request {
    int kind, origin, count;
    double confidence;
};

struct answer {
    int code;
    guarded first, second;
};

answer ask(zolv_ArimaHandle handle, const request& r) {
    const std::size_t room = r.count > 0 ? static_cast<std::size_t>(r.count) : 0;
    answer a{-1, guarded(room), guarded(room)};
    if (r.kind == 0) a.code = zolv_GetForecast(handle, r.origin, r.count, a.first.data());
    if (r.kind == 1) a.code = zolv_GetForecastStandardError(handle, r.origin, r.count, a.first.data());
    if (r.kind == 2)
        a.code =
            zolv_GetForecastLimit(handle, r.confidence, r.origin, r.count, a.first.data(), a.second.data());
    a.first.check("forecasts");
    a.second.check("forecasts");
    return a;
}

void same_answer(const answer& a, const answer& b, const char* law) {
    require(a.code == b.code, law, {double(a.code), double(b.code)});
    require_same(a.first, b.first, law);
    require_same(a.second, b.second, law);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const int n = in.from_to(4, 72);
    const orders o = some_orders(in, 13);
    const bool constant = in.flag();
    const std::vector<double> x = series(in, n, in.byte() < 192);
    show_model("forecasts", o, x);
    double level = 0.1;
    const fit asked(x, o, nullptr, constant ? &level : nullptr);
    if (asked.code >= 30000) return 0;
    const fit twin(x, o, nullptr, constant ? &level : nullptr);

    const int leads[] = {0, 1, 2, 12, 24, 149, 150, 151, 200, -1, -2147483647 - 1};
    const int origins[] = {n, n, n,  n - 1, n / 2,     o.S % 100 + o.p + o.d % 100 + 2,
                           1, 0, -1, n + 1, 2147483647};
    const argument confidence{-3.0, 0.0, true, {}};
    for (int i = in.from_to(1, 4); i > 0; --i) {
        request r;
        r.kind = in.byte() % 3;
        r.origin = in.byte() < 64 ? in.from_to(1, n) : origins[in.byte() % std::size(origins)];
        r.count = in.byte() < 64 ? in.below(40) : leads[in.byte() % std::size(leads)];
        r.confidence = in.byte() < 192 ? in.fraction() : in.number(confidence);
        show("ask", {double(r.kind), double(r.origin), double(r.count), r.confidence});
        const answer a = ask(asked, r);
        require(a.code == 0 || a.code == 30027 || a.code == 30032, "a code of the call", {double(a.code)});
        same_answer(a, ask(twin, r), "the same questions, the same answers");
        if (a.code != 0) {
            same_answer(a, {a.code, guarded(a.first.size()), guarded(a.second.size())},
                        "a refusal writes nothing");
            continue;
        }
        const fit fresh(x, o, nullptr, constant ? &level : nullptr);
        const answer alone = ask(fresh, r);
        if (alone.code != 0) continue;  // a refusal repeated answers 0
        same_answer(a, alone, "whatever was asked before");
        const answer centre = ask(fresh, {0, r.origin, r.count, 0.0});
        for (std::size_t lead = 0; lead < a.first.size(); ++lead) {
            const double value = a.first[lead];
            if (r.kind == 1) {
                require(!(value < 0.0), "an error that is not negative", {double(lead), value});
                if (lead > 0)  // an overflow that leaves no number counts as 0
                    require(!(value < a.first[lead - 1]) || value == 0.0, "errors that do not shrink",
                            {double(lead), value});
            }
            if (r.kind == 2 && r.confidence >= 0.0 && r.confidence <= 1.0) {
                const double middle = centre.first[lead];
                require(!(value > middle) && !(a.second[lead] < middle), "limits on either side",
                        {double(lead), value, middle, a.second[lead]});
            }
        }
    }
    return 0;
}
