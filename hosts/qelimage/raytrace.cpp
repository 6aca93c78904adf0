#include "commands.h"
#include "output.h"
#include "traced_picture.h"

namespace qelimage {

int traceRays(const Options& options) {
    const std::string& out = options.arguments[1];
    const auto encoding = findEncoding(out);
    if (!encoding) return kTrouble;
    return savePicture(tracePicture(!options.large), out, *encoding);
}

} // namespace qelimage
