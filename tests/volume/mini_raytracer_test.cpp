#include <tests/support/system_fixture.h>

#include <qel/imaging/pixels/image.h>

#include <vector>

namespace qel {
namespace {

std::vector<uint8> bytesOf(const Image& image) {
    return {image.getBytePointer(), image.getBytePointer() + image.getByteSize()};
}

class MiniRaytracerTest : public test::SystemFixture {
protected:
    /// Returns the bytes of the small picture at a time of the loop.
    std::vector<uint8> pictureAt(uint32 milliseconds) {
        clock.advanceMs(static_cast<int64>(milliseconds - system().getTime()));
        Image image;
        EXPECT_GT(image.synthesize(true), 0u);
        EXPECT_EQ(image.getSize(), IVec2<int>(120, 70));
        EXPECT_EQ(image.getImageFormat(), BGRA8);
        return bytesOf(image);
    }
};

TEST_F(MiniRaytracerTest, ThePictureIsOpaque) {
    const std::vector<uint8> bytes = pictureAt(5000);
    for (size_t i = 3; i < bytes.size(); i += 4) ASSERT_EQ(bytes[i], 255) << i;
}

TEST_F(MiniRaytracerTest, TheLoopRepeatsAfter131072Milliseconds) {
    const std::vector<uint8> first = pictureAt(5000);
    EXPECT_NE(pictureAt(9000), first);
    EXPECT_EQ(pictureAt(5000 + 131072), first);
}

TEST_F(MiniRaytracerTest, TheBytesDoNotDependOnThreads) {
    clock.advanceMs(static_cast<int64>(131072 - system().getTime()));
    Image parallel;
    const unsigned rays = parallel.synthesize(true);
    System::deinitialize(); // without a System, everything runs on the calling thread at time 0
    Image alone;
    EXPECT_EQ(alone.synthesize(true), rays);
    EXPECT_EQ(bytesOf(alone), bytesOf(parallel));
}

} // namespace
} // namespace qel
