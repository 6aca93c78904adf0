// Finds the translation of a key in the resources.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>

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

} // namespace qel::internal
