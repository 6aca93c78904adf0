#include <qel/plugins/json.h>

namespace qel::util {

namespace {

// Counts brackets outside of strings; the parser checks that they match.
bool isTooDeep(std::string_view text) {
    int depth = 0;
    bool inString = false;
    for (size_t i = 0; i < text.size(); i++) {
        const char c = text[i];
        if (inString && c == '\\') i++;
        if (c == '"') inString = !inString;
        if (inString) continue;
        if (c == '[' || c == '{') depth++;
        if (c == ']' || c == '}') depth--;
        if (depth > kMaximumJSONDepth) return true;
    }
    return false;
}

} // namespace

bool parseJSON(std::string_view text, nlohmann::json& result) {
    result = nullptr;
    if (isTooDeep(text)) return false;
    nlohmann::json parsed = nlohmann::json::parse(text, nullptr, false);
    if (parsed.is_discarded()) return false;
    result = std::move(parsed);
    return true;
}

} // namespace qel::util
