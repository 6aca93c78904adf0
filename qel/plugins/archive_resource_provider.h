// ArchiveResourceProvider: serves the files of an archive as resources.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/plugins/resource_provider.h>

namespace qel {

class Archive;

/// Serves the archive's file of the same name for each resource.
/// @threads any thread.
class QEL_API ArchiveResourceProvider : public ResourceProvider {
    QEL_CLASS(ArchiveResourceProvider, ResourceProvider)

public:
    /// Serves @p archive, which must be open; the base path is @p path. @owner takes a reference.
    ArchiveResourceProvider(SmartCStr path, Archive* archive);
    ~ArchiveResourceProvider() override;

    bool hasResource(SmartCStr name) override;
    bool loadResource(SmartCStr name, Buffer& buffer) override;

private:
    SmartPointer<Archive> m_archive;
};

} // namespace qel
