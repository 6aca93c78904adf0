// Replaces files as a whole, so that a failure leaves the earlier content.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/file_system.h>

namespace qel::internal {

/// Writes a file. The content is on disk before the file is renamed to its place; whatever fails, an earlier
/// file of that name is unchanged. A link of that name is replaced itself.
/// @param permissions  the permission bits of the file.
/// @errors nothing is logged.
platform::FileError tryReplaceFile(SmartCStr path, ConstByteSpan content, uint32 permissions);

/// Writes a file that everybody may read and its owner may write, as tryReplaceFile() does.
/// @return true on success.
/// @errors logged.
bool replaceFile(SmartCStr path, ConstByteSpan content);

} // namespace qel::internal
