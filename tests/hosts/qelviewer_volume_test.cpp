#include <hosts/qelviewer/volume/histogram.h>
#include <hosts/qelviewer/volume/orientation.h>
#include <hosts/qelviewer/volume/phantom.h>
#include <hosts/qelviewer/volume/volume_file.h>

#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <qel/software3d/software_renderer_3d.h>
#include <qel/software3d/software_volume_texture.h>
#include <qel/volume/volume_loader.h>

namespace qelviewer {
namespace {

using namespace qel;

TEST(Orientation, LettersNameTheSidesOfADirection) {
    EXPECT_EQ(directionLetters({1, 0, 0}), "L");
    EXPECT_EQ(directionLetters({-2, 0, 0}), "R");
    EXPECT_EQ(directionLetters({0, 1, 0}), "P");
    EXPECT_EQ(directionLetters({0, -1, 0}), "A");
    EXPECT_EQ(directionLetters({0, 0, 1}), "S");
    EXPECT_EQ(directionLetters({0, 0, -1}), "I");
    EXPECT_EQ(directionLetters({-1, -2, 0.1}), "AR");
    EXPECT_EQ(directionLetters({0, 0, 0}), "");
}

class PhantomTest : public test::SystemFixture {};

TEST_F(PhantomTest, HasTheValuesOfTheTable) {
    test::LogCapture log;
    const test::ScratchFolder folder;
    LoadProgress progress;
    ASSERT_EQ(writePhantom(folder.path("head.nrrd"), 64, progress), "");
    EXPECT_EQ(progress.share, 1);
    const SmartPointer<SoftwareRenderer3D> renderer(new SoftwareRenderer3D);
    VolumeLoader loader(renderer.get());
    VolumeHeader header;
    ASSERT_EQ(loadVolume(folder.path("head.nrrd"), loader, header, progress), "");
    log.expect(1, "nrrd Reader complete");
    const auto& volume = static_cast<const SoftwareVolumeTexture&>(*loader.getScalarTexture());
    EXPECT_EQ(valueAt(volume, header.scaleBias, {0, 0, 0}), -1000);
    EXPECT_EQ(valueAt(volume, header.scaleBias, {32, 32, 32}), -600);
}

} // namespace
} // namespace qelviewer
