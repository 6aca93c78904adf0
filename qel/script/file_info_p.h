// The information about a file that scripts receive.
#pragma once

#include <qel/files/file.h>
#include <qel/script/object.h>

namespace qel::internal {

/// Returns a table with a slot for each field of @p info except the name.
qelSq::Object fileInfoTable(const File::FileInfo& info);

} // namespace qel::internal
