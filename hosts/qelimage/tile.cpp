#include "tile.h"

#include "input_file.h"
#include "pixels.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace qelimage {

namespace {

/// Returns @p length, reduced in the proportion that makes @p longest as long as a thumbnail.
int reduced(int length, int longest) {
    return std::max(1, static_cast<int>(qel::int64{length} * kThumbnailSide / longest));
}

/// Reduces a picture to a thumbnail, unless it is small. @return false if there is no memory.
bool reduce(qel::Image& image) {
    const int longest = std::max(image.getWidth(), image.getHeight());
    if (longest <= kThumbnailSide) return true;
    return resizePicture(image, {reduced(image.getWidth(), longest), reduced(image.getHeight(), longest)});
}

void readFile(Tile& tile, const std::string& path) {
    InputFile file;
    tile.problem = file.open(path, InputFile::Special::Refuse);
    if (!tile.problem.empty()) return;
    tile.type = file.getType();
    tile.bytes = file.getSize();
    if (!file.isPicture()) return;
    qel::Image picture;
    if (file.decode(picture)) tile.size = picture.getSize();
    if (picture && reduce(picture)) {
        tile.thumbnail = std::move(picture);
    } else {
        tile.problem = "cannot decode " + nameOfInput(path);
    }
}

} // namespace

Tile makeTile(const std::string& folder, const std::string& name) {
    Tile tile;
    tile.name = name;
    try {
        readFile(tile, folder + name);
    } catch (const std::exception& error) { // no memory
        tile.problem = "cannot read " + nameOfInput(folder + name) + ": " + error.what();
    }
    return tile;
}

} // namespace qelimage
