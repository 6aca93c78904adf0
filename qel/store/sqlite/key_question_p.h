// Keys that may equal several others.
#pragma once

#include <qel/store/core/item.h>

#include <limits>

namespace qel::internal {

inline constexpr size_t kNoQuestion = std::numeric_limits<size_t>::max();

/// Size of the elements of @p key that stand before the first with a Wildcard or a NaN in it, at any level;
/// kNoQuestion for a key without. All keys equal to @p key begin with these elements.
size_t sizeBeforeQuestion(const Item& key);

} // namespace qel::internal
