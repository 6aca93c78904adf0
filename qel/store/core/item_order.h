// An order-preserving byte form of keys, for stores that order their keys by bytes.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/platform/api.h>

#include <string>

namespace qel {

class Item;

namespace internal {

/// Appends the ordered form of @p key to @p out, which need not be empty.
///
/// For keys without Wildcard and NaN, the forms compared as unsigned bytes (std::memcmp over the shorter
/// size, then the shorter first) have the sign of Item::compare() of the keys. So equal keys have equal
/// forms, also when their integers differ in width or a zero in its sign; and where a key is the beginning of
/// another, as whole elements, its form is the beginning of the other's. This covers all that compare() does:
/// bytes behind the last valid element, nested lists and their depth limit, Meta, End and Referee. The form
/// can't be turned back into a key, since it does not tell widths.
///
/// All NaNs have one form, behind that of infinity and before all that is no Float; compare() takes a NaN as
/// equal to every Float, which is no order. A key with a Wildcard, at any level, has no form.
/// @return false for a key with a Wildcard: what has been appended is then the form of all that stands before
///         it, with which begins the form of every key that is equal to this one.
/// @threads any thread.
QEL_API bool appendOrderedBytes(const Item& key, std::string& out);
/// @copydoc appendOrderedBytes(const Item&, std::string&)
QEL_API bool appendOrderedBytes(ConstByteSpan key, std::string& out);

} // namespace internal
} // namespace qel
