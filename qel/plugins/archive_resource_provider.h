// Resources that are the files of an archive.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/plugins/resource_provider.h>

namespace qel {

class Archive;

/// Takes the archive's file of the same name for a resource.
/// @threads any thread.
class QEL_API ArchiveResourceProvider : public ResourceProvider {
    QEL_CLASS(ArchiveResourceProvider, ResourceProvider)

public:
    /// Serves @p archive, which is open; the base path is @p path. @owner takes a reference.
    ArchiveResourceProvider(SmartCStr path, Archive* archive);
    ~ArchiveResourceProvider() override;

    bool hasResource(SmartCStr name) override;
    bool loadResource(SmartCStr name, Buffer& buffer) override;

private:
    SmartPointer<Archive> m_archive;
};

} // namespace qel
