// The parts of the viewer without its window: the volume, windows of values, measurements and texts.
#include <hosts/qelviewer/measurement.h>
#include <hosts/qelviewer/numbers.h>
#include <hosts/qelviewer/readout.h>
#include <hosts/qelviewer/view_state.h>
#include <hosts/qelviewer/volume_pane.h>
#include <hosts/qelviewer/volume_scene.h>
#include <hosts/widgets/text_table.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/source_dir.h>
#include <tests/support/system_fixture.h>

#include <qel/plugins/resource_locator.h>
#include <qel/render/renderer_software.h>
#include <qel/software3d/software_renderer_3d.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

namespace qelviewer {
namespace {

using namespace testing;

constexpr qel::IVec3<int> kSize{4, 3, 2};

/// Returns a study whose stored voxels are their numbers in the file, and whose values are twice that less
/// 10. Voxels are 1, 2 and 3 mm apart; the axes are those of the patient.
std::shared_ptr<Study> makeStudy(qel::SoftwareRenderer3D& renderer) {
    auto study = std::make_shared<Study>();
    Orientation& orientation = study->header.orientation;
    for (int i = 0; i < 3; ++i) orientation.axis[i][i] = i + 1;
    orientation.isPatient = true;
    study->header.size = kSize;
    study->header.scaleBias = {2, -10};
    study->volume = new qel::SoftwareVolumeTexture(&renderer);
    study->volume->initialize(qel::UInt16, kSize);
    std::vector<qel::uint16> voxels(24);
    for (size_t i = 0; i < voxels.size(); ++i) voxels[i] = static_cast<qel::uint16>(i);
    study->volume->uploadData(0, kSize.z, qel::UInt16, voxels.data());
    study->histogram = {{10, 0, 10, 0, 4}, -10, 90};
    return study;
}

class ViewerPartsTest : public qel::test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        system().setLanguage("en");
        qel::ResourceLocator& resources = *system().getResourceLocator();
        resources.addResourceDirectory(qel::test::sourceDir() + "/resources/res-viewer");
        const qel::SmartPointer<qelwidgets::TextTable> texts(new qelwidgets::TextTable());
        EXPECT_TRUE(texts->load("viewer-texts", "en"));
        resources.addResourceProvider(texts.get());
        renderer = new qel::SoftwareRenderer3D();
        study = makeStudy(*renderer);
    }
    void TearDown() override {
        study = nullptr;
        renderer = nullptr;
        SystemFixture::TearDown();
        qel::Object::discardSingletons(); // the files of fonts
    }

    /// Lets a scene show the study with a material of which all voxels are seen.
    void show(VolumeScene& scene) const {
        scene.setStudy(*study);
        qel::VolumeMaterial material;
        material.setColorCurve({{-10, {1, 0.2f, 0}}, {40, {0, 1, 1}}});
        material.setOpacityCurve({{-10, 0}, {40, 0.1f}});
        scene.setMaterial(material);
    }

    qel::SmartPointer<qel::SoftwareRenderer3D> renderer;
    std::shared_ptr<Study> study;
};

/// Returns what a pane shows.
qel::Image pictureOf(VolumePane& pane, qel::RendererSoftware& renderer, const qel::IVec2<int>& size) {
    const auto picture = qel::makeObject<qel::Image>(qel::BGRA8, size);
    renderer.setRenderTarget(picture.get());
    renderer.start();
    pane.draw(renderer, {0, 0, static_cast<float>(size.x), static_cast<float>(size.y)});
    renderer.stop();
    renderer.setRenderTarget(nullptr);
    return *picture;
}

bool areEqual(const qel::Image& a, const qel::Image& b) {
    return std::equal(a.getBytePointer(), a.getBytePointer() + a.getByteSize(), b.getBytePointer());
}

/// A large pane shows a small picture while it changes, and the exact one some time later.
TEST_F(ViewerPartsTest, ALargeVolumeBecomesExactWhenItSettles) {
    qel::test::addShippedFonts();
    const qel::IVec2<int> size(1000, 800);
    ViewState state;
    state.setStudy(study);
    VolumeScene scene;
    show(scene);
    VolumePane pane(state, scene);
    state.zoom = 0.1f; // few pixels take long
    const qel::SmartPointer<qel::RendererSoftware> flat(new qel::RendererSoftware());
    const qel::Image exact = pictureOf(pane, *flat, size);
    scene.getRenderer()->setProgressive(true);
    state.zoom = 0.15f;
    const qel::Image before = pictureOf(pane, *flat, size);
    EXPECT_TRUE(areEqual(before, exact)) << "only update() takes long";
    EXPECT_TRUE(pane.update(*flat));
    EXPECT_FALSE(pane.update(*flat)) << "not twice between two frames";
    state.zoom = 0.1f;
    EXPECT_FALSE(areEqual(pictureOf(pane, *flat, size), exact));
    for (int i = 0; i < 4; ++i) {
        pane.update(*flat);
        EXPECT_FALSE(areEqual(pictureOf(pane, *flat, size), exact)) << "coarse";
        scene.getRenderer()->waitRefined();
        passAfter(50);
    }
    pane.update(*flat);
    EXPECT_TRUE(areEqual(pictureOf(pane, *flat, size), exact));
    EXPECT_FALSE(pane.update(*flat)) << "nothing is left to draw";
}

/// The frame that shows a coarse picture may be drawn after the last pixels have become known.
TEST_F(ViewerPartsTest, APictureRefinedBeforeItsFrameIsShown) {
    qel::test::addShippedFonts();
    ViewState state;
    state.setStudy(study);
    VolumeScene scene;
    show(scene);
    scene.getRenderer()->setProgressive(true);
    VolumePane pane(state, scene);
    const qel::SmartPointer<qel::RendererSoftware> flat(new qel::RendererSoftware());
    pictureOf(pane, *flat, {100, 80});
    pane.update(*flat);
    scene.getRenderer()->waitRefined();
    int requests = 0;
    system().delegateRequestFrame.connect([&] { ++requests; });
    pictureOf(pane, *flat, {100, 80});
    EXPECT_EQ(requests, 1) << "a coarse picture";
    pane.update(*flat);
    pictureOf(pane, *flat, {100, 80});
    EXPECT_EQ(requests, 1) << "the exact picture";
    EXPECT_TRUE(pane.isExact());
}

/// Returns the number of pixels in a row that are not black.
long countShown(const qel::Image& image, int y) {
    const auto* const row = reinterpret_cast<const qel::uint32*>(image.getBytePointer(y));
    return image.getWidth() - std::count(row, row + image.getWidth(), 0xff000000u);
}

TEST_F(ViewerPartsTest, ALongVolumeIsShownAsAWhole) {
    study->header.orientation.axis[2] = {0, 0, 100};
    ViewState state;
    state.setStudy(study);
    VolumeScene scene;
    scene.setStudy(*study);
    for (const double elevation : {0, 12, -12}) {
        state.setCamera({25, elevation, 1});
        const qel::Image picture = scene.draw(state, {100, 100});
        EXPECT_GT(countShown(picture, 50), 0) << elevation;
        EXPECT_EQ(countShown(picture, 0), 0) << elevation;
        EXPECT_EQ(countShown(picture, 99), 0) << elevation;
    }
}

std::vector<int> pixelsOf(const qel::Image& image) {
    std::vector<int> pixels;
    for (int y = 0; y < image.getHeight(); ++y)
        for (int x = 0; x < image.getWidth(); ++x)
            pixels.push_back(reinterpret_cast<const qel::uint16*>(image.getBytePointer(y))[x]);
    return pixels;
}

TEST_F(ViewerPartsTest, SlicesAreReadInTheDirectionsOfThePane) {
    const SliceFrame axial(*study, Plane::Axial);
    EXPECT_THAT(pixelsOf(sliceImage(*study->volume, axial, axial.sliceOf({0, 0, 1}))),
                ElementsAre(12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23));
    const SliceFrame coronal(*study, Plane::Coronal);
    EXPECT_THAT(pixelsOf(sliceImage(*study->volume, coronal, coronal.sliceOf({0, 0, 0}))),
                ElementsAre(12, 13, 14, 15, 0, 1, 2, 3));
    const SliceFrame sagittal(*study, Plane::Sagittal);
    EXPECT_THAT(pixelsOf(sliceImage(*study->volume, sagittal, sagittal.sliceOf({3, 0, 0}))),
                ElementsAre(15, 19, 23, 3, 7, 11));
}

TEST_F(ViewerPartsTest, DistancesAndAnglesAreThoseOfMillimetres) {
    const Orientation& orientation = study->header.orientation;
    EXPECT_DOUBLE_EQ(distanceMm(orientation, {0, 0, 0}, {3, 0, 0}), 3);
    EXPECT_DOUBLE_EQ(distanceMm(orientation, {0, 0, 0}, {3, 2, 0}), 5);
    EXPECT_NEAR(angleDegrees(orientation, {2, 0, 0}, {0, 0, 0}, {0, 1, 0}), 90, 1e-9);
    EXPECT_NEAR(angleDegrees(orientation, {2, 0, 0}, {0, 0, 0}, {2, 1, 0}), 45, 1e-9);
    EXPECT_TRUE(std::isnan(angleDegrees(orientation, {0, 0, 0}, {0, 0, 0}, {2, 1, 0})));
    const Measurement distance{Measurement::Kind::Distance, Plane::Axial, 0, {{0, 0, 0}, {3, 2, 0}}};
    EXPECT_EQ(distance.getText(orientation), "5.0 mm");
}

TEST_F(ViewerPartsTest, TapsMeasureNothing) {
    ViewState state;
    state.setStudy(study);
    for (const Measurement::Kind kind : {Measurement::Kind::Distance, Measurement::Kind::Angle}) {
        state.beginPoint(kind, Plane::Axial, 0, {1, 1, 0});
        state.endPoint();
        EXPECT_THAT(state.measurements, IsEmpty());
    }
}

TEST_F(ViewerPartsTest, TextsStateValueAndPosition) {
    EXPECT_EQ(positionText(study->header.orientation, {1, 1, 1}), "L 1.0  P 2.0  S 3.0 mm");
    EXPECT_EQ(positionText(study->header.orientation, {-1, -1, -1}), "R 1.0  A 2.0  I 3.0 mm");
    EXPECT_THAT(voxelText(*study, {1.2, 0.9, 1}), AllOf(HasSubstr(" 24 "), HasSubstr("(1, 1, 1)")));
    EXPECT_EQ(voxelText(*study, {-0.6, 0, 0}), "");
    EXPECT_EQ(voxelText(*study, {0, 0, 1.5}), "");
    study->header.orientation.isPatient = false;
    EXPECT_EQ(positionText(study->header.orientation, {-1, 1, 1}), "x -1.0  y 2.0  z 3.0 mm");
}

TEST_F(ViewerPartsTest, TextsOfFilesAreShortAndValid) {
    study->header.path = "/folder/bad\xff.nrrd";
    study->header.lines.assign(1000, {"name", std::string(1 << 16, 'x')});
    const auto rows = headerRows(*study);
    EXPECT_LT(rows.size(), 100u);
    EXPECT_EQ(rows[0].second, qel::String("bad\xff.nrrd").utf8_fix());
    for (const auto& [name, value] : rows) EXPECT_LT(value.size(), 300u) << name;
}

TEST_F(ViewerPartsTest, NumbersAreShort) {
    const std::tuple<double, int, const char*> cases[] = {
        {-0.01, 1, "-0.01"},         {0.00081234, 3, "0.000812"}, {-4.2294e38, 2, "-4.23e+38"},
        {999999999, 2, "999999999"}, {0.126, 2, "0.13"},          {10, 0, "10"}};
    for (const auto& [value, digits, text] : cases) EXPECT_EQ(formatShort(value, digits), text);
    EXPECT_EQ(formatNumber(std::nan(""), 1), "–");
    EXPECT_EQ(formatNumber(-0.01, 1), "0.0");
}

TEST_F(ViewerPartsTest, DragsKeepTheWindowNearTheValues) {
    ViewState state;
    state.setStudy(study);
    state.window = {0, 50};
    state.dragWindow(0.1, -0.1);
    EXPECT_DOUBLE_EQ(state.window.center, 10);
    EXPECT_DOUBLE_EQ(state.window.width, 40);
    state.dragWindow(1e9, -1e9);
    EXPECT_DOUBLE_EQ(state.window.center, 190);
    EXPECT_DOUBLE_EQ(state.window.width, 0.1);
}

TEST_F(ViewerPartsTest, TheCrosshairStaysInTheVolume) {
    ViewState state;
    state.setStudy(study);
    EXPECT_EQ(state.cross, qel::IVec3<double>(2, 2, 1));
    state.moveCross({-3, 1.4, 99});
    EXPECT_EQ(state.cross, qel::IVec3<double>(0, 1, 1));
}

/// Returns the keys of a file of texts.
std::vector<std::string> keysOf(const std::string& language) {
    std::vector<std::string> keys;
    std::istringstream lines(qel::test::sourceText("resources/res-viewer/viewer-texts." + language + ".txt"));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("[viewer-") && !line.starts_with("[viewer-material-") &&
            !line.starts_with("[viewer-problem-"))
            keys.push_back(line);
    return keys;
}

TEST(ViewerTextsTest, EveryTextExistsInBothLanguages) {
    EXPECT_THAT(keysOf("en"), SizeIs(Gt(40u)));
    EXPECT_EQ(keysOf("en"), keysOf("de"));
}

} // namespace
} // namespace qelviewer
