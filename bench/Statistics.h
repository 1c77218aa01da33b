// What many figures come down to.

#ifndef HALVORIX_BENCH_STATISTICS_H
#define HALVORIX_BENCH_STATISTICS_H

#include <cstdint>
#include <vector>

// The figure below which this share of them lies, by rank; 0.5 is the median. 0 when there are none.
std::uint64_t Quantile(std::vector<std::uint64_t> figures, double share);

#endif
