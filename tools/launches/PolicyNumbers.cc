#include "tools/launches/PolicyNumbers.h"

#include <algorithm>
#include <numeric>

namespace kestrel {

namespace {

// REQUIRES: values are sorted and not empty.
template <class Value>
Value nearestRank(const std::vector<Value>& values, std::size_t percent) {
    const std::size_t rank = (percent * values.size() + 99) / 100;
    return values[std::max<std::size_t>(rank, 1) - 1];
}

template <class Sum, class Value>
double meanOf(const std::vector<Value>& values) {
    const Sum sum = std::accumulate(values.begin(), values.end(), Sum{0});
    return static_cast<double>(sum) / static_cast<double>(values.size());
}

double coverageOf(const BoostedLaunch& launch) {
    if (launch.durationMs == 0) {
        return 1;
    }
    return static_cast<double>(launch.coveredMs()) / launch.durationMs;
}

}  // namespace

PolicyNumbers numbersOf(const std::vector<BoostedLaunch>& launches) {
    PolicyNumbers numbers;
    if (launches.empty()) {
        return numbers;
    }
    std::vector<double> coverage;
    std::vector<int32_t> wastedMs;
    for (const BoostedLaunch& launch : launches) {
        coverage.push_back(coverageOf(launch));
        wastedMs.push_back(launch.wastedMs());
        numbers.fullyCovered += launch.boostMs >= launch.durationMs ? 1 : 0;
        numbers.boostedMs += launch.boostMs;
    }
    numbers.launches = launches.size();
    numbers.coverage.mean = meanOf<double>(coverage);  // added up in the order of the launches
    numbers.wastedMs.mean = meanOf<int64_t>(wastedMs);
    std::sort(coverage.begin(), coverage.end());
    std::sort(wastedMs.begin(), wastedMs.end());
    numbers.coverage.p10 = nearestRank(coverage, 10);
    numbers.coverage.p50 = nearestRank(coverage, 50);
    numbers.wastedMs.p50 = nearestRank(wastedMs, 50);
    numbers.wastedMs.p90 = nearestRank(wastedMs, 90);
    return numbers;
}

}  // namespace kestrel
