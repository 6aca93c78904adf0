#include "commands.h"
#include "input_file.h"
#include "output.h"
#include "pixels.h"

#include <hosts/shared/standard_output.h>

namespace qelimage {

namespace {

/// Returns "PNG, 640 x 480 pixels, RGBA8, opaque" for a picture, or the type of another file.
/// @return empty if the picture cannot be decoded.
std::string describeContent(const InputFile& file) {
    if (!file.isPicture()) return file.getType().empty() ? "unknown type" : std::string(file.getType());
    qel::Image image;
    if (!decodePicture(image, file)) return {};
    const std::string size = std::to_string(image.getWidth()) + " x " + std::to_string(image.getHeight());
    const std::string format = image.getImageFormat() == qel::RGBA8 ? "RGBA8" : "RGB8";
    return std::string(file.getType()) + ", " + size + " pixels, " + format +
           (isOpaque(image) ? ", opaque" : ", transparent parts");
}

bool showFile(const std::string& path) {
    InputFile file;
    const std::string problem = file.open(path);
    const std::string content = problem.empty() ? describeContent(file) : std::string();
    if (!content.empty()) {
        qelhosts::print(printable(path) + ": " + content + ", " + std::to_string(file.getSize()) +
                        " bytes\n");
        return true;
    }
    complain(problem.empty() ? "cannot decode " + nameOfInput(path) : problem);
    return false;
}

} // namespace

int showInfo(const Options& options) {
    bool hasWorked = true;
    for (size_t i = 1; i < options.arguments.size(); ++i)
        hasWorked = showFile(options.arguments[i]) && hasWorked;
    return hasWorked ? 0 : kTrouble;
}

} // namespace qelimage
