// Numbers in the header of a volume.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/string.h>

namespace qel::internal {

/// Returns the whole number at the start of @p text, under any locale.
/// @errors std::invalid_argument("invalid stoi argument") and std::out_of_range("stoi argument out of
/// range").
int toInteger(const String& text);
/// Returns the number at the start of @p text, under any locale; the nearest float if it is too small.
/// @errors std::invalid_argument("invalid stof argument") and std::out_of_range("stof argument out of
/// range").
float toFloat(const String& text);
/// Reads up to three numbers, such as "(1,0,0)", whose first character does not count, into @p vector.
/// Components without a number are unchanged. @errors as toFloat(); the components before are set.
void readVector(const String& text, IVec3<float>& vector);

/// How spaces between parentheses are treated.
enum class Parentheses { Ignore, Group };
/// Returns the pieces between runs of spaces. @param parentheses  Group keeps "(1, 0, 0)" together.
Vector<String> splitAtSpaces(const String& text, Parentheses parentheses);

} // namespace qel::internal
