// Paths that do not depend on the working folder.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>

namespace qel::internal {

/// Returns @p path as an absolute path; a relative one starts at the current working folder. Links and ".."
/// are not resolved, and the path need not exist.
String absolutePath(SmartCStr path);

} // namespace qel::internal
