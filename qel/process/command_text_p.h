// Command lines as people read them in logs.
#pragma once

#include <qel/foundation/base/string.h>

namespace qel::internal {

/// The arguments, without the blanks around them, joined by blanks. One that holds a blank is put in double
/// quotes unless it begins with one. For reading only: it can't be cut into arguments again.
template <typename Texts>
String commandText(const Texts& arguments) {
    String text;
    const char* separator = "";
    for (const auto& argument : arguments) {
        const String trimmed = String(argument).trim_spaces();
        const bool isQuoted = trimmed.contains(' ') && !trimmed.begins_with('"');
        text += separator;
        text += isQuoted ? "\"" + trimmed + "\"" : trimmed;
        separator = " ";
    }
    return text;
}

} // namespace qel::internal
