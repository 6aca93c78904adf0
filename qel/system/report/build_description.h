// Reads the description of a build.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel::internal {

/// What a source-control description of a build tells: the version and, joined by '-', the kind of release,
/// the number of commits since it, 'g' and a short hash, and "dirty" for changed sources.
struct BuildDescription {
    String version;          ///< the version as people read it
    bool isDirty = false;    ///< built from changed sources
    bool isRelease = false;  ///< a release, CE or not
    bool isCE = false;       ///< a CE release
    bool isResearch = false; ///< a research release
};

/// Reads @p description. Pieces beyond the known ones are ignored; nothing fails.
/// @threads any thread.
QEL_API BuildDescription parseBuildDescription(SmartCStr description);

} // namespace qel::internal
