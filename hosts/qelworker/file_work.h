// FileWork: the kinds of work that a worker can do with a file.
#pragma once

#include "job_file.h"

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/store/core/item.h>

#include <functional>

namespace qelworker {

/// Reports that @p bytes more bytes were processed. @return false if the work must stop.
using Advance = std::function<bool(qel::uint64 bytes)>;

/// Processes one file.
/// @param path    the path of @p file, for results and errors.
/// @param fields  receives alternating names and values for the result.
/// @return why the work failed or stopped; empty if it was done.
using FileWork = qel::String (*)(const qel::String& path, JobFile& file, const Advance& advance,
                                 qel::Item& fields);

/// Returns the work for jobs of @p kind; null if the kind does not exist.
FileWork workOfKind(const qel::String& kind);

} // namespace qelworker
