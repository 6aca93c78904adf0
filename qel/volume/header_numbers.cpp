#include <qel/volume/header_numbers_p.h>

#include <qel/platform/c_locale.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>

namespace qel::internal {

int toInteger(const String& text) {
    const platform::CLocaleScope scope;
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str()) throw std::invalid_argument("invalid stoi argument");
    using Limits = std::numeric_limits<int>;
    if (errno == ERANGE || value < Limits::min() || value > Limits::max())
        throw std::out_of_range("stoi argument out of range");
    return static_cast<int>(value);
}

float toFloat(const String& text) {
    const platform::CLocaleScope scope;
    char* end = nullptr;
    errno = 0;
    const float value = std::strtof(text.c_str(), &end);
    if (end == text.c_str()) throw std::invalid_argument("invalid stof argument");
    if (errno == ERANGE && std::isinf(value)) throw std::out_of_range("stof argument out of range");
    return value;
}

void readVector(const String& text, IVec3<float>& vector) {
    if (text.empty()) return;
    const Vector<String> numbers = text.substr(1).split(',');
    for (size_t i = 0; i < std::min<size_t>(numbers.size(), 3); ++i)
        vector[static_cast<int>(i)] = toFloat(numbers[i]);
}

Vector<String> splitAtSpaces(const String& text, Parentheses parentheses) {
    Vector<String> pieces;
    bool isInside = false, isInPiece = false;
    for (const char c : text) {
        if (parentheses == Parentheses::Group && (c == '(' || c == ')')) isInside = c == '(';
        if (c == ' ' && !isInside) {
            isInPiece = false;
            continue;
        }
        if (!isInPiece) pieces.emplace_back();
        isInPiece = true;
        pieces.back() += c;
    }
    return pieces;
}

} // namespace qel::internal
