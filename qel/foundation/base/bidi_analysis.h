// The Unicode Bidirectional Algorithm up to the level of each character.
#pragma once

#include <qel/foundation/base/types.h>

#include <span>

namespace qel::internal {

/// The class of a character, with the names of UAX #9.
enum class BidiClass : uint8 {
    L,   ///< left-to-right
    R,   ///< right-to-left
    AL,  ///< Arabic letter
    EN,  ///< European number
    ES,  ///< European separator
    ET,  ///< European terminator
    AN,  ///< Arabic number
    CS,  ///< common separator
    NSM, ///< mark that does not take up space
    BN,  ///< boundary neutral
    B,   ///< paragraph separator
    S,   ///< segment separator
    WS,  ///< white space
    ON,  ///< other neutral
    LRE, ///< embedding
    LRO, ///< override
    RLE, ///< embedding
    RLO, ///< override
    PDF, ///< end of an embedding or override
    LRI, ///< isolate
    RLI, ///< isolate
    FSI, ///< isolate whose first strong character decides
    PDI, ///< end of an isolate
};

/// How white space is treated at the end. With Reset rule L1 applies: separators, and the white space before
/// them and at the end of a paragraph, have the level of the paragraph.
enum class BidiSpaceRule { Keep, Reset };

/// Applies the algorithm (UAX #9) without the pairing of brackets (rule N0). Odd levels run from right to
/// left. The text is split into paragraphs after class B. A character that rule X9 removes has the level of
/// the one before it. Time and memory follow the size of the text, whatever it holds.
/// @param classes  of the characters; FSI is changed to LRI or RLI.
/// @param levels   receives as many levels as there are classes.
void findBidiLevels(std::span<BidiClass> classes, std::span<uint8> levels, BidiSpaceRule rule);

} // namespace qel::internal
