// Resources that are the files of a folder.
#pragma once

#include <qel/plugins/resource_provider.h>

namespace qel {

/// Takes the file "base path + name" for the resource @p name. Names are not checked: ".." leads out of the
/// folder, so names must not come from outside.
/// @threads any thread.
class QEL_API DirectoryResourceProvider : public ResourceProvider {
    QEL_CLASS(DirectoryResourceProvider, ResourceProvider)

public:
    /// Serves the folder @p path; a separator is added at its end when missing.
    explicit DirectoryResourceProvider(SmartCStr path);

    bool hasResource(SmartCStr name) override;
    /// Loads the bytes as stored; a missing file is no error and is not logged.
    bool loadResource(SmartCStr name, Buffer& buffer) override;
};

} // namespace qel
