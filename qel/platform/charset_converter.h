// Conversion of text between the encodings that the system knows.
#pragma once

#include <qel/platform/api.h>

#include <string>
#include <string_view>

namespace qel::platform {

/// How a conversion ended.
enum class CharsetResult {
    Done,               ///< All of the text was converted.
    UnknownEncoding,    ///< The system has no conversion between the two encodings.
    BadCharacter,       ///< Bytes that are no character, or a character that the target lacks.
    IncompleteCharacter ///< The text ends within a character.
};

/// Converts @p text from one encoding to another.
/// @param from, to  names as the IANA registry has them, such as "UTF-8" or "ISO-8859-5".
/// @param out       receives what could be converted before the end or the first failure.
/// @threads any thread. Independent of the process locale.
QEL_API CharsetResult convertCharset(const char* from, const char* to, std::string_view text,
                                     std::string& out);

} // namespace qel::platform
