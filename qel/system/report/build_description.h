// Parses the description of a build.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel::internal {

/// The content of a build's source-control description: the version, followed by these parts, each after a
/// '-': the kind of release, the number of commits since it, 'g' and a short hash, and "dirty" for changed
/// sources.
struct BuildDescription {
    String version;          ///< the version as shown to users
    bool isDirty = false;    ///< built from changed sources
    bool isRelease = false;  ///< a release, CE or not
    bool isCE = false;       ///< a CE release
    bool isResearch = false; ///< a research release
};

/// Parses @p description. Unknown parts are ignored; it never fails.
/// @threads any thread.
QEL_API BuildDescription parseBuildDescription(SmartCStr description);

} // namespace qel::internal
