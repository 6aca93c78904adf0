// DirectoryResourceProvider: serves the files of a folder as resources.
#pragma once

#include <qel/plugins/resource_provider.h>

namespace qel {

/// Serves the file "base path + name" for the resource @p name. Names are not checked: ".." leaves the
/// folder, so names must not come from an outside source.
/// @threads any thread.
class QEL_API DirectoryResourceProvider : public ResourceProvider {
    QEL_CLASS(DirectoryResourceProvider, ResourceProvider)

public:
    /// Serves the folder @p path; a missing separator at its end is added.
    explicit DirectoryResourceProvider(SmartCStr path);

    bool hasResource(SmartCStr name) override;
    /// Loads the bytes of the file unchanged; a missing file is not an error and is not logged.
    bool loadResource(SmartCStr name, Buffer& buffer) override;
};

} // namespace qel
