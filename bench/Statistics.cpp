#include "bench/Statistics.h"

#include <algorithm>
#include <cstddef>

std::uint64_t Quantile(std::vector<std::uint64_t> figures, double share)
{
    if (figures.empty())
        return 0;
    const auto rank = static_cast<std::size_t>(share * static_cast<double>(figures.size()));
    const auto place = figures.begin() + static_cast<std::ptrdiff_t>(std::min(rank, figures.size() - 1));
    std::nth_element(figures.begin(), place, figures.end());
    return *place;
}
