#include "commands.h"
#include "output.h"
#include "sample_pictures.h"

#include <qel/files/directory.h>

namespace qelimage {

int writeSamples(const Options& options) {
    const std::string folder = options.arguments[1];
    if (!qel::Directory::createDirectoryRecursively(folder)) return kTrouble;
    for (const SamplePicture& sample : samplePictures()) {
        const std::string path = folder + "/" + sample.name;
        const auto encoding = findEncoding(path);
        const int status = encoding ? savePicture(sample.draw(), path, *encoding) : kTrouble;
        if (status != 0) return status;
    }
    return 0;
}

} // namespace qelimage
