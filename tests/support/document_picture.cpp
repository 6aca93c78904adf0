#include <tests/support/document_picture.h>

#include <tests/support/source_dir.h>

#include <qel/imaging/pixels/image.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace qel::test {

namespace {

SmartPointer<Image> withoutAlpha(const Image& image) {
    SmartPointer<Image> result = makeObject<Image>(RGB8, IVec2<int>(image.getWidth(), image.getHeight()));
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            const uint8* const from = image.getBytePointer(y) + 4 * x;
            uint8* const to = result->getBytePointer(y) + 3 * x;
            for (int channel = 0; channel < 3; ++channel) to[channel] = from[2 - channel];
        }
    }
    return result;
}

/// Returns the rows of an image as colours, to be compared one by one.
std::vector<std::string> rowsOf(const Image& image) {
    const int bytes = util::getFormatSizeBits(image.getImageFormat()) / 8;
    std::vector<std::string> rows(static_cast<size_t>(image.getHeight()));
    for (int y = 0; y < image.getHeight(); ++y)
        for (int x = 0; x < image.getWidth(); ++x)
            rows[static_cast<size_t>(y)].append(
                reinterpret_cast<const char*>(image.getBytePointer(y)) + x * bytes, 3);
    return rows;
}

} // namespace

void expectDocumentPicture(const std::string& name, const Image& image) {
    const SmartPointer<Image> drawn = withoutAlpha(image);
    const std::string path = sourceDir() + "/docs/images/" + name + ".png";
    if (std::getenv("QEL_ACCEPT_PICTURES") != nullptr) {
        EXPECT_TRUE(drawn->saveTo(path.c_str())) << path;
    }
    Image expected;
    ASSERT_TRUE(expected.loadFromFile(path.c_str())) << path;
    if (rowsOf(expected) == rowsOf(*drawn)) return;
    std::string ours = "document-" + name + ".png";
    std::replace(ours.begin(), ours.end(), '/', '-');
    ours.insert(0, ::testing::TempDir());
    drawn->saveTo(ours.c_str());
    ADD_FAILURE() << path << " is another picture than " << ours;
}

} // namespace qel::test
