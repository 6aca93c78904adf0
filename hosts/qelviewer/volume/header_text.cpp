#include <hosts/qelviewer/volume/header_text.h>

#include <qel/foundation/base/string.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <system_error>
#include <utility>

namespace qelviewer {
namespace {

constexpr std::string_view kSpaces = " \t";
constexpr size_t kMostDisplayed = 1000;

/// Reads a number that is the whole text.
template <typename Number>
std::optional<Number> parse(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

template <typename Number>
std::string shortestText(Number number) {
    char text[32];
    return {text, std::to_chars(std::begin(text), std::end(text), number).ptr};
}

/// Removes everything up to @p mark. @return false, with an empty text, if it does not occur.
bool removeThrough(std::string_view& text, char mark) {
    const size_t at = text.find(mark);
    text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
    return at != std::string_view::npos;
}

/// Removes the text before @p mark, and the mark, from @p text. @return the text before; nothing without one.
std::optional<std::string_view> takeUntil(std::string_view& text, char mark) {
    std::string_view rest = text;
    if (!removeThrough(rest, mark)) return {};
    const std::string_view taken = text.substr(0, text.size() - rest.size() - 1);
    text = rest;
    return taken;
}

/// Removes a vector from the start of @p text.
std::optional<qel::IVec3<double>> takeVector(std::string_view& text) {
    text = trimmed(text);
    if (!text.starts_with('(')) return {};
    text.remove_prefix(1);
    qel::IVec3<double> vector;
    for (int i = 0; i < 3; ++i) {
        const auto component = takeUntil(text, i < 2 ? ',' : ')');
        const auto number = component ? realNumber(trimmed(*component)) : std::nullopt;
        if (!number) return {};
        vector[i] = *number;
    }
    return vector;
}

} // namespace

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(kSpaces);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kSpaces) + 1 - begin);
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

qel::Vector<std::string_view> words(std::string_view text) {
    qel::Vector<std::string_view> found;
    for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
        const std::string_view word = text.substr(0, text.find_first_of(kSpaces));
        found.push_back(word);
        text.remove_prefix(word.size());
    }
    return found;
}

std::optional<qel::int64> wholeNumber(std::string_view text) {
    return parse<qel::int64>(text);
}

std::optional<double> realNumber(std::string_view text) {
    return parse<double>(text);
}

std::optional<qel::Vector<qel::IVec3<double>>> vectors(std::string_view text, size_t count) {
    qel::Vector<qel::IVec3<double>> found;
    while (found.size() < count) {
        const auto vector = takeVector(text);
        if (!vector) return {};
        found.push_back(*vector);
    }
    if (!trimmed(text).empty()) return {};
    return found;
}

qel::Vector<std::string_view> quotedTexts(std::string_view text) {
    qel::Vector<std::string_view> found;
    while (removeThrough(text, '"')) {
        const auto quoted = takeUntil(text, '"');
        if (!quoted) break;
        found.push_back(*quoted);
    }
    return found;
}

double millimetres(std::string_view unit) {
    constexpr std::pair<std::string_view, double> kUnits[] = {
        {"m", 1e3}, {"cm", 10}, {"um", 1e-3}, {"\u00B5m", 1e-3}, {"\u03BCm", 1e-3}, {"nm", 1e-6}};
    const auto* const found = std::find_if(std::begin(kUnits), std::end(kUnits),
                                           [&](const auto& known) { return known.first == unit; });
    return found != std::end(kUnits) ? found->second : 1;
}

std::string displayText(std::string_view bytes) {
    std::string text(bytes.substr(0, kMostDisplayed));
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
    return std::string(trimmed(qel::String(text).utf8_fix()));
}

std::string numberText(double number) {
    return shortestText(number);
}

std::string numberText(float number) {
    return shortestText(number);
}

} // namespace qelviewer
