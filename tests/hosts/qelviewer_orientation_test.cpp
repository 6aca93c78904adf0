#include <hosts/qelviewer/volume/orientation.h>

#include <tests/components/software3d/scene.h>

#include <qel/volume/arcball_camera.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>

namespace qelviewer {
namespace {

using namespace qel;

/// The size of the test's patient on x, y and z, in voxels, and the position of the first one in millimetres.
constexpr IVec3<int> kPatientSize(5, 6, 7);
const IVec3<double> kPatientOrigin(-20, 10, 300);
const IVec3<double> kPatientStep(2, 3, 4);

/// Returns the position of a voxel of the patient.
IVec3<double> patientPosition(const IVec3<int>& p) {
    return {kPatientOrigin.x + p.x * kPatientStep.x, kPatientOrigin.y + p.y * kPatientStep.y,
            kPatientOrigin.z + p.z * kPatientStep.z};
}

/// The same patient in one of the orders and directions in which files may store the voxels.
struct Storage {
    std::array<int, 3> axes{}; ///< the axis of the patient along each axis of the volume
    int flips = 0;             ///< bit i: the axis i of the patient is stored backwards

    bool isFlipped(int patientAxis) const { return (flips >> patientAxis & 1) != 0; }
    IVec3<int> size() const { return {kPatientSize[axes[0]], kPatientSize[axes[1]], kPatientSize[axes[2]]}; }
    /// Returns the place in the patient of a voxel of the volume.
    IVec3<int> patientVoxel(const IVec3<int>& voxel) const {
        IVec3<int> place;
        for (int i = 0; i < 3; ++i) {
            const int axis = axes[static_cast<size_t>(i)];
            place[axis] = isFlipped(axis) ? kPatientSize[axis] - 1 - voxel[i] : voxel[i];
        }
        return place;
    }
    Orientation orientation() const {
        Orientation result;
        result.isPatient = true;
        result.origin = patientPosition(patientVoxel({0, 0, 0}));
        for (int i = 0; i < 3; ++i) {
            const int axis = axes[static_cast<size_t>(i)];
            result.axis[i] = {};
            result.axis[i][axis] = kPatientStep[axis] * (isFlipped(axis) ? -1 : 1);
        }
        return result;
    }
};

/// Calls @p check for all 6 orders and 8 flips.
void forAllStorages(const std::function<void(const Storage&)>& check) {
    std::array<int, 3> axes{0, 1, 2};
    do {
        for (int flips = 0; flips < 8; ++flips) {
            SCOPED_TRACE("axes " + std::to_string(axes[0]) + std::to_string(axes[1]) +
                         std::to_string(axes[2]) + ", flips " + std::to_string(flips));
            check({axes, flips});
        }
    } while (std::next_permutation(axes.begin(), axes.end()));
}

void expectNear(const IVec3<double>& actual, const IVec3<double>& expected) {
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-4) << "component " << i;
}

TEST(Orientation, LettersNameTheSidesOfADirection) {
    const struct {
        IVec3<double> direction;
        const char* letters;
    } cases[] = {
        {{1, 0, 0}, "L"},      {{-2, 0, 0}, "R"},       {{0, 1, 0}, "P"},      {{0, -1, 0}, "A"},
        {{0, 0, 1e-5}, "S"},   {{0, 0, -1}, "I"},       {{-1, -2, 0.1}, "AR"}, {{1, 1, 0}, "LP"},
        {{0.2, -0.3, 2}, "S"}, {{0.5, -0.6, 2}, "SAL"}, {{0, 0, 0}, ""},
    };
    for (const auto& test : cases) EXPECT_EQ(directionLetters(test.direction), test.letters);
}

TEST(Orientation, PositionsAndVoxelsAreInverse) {
    Orientation place;
    place.axis[0] = {0.5, 0.1, 0};
    place.axis[1] = {0, 0, -2};
    place.axis[2] = {0, 1, 0.3};
    place.origin = {10, 20, 30};
    expectNear(place.positionOf({2, 1, 0}), {11, 20.2, 28});
    expectNear(place.voxelAt(place.positionOf({3, -4, 5.5})), {3, -4, 5.5});
}

TEST(Orientation, NumbersThatMapNoVolumeAreNotUsable) {
    Orientation place;
    EXPECT_TRUE(place.isUsable());
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    for (const IVec3<double>& axis : {IVec3<double>(), IVec3<double>(0, 1, 0), IVec3<double>(1, 1, 0),
                                      IVec3<double>(0, kNan, 1), IVec3<double>(0, 0, 1e300)}) {
        place.axis[2] = axis;
        EXPECT_FALSE(place.isUsable());
    }
    place = {};
    place.origin.y = kNan;
    EXPECT_FALSE(place.isUsable());
    place.axis[0] = {0, 0, 3};
    const Orientation spacings = withoutDirections(place);
    EXPECT_EQ(spacings.axis[0], IVec3<double>(3, 0, 0));
    EXPECT_EQ(spacings.origin, IVec3<double>());
}

/// What a plane shows: axes of the patient, negative ones reversed.
struct PlaneCase {
    Plane plane;
    std::array<int, 3> right, down, inward;
    std::array<const char*, 4> letters; ///< left, top, right, bottom
};

constexpr PlaneCase kPlanes[] = {
    {Plane::Axial, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {"R", "A", "L", "P"}},
    {Plane::Coronal, {1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {"R", "S", "L", "I"}},
    {Plane::Sagittal, {0, 1, 0}, {0, 0, -1}, {-1, 0, 0}, {"A", "S", "P", "I"}},
};

TEST(Orientation, PanesShowAPatientAlikeInEveryStorage) {
    forAllStorages([](const Storage& storage) {
        const Orientation place = storage.orientation();
        for (const PlaneCase& expected : kPlanes) {
            const PlaneFrame frame = planeFrame(place, expected.plane);
            EXPECT_EQ(frame.letters.left, expected.letters[0]);
            EXPECT_EQ(frame.letters.top, expected.letters[1]);
            EXPECT_EQ(frame.letters.right, expected.letters[2]);
            EXPECT_EQ(frame.letters.bottom, expected.letters[3]);
            const std::pair<const PaneAxis*, const std::array<int, 3>*> axes[] = {
                {&frame.right, &expected.right},
                {&frame.down, &expected.down},
                {&frame.inward, &expected.inward}};
            for (const auto& [axis, direction] : axes) {
                const int count = storage.size()[axis->axis];
                IVec3<double> first, second;
                first[axis->axis] = axis->indexAt(0, count);
                second[axis->axis] = axis->indexAt(1, count);
                for (int c = 0; c < 3; ++c)
                    EXPECT_EQ(place.positionOf(second)[c] - place.positionOf(first)[c],
                              (*direction)[static_cast<size_t>(c)] * kPatientStep[c]);
                EXPECT_EQ(axis->spacing, std::abs(place.positionOf(second)[0] - place.positionOf(first)[0] +
                                                  place.positionOf(second)[1] - place.positionOf(first)[1] +
                                                  place.positionOf(second)[2] - place.positionOf(first)[2]));
            }
        }
    });
}

TEST(Orientation, ObliqueVolumesHaveCombinedLetters) {
    const double c = std::cos(0.5), s = std::sin(0.5); // about 29 degrees
    Orientation place;
    place.isPatient = true;
    place.axis[0] = {0, 0, -1};
    place.axis[1] = {-c, -s, 0};
    place.axis[2] = {-s, c, 0};
    const PlaneFrame axial = planeFrame(place, Plane::Axial);
    EXPECT_EQ(axial.right.axis, 1);
    EXPECT_TRUE(axial.right.isReversed);
    EXPECT_EQ(axial.down.axis, 2);
    EXPECT_FALSE(axial.down.isReversed);
    EXPECT_EQ(axial.inward.axis, 0);
    EXPECT_TRUE(axial.inward.isReversed);
    EXPECT_EQ(axial.letters.right, "LP");
    EXPECT_EQ(axial.letters.left, "RA");
    EXPECT_EQ(axial.letters.bottom, "PR");
    EXPECT_EQ(axial.letters.top, "AL");
}

TEST(Orientation, WithoutAPatientThereAreNoLetters) {
    const Orientation place;
    const PlaneFrame frame = planeFrame(place, Plane::Coronal);
    EXPECT_EQ(frame.letters.left + frame.letters.top + frame.letters.right + frame.letters.bottom, "");
    EXPECT_EQ(worldLetters(place, {1, 0, 0}), "");
    for (const FaceLetters& face : faceLetters(place, modelMatrix(place, {2, 2, 2})))
        EXPECT_EQ(face.letters, "");
}

TEST(Orientation, TheModelMatrixPutsVoxelsWhereThePatientIs) {
    forAllStorages([](const Storage& storage) {
        const Orientation place = storage.orientation();
        const IVec3<int> size = storage.size(), last(size.x - 1, size.y - 1, size.z - 1);
        const Float4x4 model = modelMatrix(place, size);
        const Double4x4 world = patientToWorld(place, size);
        for (const IVec3<int>& voxel : {IVec3<int>(), IVec3<int>(1, 2, 3), last}) {
            const IVec3<float> cube((voxel.x + 0.5f) / size.x, (voxel.y + 0.5f) / size.y,
                                    (voxel.z + 0.5f) / size.z);
            const IVec3<double> patient = patientPosition(storage.patientVoxel(voxel));
            expectNear(IVec3<double>(model.transform(cube)), world.transform(patient));
        }
        expectNear(world.transform(patientPosition({2, 0, 3})), {0, 0, 2.5 * kPatientStep.y});
    });
}

TEST(Orientation, FacesHaveTheLettersOfTheirSides) {
    const auto camera = Float4x4::LookAt({0, 0, 100}, {}, {0, 1, 0});
    const IVec3<float> middle(0, 0, 100); // of the volume, seen by the camera
    const struct {
        const char* letter;
        int axis;
        float sign;
    } sides[] = {{"L", 0, 1}, {"R", 0, -1}, {"S", 1, 1}, {"I", 1, -1}, {"P", 2, 1}, {"A", 2, -1}};
    forAllStorages([&](const Storage& storage) {
        const Orientation place = storage.orientation();
        std::string seen;
        for (const FaceLetters& face : faceLetters(place, modelMatrix(place, storage.size()))) {
            const IVec3<float> view = camera.transform(face.centre);
            seen += face.letters;
            for (const auto& side : sides) {
                if (face.letters != side.letter) continue;
                EXPECT_GT(side.sign * (view[side.axis] - middle[side.axis]), 1) << side.letter;
            }
        }
        std::sort(seen.begin(), seen.end());
        EXPECT_EQ(seen, "AILPRS");
    });
}

/// Draws the patient, whose opacity is different at each place, from the front and from a corner.
std::vector<uint8> drawPatient(test::Scene& scene, const Storage& storage) {
    const IVec3<int> size = storage.size();
    const Orientation place = storage.orientation();
    scene.setVolume(size, [&](double x, double y, double z) {
        const IVec3<int> p = storage.patientVoxel(
            {static_cast<int>(x * size.x), static_cast<int>(y * size.y), static_cast<int>(z * size.z)});
        const bool isNose = p.x == 2 && p.y == 0 && p.z == 3, isLeftEar = p.x == 4 && p.y == 3;
        return 20.0 * p.x + 11 * p.z + (isNose ? 400 : 0) + (isLeftEar ? 200 : 0);
    });
    scene.setMaterial({{0, {0, 0, 1}}, {500, {1, 1, 0}}}, {{0, 0}, {500, 0.2f}}, 64);
    scene.actor->setStepCount(64).setModelMatrix(modelMatrix(place, size));
    ArcballCamera camera;
    camera.setDistance(60);
    camera.rotateX(0.4f);
    camera.rotateY(0.3f);
    scene.renderer->setViewMatrix(camera.getViewMatrix());
    scene.renderer->setProjectionMatrix(Float4x4::Perspective(0.6f, 1, 1, 200));
    scene.drawVolume();
    return scene.bytes();
}

int largestDifference(const std::vector<uint8>& a, const std::vector<uint8>& b) {
    int largest = 0;
    for (size_t i = 0; i < a.size(); ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

TEST(Orientation, AVolumeLooksAlikeInEveryStorage) {
    test::Scene scene;
    const std::vector<uint8> expected = drawPatient(scene, {{0, 1, 2}, 0});
    forAllStorages([&](const Storage& storage) {
        EXPECT_LE(largestDifference(drawPatient(scene, storage), expected), 1);
    });
    std::vector<uint8> reflection = expected;
    for (size_t row = 0; row < 32; ++row)
        for (size_t x = 0; x < 16; ++x)
            std::swap_ranges(&reflection[(row * 32 + x) * 4], &reflection[(row * 32 + x) * 4] + 4,
                             &reflection[(row * 32 + 31 - x) * 4]);
    EXPECT_GT(largestDifference(reflection, expected), 20) << "the picture is symmetric";
}

} // namespace
} // namespace qelviewer
