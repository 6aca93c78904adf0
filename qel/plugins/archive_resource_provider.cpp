#include <qel/plugins/archive_resource_provider.h>

#include <qel/files/archive.h>
#include <qel/foundation/base/buffer.h>

namespace qel {

ArchiveResourceProvider::ArchiveResourceProvider(SmartCStr path, Archive* archive)
    : ResourceProvider(path), m_archive(archive) {}

ArchiveResourceProvider::~ArchiveResourceProvider() = default;

bool ArchiveResourceProvider::hasResource(SmartCStr name) {
    return m_archive->hasFile(name);
}

bool ArchiveResourceProvider::loadResource(SmartCStr name, Buffer& buffer) {
    return m_archive->readFile(name, buffer);
}

} // namespace qel
