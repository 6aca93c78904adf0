// Paths that mean the same for whoever reads them later.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>

namespace qel::internal {

/// @p path from the root folder on; a relative one counts from the working folder of now. No link and no ".."
/// is resolved, and nothing needs to exist.
String absolutePath(SmartCStr path);

} // namespace qel::internal
