// What a worker can do with a file.
#pragma once

#include "job_file.h"

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/store/core/item.h>

#include <functional>

namespace qelworker {

/// Is called with the number of bytes that were processed. @return false if the work must end.
using Advance = std::function<bool(qel::uint64 bytes)>;

/// Does one thing with one file.
/// @param path    the name of @p file, for results.
/// @param fields  receives names and values for the result.
/// @return why it could not be done or had to end; empty if it was done.
using FileWork = qel::String (*)(const qel::String& path, JobFile& file, const Advance& advance,
                                 qel::Item& fields);

/// The work of a kind of job; null for a kind that does not exist.
FileWork workOfKind(const qel::String& kind);

} // namespace qelworker
