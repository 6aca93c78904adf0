// The bidirectional class of a character.
#pragma once

#include <qel/foundation/base/bidi_analysis.h>
#include <qel/foundation/base/types.h>

namespace qel::internal {

/// Returns the class of @p codePoint in the Unicode Character Database, but ON for the controls of isolates,
/// which texts do not honour.
BidiClass bidiClassOf(uint32 codePoint);

/// Returns true if a text that holds @p codePoint may have characters that run from right to left: for all
/// characters of the classes R, AL, AN, RLE and RLO, and for some others near them.
constexpr bool mayTurnRightToLeft(uint32 codePoint) {
    const auto isIn = [codePoint](uint32 first, uint32 last) { return codePoint - first <= last - first; };
    if (codePoint < 0x590) return false;
    return isIn(0x590, 0x8FF) || isIn(0x200F, 0x202E) || isIn(0xFB1D, 0xFEFF) || isIn(0x10800, 0x10FFF) ||
           isIn(0x1E800, 0x1EFFF);
}

} // namespace qel::internal
