// Finding the text of a key in the resources.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>

#include <cstddef>

namespace qel::internal {

/// Which resource a text came from.
enum class TranslationSource {
    Language, ///< "tr-KEY.LANGUAGE.txt"
    English,  ///< "tr-KEY.en.txt"
    Neutral,  ///< "tr-KEY.txt"
    None,     ///< there is no text
};

/// Sets @p text to the content of the first of the resources that exists, else to "NOTR:" and the key.
/// @threads any thread; takes no lock of its own.
TranslationSource findTranslation(SmartCStr language, SmartCStr key, String& text);
/// Logs the warning that belongs to a source, if any.
void warnOfMissingTranslation(TranslationSource source, SmartCStr language, SmartCStr key);

/// How many pieces String::applyTrOnlyControlCodes() replaces, and how many bytes it puts in, before it stops
/// with what it has: an end for translations that hold each other over and over.
inline constexpr std::size_t kMaximumTranslatedPieces = std::size_t(1) << 20;
inline constexpr std::size_t kMaximumTranslatedBytes = std::size_t(64) << 20;

} // namespace qel::internal
