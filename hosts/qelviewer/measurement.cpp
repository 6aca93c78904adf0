#include "measurement.h"

#include "numbers.h"
#include "vectors.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qelviewer {

int millimetreDigits(const Orientation& orientation) {
    const double smallest =
        std::min({orientation.spacing(0), orientation.spacing(1), orientation.spacing(2)});
    return std::clamp(static_cast<int>(-std::floor(std::log10(smallest))), 1, 6);
}

double distanceMm(const Orientation& orientation, const qel::IVec3<double>& a, const qel::IVec3<double>& b) {
    const qel::IVec3<double> step = minus(orientation.positionOf(b), orientation.positionOf(a));
    return std::sqrt(dot(step, step));
}

double angleDegrees(const Orientation& orientation, const qel::IVec3<double>& a,
                    const qel::IVec3<double>& vertex, const qel::IVec3<double>& b) {
    const qel::IVec3<double> corner = orientation.positionOf(vertex);
    const qel::IVec3<double> first = minus(orientation.positionOf(a), corner);
    const qel::IVec3<double> second = minus(orientation.positionOf(b), corner);
    const double lengths = std::sqrt(dot(first, first) * dot(second, second));
    if (!(lengths > 0)) return std::nan("");
    return std::acos(std::clamp(dot(first, second) / lengths, -1.0, 1.0)) * 180 / std::numbers::pi;
}

std::string Measurement::getText(const Orientation& orientation) const {
    if (!isComplete()) return {};
    if (kind == Kind::Distance)
        return formatNumber(distanceMm(orientation, points[0], points[1]), millimetreDigits(orientation)) +
               " mm";
    return formatNumber(angleDegrees(orientation, points[0], points[1], points[2]), 1) + "°";
}

} // namespace qelviewer
