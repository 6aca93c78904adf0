// Orientation: where the voxels of a volume are in the patient, and how panes and 3D views show them.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/matrix.h>

#include <array>
#include <string>

namespace qelviewer {

/// Maps voxels to millimetres. In patient coordinates x points to the patient's left, y to the back
/// (posterior) and z to the head (superior).
struct Orientation {
    /// The step to the next voxel on each axis of the volume, in millimetres. The three are independent.
    qel::IVec3<double> axis[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    qel::IVec3<double> origin; ///< position of the centre of the first voxel, in millimetres
    /// False if the source does not state how the patient lies. Panes and views are then oriented as if the
    /// axes were those of the patient, and there are no letters.
    bool isPatient = false;

    /// Returns the position of a voxel, whose indices may be fractions.
    qel::IVec3<double> positionOf(const qel::IVec3<double>& voxel) const;
    /// Returns the indices of the voxel at a position; they are fractions in general.
    qel::IVec3<double> voxelAt(const qel::IVec3<double>& position) const;
    /// Returns the distance between neighbours on axis @p i, in millimetres.
    double spacing(int i) const;
    /// Returns true if the axes are independent, with steps of 1e-6 to 1e6 mm, and the origin is at most
    /// 1e9 mm away.
    bool isUsable() const;
};

/// Returns an orientation without a patient, which has the steps of @p orientation along x, y and z. Steps
/// that are not usable become 1, an unusable origin 0.
Orientation withoutDirections(const Orientation& orientation);

/// Returns the steps on the axes as rows, as loaders take them.
qel::Float3x3 directionsOf(const Orientation& orientation);

/// Returns the letters of the sides of the body that a direction points to, the nearest first: "L" and "R"
/// for left and right, "P" and "A" for back and front, "S" and "I" for head and feet. A side is left out if
/// the direction points to it by less than 10 degrees. @return "" for a direction of length 0.
std::string directionLetters(const qel::IVec3<double>& direction);

/// The planes in which panes show a volume.
enum class Plane {
    Axial,    ///< seen from the feet, with the front of the body at the top
    Coronal,  ///< seen from the front, with the head at the top
    Sagittal, ///< seen from the left, with the head at the top and the front of the body on the left
};

/// The axis of the volume that runs in one direction of a pane.
struct PaneAxis {
    int axis = 0;            ///< 0 to 2
    bool isReversed = false; ///< indices decrease in this direction
    double spacing = 1;      ///< millimetres from voxel to voxel

    /// Returns the index of the voxel at step @p step, from 0 to @p count - 1, in this direction. Also
    /// converts an index to its step.
    int indexAt(int step, int count) const { return isReversed ? count - 1 - step : step; }
};

/// How a pane shows slices. In axial and coronal panes the patient's right side is on the left.
struct PlaneFrame {
    PaneAxis right;  ///< from left to right
    PaneAxis down;   ///< from top to bottom
    PaneAxis inward; ///< from slice to slice, away from the viewer
    /// The letters of the four sides; empty without a patient.
    struct Letters {
        std::string left, top, right, bottom;
    } letters;
};

/// Returns how a pane shows slices of a volume. The axes of an oblique volume are those nearest to the ones
/// of the patient; its letters are those of the actual directions.
PlaneFrame planeFrame(const Orientation& orientation, Plane plane);

/// Returns the matrix from patient coordinates to the world of a 3D view, in millimetres. The middle of the
/// volume is the origin. World x points to the patient's right, y to the head and z to the front, so that a
/// camera on the z axis with y upwards sees the patient as a coronal pane shows it. This is the only
/// reflection between patient and picture besides the left-handed view of Float4x4::LookAt, which it undoes.
/// @param size  numbers of voxels on the axes.
qel::Double4x4 patientToWorld(const Orientation& orientation, const qel::IVec3<int>& size);

/// Returns the matrix from the cube from 0 to 1, in which a renderer draws volumes, to the same world.
qel::Float4x4 modelMatrix(const Orientation& orientation, const qel::IVec3<int>& size);

/// Returns the letters of a direction in the world; "" without a patient.
std::string worldLetters(const Orientation& orientation, const qel::IVec3<double>& direction);

/// A face of a volume's box.
struct FaceLetters {
    qel::IVec3<float> centre; ///< in the world
    std::string letters;      ///< the side of the body; "" without a patient
};

/// Returns the faces of the box that a matrix of modelMatrix() draws: for each axis of the volume, the face
/// of the first voxels and the face of the last ones.
std::array<FaceLetters, 6> faceLetters(const Orientation& orientation, const qel::Float4x4& model);

} // namespace qelviewer
