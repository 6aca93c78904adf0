#include <qel/plugins/directory_resource_provider.h>

#include <qel/files/file.h>
#include <qel/foundation/base/buffer.h>

namespace qel {

namespace {

String withSeparator(String path) {
    File::pathEndWithSeparator(path);
    return path;
}

} // namespace

DirectoryResourceProvider::DirectoryResourceProvider(SmartCStr path)
    : ResourceProvider(withSeparator(path)) {}

bool DirectoryResourceProvider::hasResource(SmartCStr name) {
    return File::existsFile(getBasePath() + name.c_str());
}

bool DirectoryResourceProvider::loadResource(SmartCStr name, Buffer& buffer) {
    return buffer.loadFromFile((getBasePath() + name.c_str()).c_str(), true, false);
}

} // namespace qel
