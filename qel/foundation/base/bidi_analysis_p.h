// The direction of runs in text that may be written from right to left.
#pragma once

#include <qel/foundation/base/types.h>

#include <span>

namespace qel::internal {

/// The right-to-left runs of a text.
struct TextDirections {
    bool beginsRightToLeft = false; ///< whether the first character belongs to a right-to-left run
    bool holdsRightToLeft = false;  ///< whether there is any right-to-left run
};

/// Applies the Unicode Bidirectional Algorithm (UAX #9) up to the level of each character, without the
/// pairing of brackets (rule N0), which moves the ends of runs but is not needed to find them. Time and
/// memory follow the size of the text, whatever it holds.
TextDirections findDirections(std::span<const uint32> codePoints);

} // namespace qel::internal
