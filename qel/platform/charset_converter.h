// Conversion of text between character encodings.
#pragma once

#include <qel/platform/api.h>

#include <string>
#include <string_view>

namespace qel::platform {

/// The result of a conversion.
enum class CharsetResult {
    Done,               ///< All of the text was converted.
    UnknownEncoding,    ///< The system has no conversion between the two encodings.
    BadCharacter,       ///< The text has bytes that are not a character, or one that the target lacks.
    IncompleteCharacter ///< The text ends within a character.
};

/// Converts @p text from one encoding to another.
/// @param from, to  names as registered with IANA, such as "UTF-8" or "ISO-8859-5".
/// @param out    receives the text converted up to the end or to the first failure.
/// @threads any thread. The process locale has no effect.
QEL_API CharsetResult convertCharset(const char* from, const char* to, std::string_view text,
                                     std::string& out);

} // namespace qel::platform
