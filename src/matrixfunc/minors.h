// Minors of several rows over every choice of as many columns, built up row by row.
//
//   MinorTable          one minor per choice; a choice of columns is a set of bits
//   forEachChoice       every choice of k out of n columns, as a compile-time constant
//   startMinors         the minors of one row: its elements
//   addRow              the minors of the rows so far and one more
//   expandedAlong       one minor of one more row
#pragma once

#include "frame/lanes.h"

namespace tarnm {

template <int n, class V> using MinorTable = V[1u << n];

template <unsigned choice> inline constexpr int columnsOf = __builtin_popcount(choice);
template <unsigned choice> inline constexpr int lowestOf = __builtin_ctz(choice);
template <unsigned choice> inline constexpr int highestOf = 31 - __builtin_clz(choice);

template <unsigned choice> using Choice = std::integral_constant<unsigned, choice>;

template <int k, class Body, unsigned... choice>
TARNM_INLINE void forEachChoiceOf(Body&& body, std::integer_sequence<unsigned, choice...>)
{
    const auto visit = [&](auto c) __attribute__((always_inline))
    {
        if constexpr (columnsOf<c()> == k) body(c);
    };
    (visit(Choice<choice>{}), ...);
}

template <int n, int k, class Body> TARNM_INLINE void forEachChoice(Body&& body)
{
    forEachChoiceOf<k>(body, std::make_integer_sequence<unsigned, 1u << n>{});
}

// Which column of a choice gives the first term, the one with the positive sign.
enum class Terms { lowestFirst, highestFirst };

template <Terms terms, unsigned choice, unsigned left, bool isNegative, class V>
TARNM_INLINE V addedTerms(V sum, const V* row, const V* minors)
{
    if constexpr (left == 0)
        return sum;
    else {
        constexpr int column = terms == Terms::lowestFirst ? lowestOf<left> : highestOf<left>;
        const V term = row[column] * minors[choice ^ (1u << column)];
        return addedTerms<terms, choice, left ^ (1u << column), !isNegative>(isNegative ? sum - term : sum + term, row,
                                                                             minors);
    }
}

// The sum of the products of a row's elements with the minors that lack their column, signs in turn, left to right.
template <Terms terms, unsigned choice, class V> TARNM_INLINE V expandedAlong(const V* row, const V* minors)
{
    constexpr int column = terms == Terms::lowestFirst ? lowestOf<choice> : highestOf<choice>;
    constexpr unsigned left = choice ^ (1u << column);
    return addedTerms<terms, choice, left, true>(row[column] * minors[left], row, minors);
}

template <int n, class V> TARNM_INLINE void startMinors(const V* row, MinorTable<n, V>& minors)
{
    TARNM_UNROLL
    for (int c = 0; c < n; ++c)
        minors[1u << c] = row[c];
}

// From the minors of k - 1 rows to those of k rows.
template <int n, int k, Terms terms, class V> TARNM_INLINE void addRow(const V* row, MinorTable<n, V>& minors)
{
    forEachChoice<n, k>([&](auto choice) __attribute__((always_inline)) {
        minors[choice()] = expandedAlong<terms, choice()>(row, minors);
    });
}

} // namespace tarnm
