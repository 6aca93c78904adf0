#include <tests/support/picture_test.h>

#include <tests/support/source_dir.h>

#include <qel/imaging/pixels/image.h>
#include <qel/testing/drawing.h>
#include <qel/testing/simd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

namespace qel::test {

namespace {

constexpr int kMagnification = 4;

// --- lists of hashes ------------------------------------------------------------------------------------

using Hashes = std::map<std::string, std::string>;

Hashes readList(const std::string& path) {
    Hashes hashes;
    std::ifstream in(path);
    for (std::string name, hash; in >> name >> hash;) hashes[name] = hash;
    return hashes;
}

void accept(const std::string& path, const std::string& name, const std::string& hash) {
    Hashes hashes = readList(path);
    hashes[name] = hash;
    std::ofstream out(path, std::ios::trunc);
    for (const auto& [key, value] : hashes) out << key << " " << value << "\n";
}

// --- frames ---------------------------------------------------------------------------------------------

SmartPointer<Image> drawFrame(const Picture& picture, seams::DrawingMode mode) {
    SmartPointer<Image> image = makeObject<Image>(picture.format, picture.size);
    std::memset(image->getBytePointer(), 0, image->getByteSize());
    seams::setDrawingMode(mode);
    {
        RendererSoftware renderer;
        renderer.setRenderTarget(image.get());
        renderer.start();
        picture.draw(renderer);
        renderer.stop();
    }
    seams::setDrawingMode(seams::DrawingMode::Default);
    return image;
}

bool isEqual(const Image& a, const Image& b) {
    return std::memcmp(a.getBytePointer(), b.getBytePointer(), a.getByteSize()) == 0;
}

/// Returns an image that is white where a byte of the two differs.
SmartPointer<Image> difference(const Image& a, const Image& b) {
    SmartPointer<Image> result = makeObject<Image>(a);
    uint8* const p = result->getBytePointer();
    for (size_t i = 0; i < result->getByteSize(); ++i)
        p[i] = a.getBytePointer()[i] == b.getBytePointer()[i] ? 0 : 255;
    return result;
}

// --- files ----------------------------------------------------------------------------------------------

/// Returns the three colours of a pixel in BGRA8 or grey; of 16 bits the higher ones.
IVec3<uint8> rgbAt(const Image& image, int x, int y) {
    const int bytes = util::getFormatSizeBits(image.getImageFormat()) / 8;
    const uint8* const p = image.getBytePointer(y) + x * bytes;
    if (bytes == 4) return {p[2], p[1], p[0]};
    return {p[bytes - 1], p[bytes - 1], p[bytes - 1]};
}

/// Returns a folder for the files of this run; they stay.
const std::string& evidenceFolder() {
    static const std::string folder = [] {
        const auto name = "qel-pictures-" + std::to_string(std::random_device()());
        const std::filesystem::path path = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directories(path);
        return path.string();
    }();
    return folder;
}

/// Writes an enlarged picture without its alpha. @return its path.
std::string writePng(const Image& image, const std::string& name) {
    Image large(RGB8, {image.getWidth() * kMagnification, image.getHeight() * kMagnification});
    for (int y = 0; y < large.getHeight(); ++y)
        for (int x = 0; x < large.getWidth(); ++x) {
            const IVec3<uint8> rgb = rgbAt(image, x / kMagnification, y / kMagnification);
            std::copy_n(&rgb.x, 3, large.getBytePointer(y) + 3 * x);
        }
    const std::string path = evidenceFolder() + "/" + name + ".png";
    return large.saveTo(path.c_str()) ? path : path + " (could not be written)";
}

void expectEqual(const std::string& name, const Image& ours, const Image& expected) {
    if (isEqual(ours, expected)) return;
    ADD_FAILURE() << name << " differs from what the plain functions draw:\n"
                  << writePng(ours, name + ".ours") << "\n"
                  << writePng(expected, name + ".expected") << "\n"
                  << writePng(*difference(ours, expected), name + ".difference");
}

} // namespace

std::string pictureHash(const Image& image) {
    uint64 hash = 14695981039346656037u;
    const auto add = [&hash](const void* data, size_t size) {
        for (size_t i = 0; i < size; ++i) hash = (hash ^ static_cast<const uint8*>(data)[i]) * 1099511628211u;
    };
    const int header[] = {image.getImageFormat(), image.getWidth(), image.getHeight()};
    add(header, sizeof header);
    add(image.getBytePointer(), image.getByteSize());
    std::string text;
    for (int shift = 60; shift >= 0; shift -= 4) text += "0123456789abcdef"[hash >> shift & 15];
    return text;
}

void expectPicture(const char* list, const Picture& picture) {
    const SmartPointer<Image> expected = drawFrame(picture, seams::DrawingMode::Plain);
    for (const std::string& target : seams::simdTargets()) {
        seams::setSimdTarget(target);
        expectEqual(picture.name + "." + target + ".inline", //
                    *drawFrame(picture, seams::DrawingMode::Inline), *expected);
        expectEqual(picture.name + "." + target + ".banded", //
                    *drawFrame(picture, seams::DrawingMode::Banded), *expected);
    }
    seams::setSimdTarget("");
    expectImage(list, picture.name, *expected);
}

void expectFrame(const char* list, const std::string& name, const IVec2<int>& size,
                 const std::function<void(RendererSoftware&)>& draw) {
    expectPicture(list, {name, size, BGRA8, [&draw](RendererSoftware& r) {
                             r.clear({0.1f, 0.15f, 0.25f, 1});
                             draw(r);
                         }});
}

void expectImage(const char* list, const std::string& name, const Image& image) {
    const std::string path = sourceDir() + "/" + list;
    const std::string hash = pictureHash(image);
    if (std::getenv("QEL_ACCEPT_PICTURES") != nullptr) return accept(path, name, hash);
    const Hashes hashes = readList(path);
    const auto found = hashes.find(name);
    if (found != hashes.end() && found->second == hash) return;
    ADD_FAILURE() << name << " has the hash " << hash << ", and " << list << " states "
                  << (found == hashes.end() ? "none" : found->second) << ":\n"
                  << writePng(image, name) << "\nLook at it, then run tools/accept_pictures.";
}

} // namespace qel::test
