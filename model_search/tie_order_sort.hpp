// model_search/tie_order_sort.hpp: the introsort whose shape decides the order of ties.
//
// Source: introsort (Musser 1997) over a three-way partition (Bentley & McIlroy 1993) with Tukey's ninther.
// Why not std::sort: equal keys and non-finite keys are common in a ranking of candidates, and the order in
// which they come out is a result. It is fixed by the steps below: 32 elements as the insertion bound, the
// choice of the pivot, the two scans and the moves of the equal range.
// The comparator need not be a strict weak ordering: every scan is bounded by its range, so that whatever it
// answers, a permutation comes out.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace dru::impl {

inline constexpr std::ptrdiff_t insertion_sort_limit = 32;
inline constexpr std::ptrdiff_t median_of_three_span = 40;

// Equal keys keep their order: an element strictly less than the first goes straight to the front, the others
// move back only past strictly greater neighbours.
template <class Less>
void insertion_sort_indices(std::int32_t* first, std::int32_t* last, const Less& less) {
    if (first == last) return;
    for (std::int32_t* next = first + 1; next != last; ++next) {
        const std::int32_t value = *next;
        std::int32_t* hole = next;
        if (less(value, *first)) {
            std::move_backward(first, next, next + 1);
            hole = first;
        } else {
            for (; less(value, *(hole - 1)); --hole) *hole = *(hole - 1);
        }
        *hole = value;
    }
}

template <class Less>
void sort_three(std::int32_t& a, std::int32_t& b, std::int32_t& c, const Less& less) {
    if (less(b, a)) std::swap(a, b);
    if (less(c, b)) {
        std::swap(b, c);
        if (less(b, a)) std::swap(a, b);
    }
}

// Leaves the guessed median at `middle`; `last` is the last element, not one past it.
template <class Less>
void place_pivot(std::int32_t* first, std::int32_t* middle, std::int32_t* last, const Less& less) {
    const std::ptrdiff_t span = last - first;
    if (span > median_of_three_span) {
        const std::ptrdiff_t step = (span + 1) >> 3;
        sort_three(*first, *(first + step), *(first + 2 * step), less);
        sort_three(*(middle - step), *middle, *(middle + step), less);
        sort_three(*(last - 2 * step), *(last - step), *last, less);
        sort_three(*(first + step), *middle, *(last - step), less);
    } else {
        sort_three(*first, *middle, *last, less);
    }
}

// Returns the range of elements equal to the pivot: the lesser ones stand before it, the greater ones behind.
template <class Less>
std::pair<std::int32_t*, std::int32_t*> partition_three_ways(std::int32_t* first, std::int32_t* last,
                                                             const Less& less) {
    std::int32_t* const middle = first + (last - first) / 2;
    place_pivot(first, middle, last - 1, less);
    std::int32_t* equal_first = middle;
    std::int32_t* equal_last = middle + 1;
    const auto equal = [&](std::int32_t a, std::int32_t b) { return !less(a, b) && !less(b, a); };
    while (first < equal_first && equal(*(equal_first - 1), *equal_first)) --equal_first;
    while (equal_last < last && equal(*equal_last, *equal_first)) ++equal_last;

    std::int32_t* upper = equal_last;   // next element of the upper scan
    std::int32_t* lower = equal_first;  // one past the next element of the lower scan
    for (;;) {
        for (; upper < last; ++upper) {
            if (less(*equal_first, *upper)) continue;
            if (less(*upper, *equal_first)) break;
            if (equal_last != upper) std::swap(*equal_last, *upper);
            ++equal_last;
        }
        for (; first < lower; --lower) {
            if (less(*(lower - 1), *equal_first)) continue;
            if (less(*equal_first, *(lower - 1))) break;
            --equal_first;
            if (equal_first != lower - 1) std::swap(*equal_first, *(lower - 1));
        }
        if (lower == first && upper == last) return {equal_first, equal_last};
        if (lower == first) {  // no room below: the equal range moves up by one
            if (equal_last != upper) std::swap(*equal_first, *equal_last);
            ++equal_last;
            std::swap(*equal_first, *upper);
            ++equal_first;
            ++upper;
        } else if (upper == last) {  // no room above: it moves down by one
            --lower;
            --equal_first;
            if (lower != equal_first) std::swap(*lower, *equal_first);
            --equal_last;
            std::swap(*equal_first, *equal_last);
        } else {
            --lower;
            std::swap(*upper, *lower);
            ++upper;
        }
    }
}

template <class Less>
void tie_order_sort(std::int32_t* first, std::int32_t* last, std::ptrdiff_t budget, const Less& less) {
    while (last - first > insertion_sort_limit) {
        if (budget < 1) {
            std::make_heap(first, last, less);
            std::sort_heap(first, last, less);
            return;
        }
        const auto [equal_first, equal_last] = partition_three_ways(first, last, less);
        budget = budget / 2 + budget / 4;
        if (equal_first - first < last - equal_last) {
            tie_order_sort(first, equal_first, budget, less);
            first = equal_last;
        } else {
            tie_order_sort(equal_last, last, budget, less);
            last = equal_first;
        }
    }
    insertion_sort_indices(first, last, less);
}

}  // namespace dru::impl
