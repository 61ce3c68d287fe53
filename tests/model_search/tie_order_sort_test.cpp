// The ranking's sort: orders worked out by a separate script, permutations, and ascending finite keys.
#include "model_search/tie_order_sort.hpp"

#include <cmath>
#include <sstream>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"

namespace {

template <class Value, class Read>
std::vector<Value> split(const std::string& text, const Read& read) {
    std::vector<Value> values;
    std::stringstream stream(text);
    for (std::string word; stream >> word;) values.push_back(read(word));
    return values;
}

bool comes_first(double l, double r) {
    if (!std::isfinite(r)) return std::isfinite(l) || l < r;
    return l < r;
}

std::vector<std::int32_t> sorted_indices(const std::vector<double>& keys, std::ptrdiff_t budget) {
    std::vector<std::int32_t> order(keys.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::int32_t>(i);
    dru::impl::tie_order_sort(order.data(), order.data() + order.size(), budget,
                              [&](std::int32_t a, std::int32_t b) { return comes_first(keys[a], keys[b]); });
    return order;
}

bool is_permutation_of_indices(const std::vector<std::int32_t>& order) {
    std::vector<bool> seen(order.size());
    for (const std::int32_t i : order) {
        if (i < 0 || static_cast<std::size_t>(i) >= order.size() || seen[i]) return false;
        seen[i] = true;
    }
    return true;
}

TEST(tie_order_sort, orders_of_the_reference_table) {
    const zolv_test::reference_table table("tie_order");
    ASSERT_GE(table.size(), 90u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        SCOPED_TRACE(table.text(row, "name"));
        const auto keys = split<double>(table.text(row, "keys"),
                                        [](const std::string& s) { return std::strtod(s.c_str(), nullptr); });
        const auto want =
            split<std::int32_t>(table.text(row, "order"), [](const std::string& s) { return std::stoi(s); });
        const auto got = sorted_indices(keys, static_cast<std::ptrdiff_t>(keys.size()));
        EXPECT_TRUE(is_permutation_of_indices(got));
        EXPECT_EQ(got, want);
    }
}

// Minus infinity makes the comparator inconsistent; without it finite keys ascend and precede the others.
TEST(tie_order_sort, finite_keys_ascend_and_come_first) {
    const zolv_test::reference_table table("tie_order");
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "name").find("minus infinity") != std::string::npos) continue;
        SCOPED_TRACE(table.text(row, "name"));
        const auto keys = split<double>(table.text(row, "keys"),
                                        [](const std::string& s) { return std::strtod(s.c_str(), nullptr); });
        const auto order = sorted_indices(keys, static_cast<std::ptrdiff_t>(keys.size()));
        for (std::size_t i = 1; i < order.size(); ++i) {
            const double before = keys[order[i - 1]], after = keys[order[i]];
            EXPECT_TRUE(std::isfinite(before) || !std::isfinite(after));
            if (std::isfinite(before) && std::isfinite(after)) {
                EXPECT_LE(before, after);
            }
        }
    }
}

TEST(tie_order_sort, equal_keys_keep_their_order_up_to_32_elements) {
    std::vector<double> keys(32);
    for (std::size_t i = 0; i < keys.size(); ++i) keys[i] = static_cast<double>(i % 3);
    const auto order = sorted_indices(keys, 32);
    for (std::size_t i = 1; i < order.size(); ++i) {
        if (keys[order[i - 1]] == keys[order[i]]) {
            EXPECT_LT(order[i - 1], order[i]);
        }
    }
    const std::vector<double> all_nan(32, NAN);
    const auto unmoved = sorted_indices(all_nan, 32);
    for (std::size_t i = 0; i < unmoved.size(); ++i) EXPECT_EQ(unmoved[i], static_cast<std::int32_t>(i));
}

// A budget below 1 hands a range of more than 32 over to the heap; 32 are inserted whatever the budget.
TEST(tie_order_sort, spent_budget_ends_in_a_heap) {
    for (const std::size_t n : {33u, 200u}) {
        std::vector<double> keys(n);
        for (std::size_t i = 0; i < n; ++i)
            keys[i] = std::fmod(static_cast<double>(i) * 17.0, static_cast<double>(n));
        const auto order = sorted_indices(keys, 0);
        EXPECT_TRUE(is_permutation_of_indices(order));
        for (std::size_t i = 1; i < n; ++i) EXPECT_LE(keys[order[i - 1]], keys[order[i]]);
    }
    std::vector<double> equal(33, 1.0);
    EXPECT_NE(sorted_indices(equal, 0), sorted_indices(equal, 1)) << "the heap does not keep ties in order";
    equal.resize(32);
    EXPECT_EQ(sorted_indices(equal, 0), sorted_indices(equal, 32));
}

TEST(tie_order_sort, nothing_and_one_element) {
    EXPECT_TRUE(sorted_indices({}, 0).empty());
    EXPECT_EQ(sorted_indices({NAN}, 1), std::vector<std::int32_t>{0});
}

}  // namespace
