#include "json_rpc_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>

namespace qelserver {

namespace {

constexpr std::string_view kSpaces = " \t\r\n";

void skipSpaces(std::string_view& text) {
    const std::size_t begin = text.find_first_not_of(kSpaces);
    text.remove_prefix(begin == text.npos ? text.size() : begin);
}

/// Returns the size of the quoted string at the beginning of @p text.
std::size_t quotedSize(std::string_view text) {
    std::size_t end = 1;
    while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
    return std::min(end + 1, text.size());
}

std::size_t containerSize(std::string_view text) {
    int depth = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '"') at += quotedSize(text.substr(at)) - 1;
        if (c == '[' || c == '{') ++depth;
        if ((c == ']' || c == '}') && --depth == 0) return at + 1;
    }
    return text.size();
}

std::size_t valueSize(std::string_view text) {
    if (text.starts_with('"')) return quotedSize(text);
    if (text.starts_with('[') || text.starts_with('{')) return containerSize(text);
    return std::min(text.find_first_of(" \t\r\n,]}"), text.size());
}

std::string_view takeValue(std::string_view& text) {
    skipSpaces(text);
    const std::string_view value = text.substr(0, valueSize(text));
    text.remove_prefix(value.size());
    skipSpaces(text);
    return value;
}

/// Skips the bracket that opens a container. @return true if the container is not empty.
bool enter(std::string_view& text, char bracket) {
    skipSpaces(text);
    if (!text.starts_with(bracket)) return false;
    text.remove_prefix(1);
    skipSpaces(text);
    return !text.starts_with(']') && !text.starts_with('}');
}

/// Skips @p separator. @return false if the text does not begin with it.
bool skip(std::string_view& text, char separator) {
    if (!text.starts_with(separator)) return false;
    text.remove_prefix(1);
    return true;
}

bool isKey(std::string_view quoted, std::string_view name) {
    if (quoted.find('\\') == quoted.npos) return quoted.substr(1, quoted.size() - 2) == name;
    return nlohmann::json::parse(quoted).get<std::string>() == name;
}

} // namespace

std::vector<std::string_view> elementsOfArray(std::string_view array, std::size_t most) {
    std::vector<std::string_view> elements;
    if (!enter(array, '[')) return elements;
    while (elements.size() < most) {
        elements.push_back(takeValue(array));
        if (!skip(array, ',')) break;
    }
    return elements;
}

std::optional<std::string_view> memberOfObject(std::string_view object, std::string_view name) {
    std::optional<std::string_view> found;
    if (!enter(object, '{')) return found;
    do {
        const std::string_view key = takeValue(object);
        skip(object, ':');
        const std::string_view value = takeValue(object);
        if (isKey(key, name)) found = value;
    } while (skip(object, ','));
    return found;
}

} // namespace qelserver
