// Finds the translation of a key in the resources.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>

#include <cstddef>

namespace qel::internal {

/// The resource that contains a translation.
enum class TranslationSource {
    Language, ///< "tr-KEY.LANGUAGE.txt"
    English,  ///< "tr-KEY.en.txt"
    Neutral,  ///< "tr-KEY.txt"
    None,     ///< there is no translation
};

/// Sets @p text to the content of the first of these resources that exists, otherwise to "NOTR:" and the key.
/// @threads any thread; takes no lock of its own.
TranslationSource findTranslation(SmartCStr language, SmartCStr key, String& text);
/// Logs the warning for a translation from @p source, if that is due.
void warnOfMissingTranslation(TranslationSource source, SmartCStr language, SmartCStr key);

/// The number of pieces that String::applyTrOnlyControlCodes() replaces, and of bytes that it inserts, before
/// it stops with what it has. The limits end translations that contain each other endlessly.
inline constexpr std::size_t kMaximumTranslatedPieces = std::size_t(1) << 20;
inline constexpr std::size_t kMaximumTranslatedBytes = std::size_t(64) << 20;

} // namespace qel::internal
