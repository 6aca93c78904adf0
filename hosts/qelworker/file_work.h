// What a worker can do with a file.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/store/core/item.h>

#include <functional>

namespace qelworker {

/// Told of bytes that were worked off. @return false when the work is to end.
using Advance = std::function<bool(qel::uint64 bytes)>;

/// Does one thing with one file.
/// @param path    an existing file.
/// @param mark    becomes part of the name of what is unfinished; no other job that may run has the same.
/// @param fields  receives names and values for the result.
/// @return why it could not be done, or was not to be ended; empty when it was done.
using FileWork = qel::String (*)(const qel::String& path, const qel::String& mark, const Advance& advance,
                                 qel::Item& fields);

/// The work of a kind of job; null for one that is not known.
FileWork workOfKind(const qel::String& kind);

} // namespace qelworker
