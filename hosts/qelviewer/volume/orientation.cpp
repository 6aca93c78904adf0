#include <hosts/qelviewer/volume/orientation.h>

#include <algorithm>
#include <cmath>

namespace qelviewer {
namespace {

using Vector3 = qel::IVec3<double>;

/// The sine of the angle by which a direction must point to a side to have its letter: 10 degrees.
constexpr double kLetterShare = 0.17364817766693033;
/// The smallest volume between three directions of length 1 that are taken as independent.
constexpr double kSmallestVolume = 1e-4;
/// Limits of usable numbers in millimetres.
constexpr double kSmallestStep = 1e-6, kLargestStep = 1e6, kFarthestOrigin = 1e9;

double length(const Vector3& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

Vector3 scaled(const Vector3& v, double factor) {
    return {v.x * factor, v.y * factor, v.z * factor};
}

Vector3 sum(const Vector3& a, const Vector3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

qel::Double3x3 axesOf(const Orientation& orientation) {
    return {orientation.axis[0], orientation.axis[1], orientation.axis[2]};
}

/// Turns patient coordinates into those of the world: x to the right, y to the head, z to the front.
Vector3 toWorld(const Vector3& patient) {
    return {-patient.x, patient.z, -patient.y};
}

Vector3 toPatient(const Vector3& world) {
    return {-world.x, -world.z, world.y};
}

/// An assignment of the axes of a volume to those of the patient.
using Assignment = std::array<int, 3>;

/// Returns for each axis of the patient the axis of the volume that is nearest to it; no axis appears twice.
Assignment nearestAxes(const Orientation& orientation) {
    Assignment axes{0, 1, 2};
    Assignment best = axes;
    double bestSum = -1;
    do {
        double cosines = 0;
        for (int side = 0; side < 3; ++side) {
            const Vector3& axis = orientation.axis[axes[static_cast<size_t>(side)]];
            cosines += std::abs(axis[side]) / length(axis);
        }
        if (cosines > bestSum + 1e-9) { // the first of equal ones, whatever the rounding
            bestSum = cosines;
            best = axes;
        }
    } while (std::next_permutation(axes.begin(), axes.end()));
    return best;
}

/// A direction along an axis of the patient.
struct Side {
    int axis;
    int sign; ///< 1 or -1
};

/// The directions of a pane.
struct PaneSides {
    Side right, down, inward;
};

constexpr PaneSides kPaneSides[] = {
    {{0, 1}, {1, 1}, {2, 1}},   // axial: left, back, head
    {{0, 1}, {2, -1}, {1, 1}},  // coronal: left, feet, back
    {{1, 1}, {2, -1}, {0, -1}}, // sagittal: back, feet, right
};

PaneAxis paneAxis(const Orientation& orientation, const Assignment& nearest, const Side& side) {
    const int axis = nearest[static_cast<size_t>(side.axis)];
    const double along = orientation.axis[axis][side.axis];
    return {axis, (along < 0) != (side.sign < 0), orientation.spacing(axis)};
}

/// Returns the letters at the end of a pane's axis; those at its start if @p isStart.
std::string paneLetters(const Orientation& orientation, const PaneAxis& axis, bool isStart) {
    if (!orientation.isPatient) return {};
    return directionLetters(scaled(orientation.axis[axis.axis], axis.isReversed != isStart ? -1 : 1));
}

} // namespace

Vector3 Orientation::positionOf(const Vector3& voxel) const {
    return sum(origin, axesOf(*this).transform(voxel));
}

Vector3 Orientation::voxelAt(const Vector3& position) const {
    return axesOf(*this).inverse().transform(sum(position, scaled(origin, -1)));
}

double Orientation::spacing(int i) const {
    return length(axis[i]);
}

bool Orientation::isUsable() const {
    qel::Double3x3 directions;
    for (int i = 0; i < 3; ++i) {
        if (!(spacing(i) >= kSmallestStep && spacing(i) <= kLargestStep)) return false; // also NaN
        directions[i] = scaled(axis[i], 1 / spacing(i));
    }
    return length(origin) <= kFarthestOrigin && std::abs(directions.determinant()) >= kSmallestVolume;
}

Orientation withoutDirections(const Orientation& orientation) {
    Orientation result;
    for (int i = 0; i < 3; ++i) {
        const double step = orientation.spacing(i);
        if (step >= kSmallestStep && step <= kLargestStep) result.axis[i][i] = step;
    }
    if (length(orientation.origin) <= kFarthestOrigin) result.origin = orientation.origin;
    return result;
}

qel::Float3x3 directionsOf(const Orientation& orientation) {
    return {qel::IVec3<float>(orientation.axis[0]), qel::IVec3<float>(orientation.axis[1]),
            qel::IVec3<float>(orientation.axis[2])};
}

std::string directionLetters(const Vector3& direction) {
    constexpr const char* kLetters[] = {"LR", "PA", "SI"};
    const double smallest = kLetterShare * length(direction);
    int sides[] = {0, 1, 2};
    std::stable_sort(std::begin(sides), std::end(sides),
                     [&](int a, int b) { return std::abs(direction[a]) > std::abs(direction[b]); });
    std::string letters;
    for (const int side : sides) {
        const double along = direction[side];
        if (std::abs(along) >= smallest && along != 0) letters += kLetters[side][along < 0 ? 1 : 0];
    }
    return letters;
}

PlaneFrame planeFrame(const Orientation& orientation, Plane plane) {
    const Assignment nearest = nearestAxes(orientation);
    const PaneSides& sides = kPaneSides[static_cast<size_t>(plane)];
    PlaneFrame frame;
    frame.right = paneAxis(orientation, nearest, sides.right);
    frame.down = paneAxis(orientation, nearest, sides.down);
    frame.inward = paneAxis(orientation, nearest, sides.inward);
    frame.letters = {paneLetters(orientation, frame.right, true), paneLetters(orientation, frame.down, true),
                     paneLetters(orientation, frame.right, false),
                     paneLetters(orientation, frame.down, false)};
    return frame;
}

qel::Double4x4 patientToWorld(const Orientation& orientation, const qel::IVec3<int>& size) {
    const Vector3 middle =
        orientation.positionOf({(size.x - 1) * 0.5, (size.y - 1) * 0.5, (size.z - 1) * 0.5});
    qel::Double4x4 matrix(qel::Double3x3(toWorld({1, 0, 0}), toWorld({0, 1, 0}), toWorld({0, 0, 1})));
    const Vector3 shift = toWorld(scaled(middle, -1));
    matrix.setRow(3, {shift.x, shift.y, shift.z, 1});
    return matrix;
}

qel::Float4x4 modelMatrix(const Orientation& orientation, const qel::IVec3<int>& size) {
    const qel::Double4x4 world = patientToWorld(orientation, size);
    qel::Float4x4 matrix;
    Vector3 corner = orientation.positionOf({-0.5, -0.5, -0.5});
    corner = world.transform(corner);
    for (int i = 0; i < 3; ++i) {
        const Vector3 side = world.transform3x3(scaled(orientation.axis[i], size[i]));
        matrix.setRow(i, qel::IVec4<float>(qel::IVec4<double>(side.x, side.y, side.z, 0)));
    }
    matrix.setRow(3, qel::IVec4<float>(qel::IVec4<double>(corner.x, corner.y, corner.z, 1)));
    return matrix;
}

std::string worldLetters(const Orientation& orientation, const Vector3& direction) {
    return orientation.isPatient ? directionLetters(toPatient(direction)) : std::string();
}

std::array<FaceLetters, 6> faceLetters(const Orientation& orientation, const qel::Float4x4& model) {
    std::array<FaceLetters, 6> faces;
    for (int i = 0; i < 6; ++i) {
        const int axis = i / 2;
        const bool isLast = i % 2 != 0;
        qel::IVec3<float> centre(0.5f, 0.5f, 0.5f);
        centre[axis] = isLast ? 1 : 0;
        const qel::IVec4<float>& row = model.row(axis);
        const Vector3 direction = scaled({row.x, row.y, row.z}, isLast ? 1 : -1);
        faces[static_cast<size_t>(i)] = {model.transform(centre), worldLetters(orientation, direction)};
    }
    return faces;
}

} // namespace qelviewer
