// The printf forms of number_format.h.
#include <qel/foundation/base/log_line.h>
#include <qel/foundation/base/number_format.h>
#include <qel/platform/c_locale.h>

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace qel::util {
namespace {

constexpr int kErrorLevel = 3;

/// One conversion of a format, such as "%-08.3lf", split into its parts.
struct Conversion {
    std::string_view flags;
    std::string_view width;     ///< digits, "*" or nothing
    std::string_view precision; ///< the same, after a "."
    bool hasPrecision = false;
    std::string_view length;
    char kind = '\0';
};

/// Removes the longest prefix of @p text that consists of @p characters. @return that prefix.
std::string_view takeWhile(std::string_view& text, const char* characters) {
    const std::string_view taken = text.substr(0, text.find_first_not_of(characters));
    text.remove_prefix(taken.size());
    return taken;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

std::string_view takeFigure(std::string_view& text) {
    return takePrefix(text, "*") ? std::string_view("*") : takeWhile(text, "0123456789");
}

std::string_view takeLength(std::string_view& text) {
    for (const std::string_view length : {"hh", "h", "ll", "l", "j", "z", "t", "L"}) {
        if (takePrefix(text, length)) return length;
    }
    return {};
}

/// Removes a conversion without its "%". @return nothing if it is not known, such as "%n".
std::optional<Conversion> takeConversion(std::string_view& text) {
    Conversion conversion;
    if (takePrefix(text, "%")) {
        conversion.kind = '%';
        return conversion;
    }
    conversion.flags = takeWhile(text, "-+ #0");
    conversion.width = takeFigure(text);
    conversion.hasPrecision = takePrefix(text, ".");
    if (conversion.hasPrecision) conversion.precision = takeFigure(text);
    conversion.length = takeLength(text);
    if (text.empty() || !std::strchr("diouxXcspaAeEfFgG", text.front())) return std::nullopt;
    conversion.kind = text.front();
    text.remove_prefix(1);
    return conversion;
}

/// Returns the part of @p format before its first unknown conversion.
std::string knownPartOf(std::string_view format) {
    std::string_view rest = format;
    for (std::size_t percent = rest.find('%'); percent != std::string_view::npos; percent = rest.find('%')) {
        const std::size_t known = format.size() - rest.size() + percent;
        rest.remove_prefix(percent + 1);
        if (!takeConversion(rest)) return std::string(format.substr(0, known));
    }
    return std::string(format);
}

/// Appends what @p print writes; it is called as snprintf is, first to learn the size.
/// @return false if the C library refuses, as it does for text that exceeds the range of int.
template <typename Print>
bool appendPrinted(String& text, Print&& print) {
    const int size = print(nullptr, 0);
    if (size < 0) return false;
    const std::size_t begin = text.size();
    text.resize(begin + static_cast<std::size_t>(size) + 1);
    print(text.data() + begin, static_cast<std::size_t>(size) + 1);
    text.pop_back(); // the NUL
    return true;
}

/// Formats arguments whose types are known; each conversion is printed by the C library on its own.
class ArgumentFormatter {
public:
    explicit ArgumentFormatter(std::span<const internal::FormatArgument> arguments)
        : m_arguments(arguments) {}

    /// @return false at a conversion that is not known or does not fit its argument; the text ends there.
    bool run(std::string_view format) {
        for (std::size_t percent = format.find('%'); percent != format.npos; percent = format.find('%')) {
            m_text.append(format.substr(0, percent));
            format.remove_prefix(percent + 1);
            const std::optional<Conversion> conversion = takeConversion(format);
            if (!conversion || !append(*conversion)) return false;
        }
        m_text.append(format);
        return true;
    }

    const String& text() const { return m_text; }

private:
    template <typename T>
    const T* next() {
        if (m_next == m_arguments.size()) return nullptr;
        return std::get_if<T>(&m_arguments[m_next++]);
    }

    /// Adds a width or precision; an argument may state it.
    bool addFigure(std::string& pattern, std::string_view figure) {
        if (figure != "*") {
            pattern += figure;
            return true;
        }
        const auto* value = next<internal::FormatInteger>();
        if (value) pattern += std::to_string(static_cast<int>(value->asSigned));
        return value != nullptr;
    }

    /// Returns the conversion up to its length modifier, which depends on the argument.
    std::optional<std::string> patternOf(const Conversion& conversion) {
        std::string pattern = "%" + std::string(conversion.flags);
        if (!addFigure(pattern, conversion.width)) return std::nullopt;
        std::string precision;
        if (conversion.hasPrecision && !addFigure(precision, conversion.precision)) return std::nullopt;
        const bool isStated = conversion.hasPrecision && !precision.starts_with('-');
        return isStated ? pattern + "." + precision : pattern;
    }

    bool append(const Conversion& conversion) {
        if (conversion.kind == '%') {
            m_text.push_back('%');
            return true;
        }
        const std::optional<std::string> pattern = patternOf(conversion);
        if (!pattern || m_next == m_arguments.size()) return false;
        const char kind = conversion.kind;
        if (kind == 's') return print(*pattern + kind, next<const char*>());
        if (kind == 'p') return print(*pattern + kind, next<const void*>());
        if (std::strchr("aAeEfFgG", kind)) return appendFloat(*pattern, kind);
        return appendInteger(*pattern, kind);
    }

    bool appendInteger(const std::string& pattern, char kind) {
        const auto* value = next<internal::FormatInteger>();
        if (!value) return false;
        const auto asCharacter = static_cast<int>(value->asSigned);
        if (kind == 'c') return print(pattern + kind, &asCharacter);
        if (kind == 'd' || kind == 'i') return print(pattern + "ll" + kind, &value->asSigned);
        return print(pattern + "ll" + kind, &value->asUnsigned);
    }

    bool appendFloat(const std::string& pattern, char kind) {
        const internal::FormatArgument* value = &m_arguments[m_next++];
        if (const auto* wide = std::get_if<long double>(value)) return print(pattern + "L" + kind, wide);
        return print(pattern + kind, std::get_if<double>(value));
    }

    template <typename T>
    bool print(const std::string& pattern, const T* value) {
        return value && appendPrinted(m_text, [&](char* out, std::size_t size) {
                   return std::snprintf(out, size, pattern.c_str(), *value);
               });
    }

    std::span<const internal::FormatArgument> m_arguments;
    std::size_t m_next = 0;
    String m_text;
};

} // namespace

String stringFormat_valist(const char* format, va_list arguments) {
    if (!format) return {};
    const platform::CLocaleScope scope;
    const std::string known = knownPartOf(format);
    String text;
    appendPrinted(text, [&](char* out, std::size_t size) {
        va_list copy;
        va_copy(copy, arguments);
        const int printed = std::vsnprintf(out, size, known.c_str(), copy);
        va_end(copy);
        return printed;
    });
    return text;
}

namespace internal {

String formatArguments(const char* format, std::span<const FormatArgument> arguments) {
    if (!format) return {};
    const platform::CLocaleScope scope;
    ArgumentFormatter formatter(arguments);
    if (!formatter.run(format))
        qel::internal::logLine(kErrorLevel,
                               "the format '" + std::string(format) + "' does not fit its arguments");
    return formatter.text();
}

} // namespace internal
} // namespace qel::util
