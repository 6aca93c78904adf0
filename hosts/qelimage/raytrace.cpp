#include "commands.h"
#include "output.h"

namespace qelimage {

int traceRays(const Options& options) {
    const std::string& out = options.arguments[1];
    const auto encoding = findEncoding(out);
    if (!encoding) return kTrouble;
    qel::Image image;
    image.synthesize(!options.large);
    return savePicture(image, out, *encoding);
}

} // namespace qelimage
