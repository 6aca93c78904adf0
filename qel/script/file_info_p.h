// What is known of a file, as scripts see it.
#pragma once

#include <qel/files/file.h>
#include <qel/script/object.h>

namespace qel::internal {

/// A table with a slot for each field of @p info but the name.
qelSq::Object fileInfoTable(const File::FileInfo& info);

} // namespace qel::internal
