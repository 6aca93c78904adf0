#include "value_window.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qelviewer {

namespace {

constexpr WindowPreset kPresets[] = {
    {"1", "viewer-preset-soft", {40, 400}},    {"2", "viewer-preset-bone", {400, 1800}},
    {"3", "viewer-preset-lung", {-600, 1500}}, {"4", "viewer-preset-brain", {40, 80}},
    {"5", "viewer-preset-abdomen", {60, 350}}, {"6", "viewer-preset-vessels", {300, 600}}};

/// The least width of a window, as a share of its values.
constexpr double kLeastShare = 1e-6;

ValueWindow between(double lower, double upper) {
    return {(lower + upper) / 2, std::max(upper - lower, leastWidth(lower, upper))};
}

} // namespace

double leastWidth(double lower, double upper) {
    const double largest = std::max(std::abs(lower), std::abs(upper));
    return largest > 0 ? largest * kLeastShare : kLeastShare;
}

std::span<const WindowPreset> windowPresets() {
    return kPresets;
}

ValueWindow fullWindow(const Histogram& histogram) {
    return between(histogram.smallest, histogram.largest);
}

ValueWindow usualWindow(const Histogram& histogram) {
    const double lower = quantile(histogram, 0.01);
    const double upper = quantile(histogram, 0.99);
    return upper > lower ? between(lower, upper) : fullWindow(histogram);
}

double quantile(const Histogram& histogram, double share) {
    const auto& counts = histogram.counts;
    if (counts.size() < 2) return histogram.smallest;
    const auto all = static_cast<double>(std::accumulate(counts.begin() + 1, counts.end(), qel::uint64{0}));
    const double width = (histogram.largest - histogram.smallest) / static_cast<double>(counts.size());
    double below = 0;
    for (size_t i = 1; i < counts.size(); ++i) {
        below += static_cast<double>(counts[i]);
        if (below > share * all) return histogram.smallest + (static_cast<double>(i) + 0.5) * width;
    }
    return histogram.largest;
}

} // namespace qelviewer
