// Command lines as text for logs.
#pragma once

#include <qel/foundation/base/string.h>

namespace qel::internal {

/// Returns the arguments without leading and trailing spaces, joined by spaces. An argument that contains a
/// space is enclosed in double quotes unless it begins with one. The text can't be split into arguments
/// again.
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
