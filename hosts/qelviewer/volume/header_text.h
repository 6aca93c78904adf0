// Parts of the text of a header.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>

#include <optional>
#include <string>
#include <string_view>

namespace qelviewer {

/// Returns @p text without spaces and tabs at both ends.
std::string_view trimmed(std::string_view text);
/// Returns @p text with the letters A to Z in lower case.
std::string lowerCase(std::string_view text);
/// Returns the words between runs of spaces and tabs.
qel::Vector<std::string_view> words(std::string_view text);
/// Reads a whole number. @return nothing for anything else, and for a number beyond 64 bits.
std::optional<qel::int64> wholeNumber(std::string_view text);
/// Reads a number with a decimal point under every locale; also "nan" and "inf".
std::optional<double> realNumber(std::string_view text);
/// Reads @p count vectors such as "(1,0,0) (0,1,0)", with spaces anywhere. @return nothing for other texts.
std::optional<qel::Vector<qel::IVec3<double>>> vectors(std::string_view text, size_t count);
/// Returns the texts between pairs of quotation marks.
qel::Vector<std::string_view> quotedTexts(std::string_view text);
/// Returns how many millimetres a unit of length has; 1 for an unknown one.
double millimetres(std::string_view unit);
/// Returns the first 1,000 of @p bytes as valid UTF-8 without control characters.
std::string displayText(std::string_view bytes);
/// Returns the shortest text from which the same number is read.
std::string numberText(double number);
/// Returns the shortest text from which the same number is read.
std::string numberText(float number);

} // namespace qelviewer
