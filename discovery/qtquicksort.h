#pragma once

#include <utility>

// The quicksort of Qt's former qSort(), step for step: median of first, middle and
// last element as pivot, the same comparisons and swaps in the same order.
//
// Why not std::sort: packageLessThan is not a strict weak order (a newer package of
// a larger kind and an older one of a smaller kind each sort before the other), so
// the order a sort leaves depends on the exact sequence of its steps. Package lists
// on the device have always been ordered by this algorithm; the window and the
// worker keep doing so to show and install packages in the same order as before.
template <typename RandomAccessIterator, typename LessThan>
void qtQuickSort(RandomAccessIterator begin, RandomAccessIterator end, LessThan lessThan)
{
    using std::swap;
    for (;;) {
        const int span = int(end - begin);
        if (span < 2)
            return;

        --end;
        RandomAccessIterator low = begin;
        RandomAccessIterator high = end - 1;
        RandomAccessIterator pivot = begin + span / 2;

        if (lessThan(*end, *begin))
            swap(*end, *begin);
        if (span == 2)
            return;

        if (lessThan(*pivot, *begin))
            swap(*pivot, *begin);
        if (lessThan(*end, *pivot))
            swap(*end, *pivot);
        if (span == 3)
            return;

        // The pivot waits at the end while the rest is partitioned around it.
        swap(*pivot, *end);

        while (low < high) {
            while (low < high && lessThan(*low, *end))
                ++low;

            while (high > low && lessThan(*end, *high))
                --high;

            if (low < high) {
                swap(*low, *high);
                ++low;
                --high;
            } else {
                break;
            }
        }

        if (lessThan(*low, *end))
            ++low;

        swap(*end, *low);
        qtQuickSort(begin, low, lessThan);

        // The right part is sorted by the next round instead of a second recursion.
        begin = low + 1;
        ++end;
    }
}
