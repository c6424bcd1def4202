#pragma once

#include <algorithm>
#include <vector>

/// The middle value of a sample, the upper one of two. There must be one.
inline double median(std::vector<double> sample)
{
    std::sort(sample.begin(), sample.end());
    return sample[sample.size() / 2];
}
