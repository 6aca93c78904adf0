// The printf form of number_format.h.
#include <qel/foundation/base/number_format.h>

#include <fmt/printf.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qel::util {
namespace {

enum class Length { Char, Short, Int, Long, LongLong, Max, Size, Difference, LongDouble };

/// One conversion of a format, as "%-08.3lf".
struct Conversion {
    std::string flags;
    std::optional<int> width;
    std::optional<int> precision;
    Length length = Length::Int;
    char kind = '\0';

    /// The same for fmt, whose arguments carry their type.
    std::string pattern() const {
        std::string text = "%" + flags;
        if (width) text += std::to_string(*width);
        if (precision) text += "." + std::to_string(*precision);
        return text + kind;
    }
};

/// Formats one text; holds the argument list, which every step moves on.
class PrintfFormatter {
public:
    PrintfFormatter(const char* format, va_list arguments) : m_format(format) {
        va_copy(m_arguments, arguments);
    }
    ~PrintfFormatter() { va_end(m_arguments); }
    PrintfFormatter(const PrintfFormatter&) = delete;
    PrintfFormatter& operator=(const PrintfFormatter&) = delete;

    String run() {
        while (*m_format != '\0') {
            const std::size_t plain = std::strcspn(m_format, "%");
            m_output.append(m_format, plain);
            m_format += plain;
            if (*m_format == '%' && !appendConversion()) break;
        }
        return std::move(m_output);
    }

private:
    bool appendConversion() {
        ++m_format;
        if (*m_format == '%') {
            m_output += *m_format++;
            return true;
        }
        const Conversion conversion = parseConversion();
        switch (conversion.kind) {
        case 'd':
        case 'i':
            appendNumber(conversion, nextSigned(conversion.length));
            return true;
        case 'o':
        case 'u':
        case 'x':
        case 'X':
            appendNumber(conversion, nextUnsigned(conversion.length));
            return true;
        case 'a':
        case 'A':
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
            appendFloat(conversion);
            return true;
        case 'p':
            appendNumber(conversion, static_cast<const void*>(va_arg(m_arguments, void*)));
            return true;
        case 'c':
            appendPadded(conversion, std::string(1, static_cast<char>(va_arg(m_arguments, int))));
            return true;
        case 's':
            appendText(conversion, va_arg(m_arguments, const char*));
            return true;
        default:
            return false;
        }
    }

    Conversion parseConversion() {
        Conversion conversion;
        while (*m_format != '\0' && std::strchr("-+ #0", *m_format)) conversion.flags += *m_format++;
        conversion.width = parseFigure();
        if (conversion.width.value_or(0) < 0) {
            conversion.flags += '-';
            conversion.width = -std::max(*conversion.width, -std::numeric_limits<int>::max());
        }
        if (*m_format == '.') {
            ++m_format;
            conversion.precision = parseFigure().value_or(0);
            if (*conversion.precision < 0) conversion.precision.reset();
        }
        conversion.length = parseLength();
        if (*m_format != '\0') conversion.kind = *m_format++;
        return conversion;
    }

    /// A width or precision: digits, or "*" for an argument.
    std::optional<int> parseFigure() {
        if (*m_format == '*') {
            ++m_format;
            return va_arg(m_arguments, int);
        }
        if (*m_format < '0' || *m_format > '9') return std::nullopt;
        int64 figure = 0;
        for (; *m_format >= '0' && *m_format <= '9'; ++m_format)
            figure = std::min<int64>(figure * 10 + (*m_format - '0'), std::numeric_limits<int>::max());
        return static_cast<int>(figure);
    }

    Length parseLength() {
        static constexpr std::pair<const char*, Length> kModifiers[] = {
            {"hh", Length::Char}, {"h", Length::Short}, {"ll", Length::LongLong},  {"l", Length::Long},
            {"j", Length::Max},   {"z", Length::Size},  {"t", Length::Difference}, {"L", Length::LongDouble}};
        for (const auto& [text, length] : kModifiers) {
            if (!SmartCStr(m_format).begins_with(text)) continue;
            m_format += std::strlen(text);
            return length;
        }
        return Length::Int;
    }

    int64 nextSigned(Length length) {
        switch (length) {
        case Length::Char:
            return static_cast<signed char>(va_arg(m_arguments, int));
        case Length::Short:
            return static_cast<short>(va_arg(m_arguments, int));
        case Length::Long:
            return va_arg(m_arguments, long);
        case Length::LongLong:
        case Length::LongDouble:
            return va_arg(m_arguments, long long);
        case Length::Max:
            return va_arg(m_arguments, std::intmax_t);
        case Length::Size:
        case Length::Difference:
            return va_arg(m_arguments, std::ptrdiff_t);
        default:
            return va_arg(m_arguments, int);
        }
    }

    uint64 nextUnsigned(Length length) {
        switch (length) {
        case Length::Char:
            return static_cast<unsigned char>(va_arg(m_arguments, unsigned));
        case Length::Short:
            return static_cast<unsigned short>(va_arg(m_arguments, unsigned));
        case Length::Long:
            return va_arg(m_arguments, unsigned long);
        case Length::LongLong:
        case Length::LongDouble:
            return va_arg(m_arguments, unsigned long long);
        case Length::Max:
            return va_arg(m_arguments, std::uintmax_t);
        case Length::Size:
        case Length::Difference:
            return va_arg(m_arguments, std::size_t);
        default:
            return va_arg(m_arguments, unsigned);
        }
    }

    template <typename T>
    void appendNumber(const Conversion& conversion, T value) {
        m_output += fmt::sprintf(conversion.pattern(), value);
    }

    void appendFloat(const Conversion& conversion) {
        if (conversion.length == Length::LongDouble) {
            appendNumber(conversion, va_arg(m_arguments, long double));
        } else {
            appendNumber(conversion, va_arg(m_arguments, double));
        }
    }

    /// With a precision the text needs no NUL, and no byte behind the precision is read.
    void appendText(const Conversion& conversion, const char* text) {
        if (!text) text = "(null)";
        if (!conversion.precision) return appendPadded(conversion, text);
        const auto most = static_cast<std::size_t>(*conversion.precision);
        const void* nul = std::memchr(text, '\0', most);
        appendPadded(conversion,
                     {text, nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : most});
    }

    /// Pads by bytes, as the C library does.
    void appendPadded(const Conversion& conversion, std::string_view text) {
        const auto width = static_cast<std::size_t>(conversion.width.value_or(0));
        const std::size_t padding = width > text.size() ? width - text.size() : 0;
        const bool toTheLeft = conversion.flags.find('-') != std::string::npos;
        if (!toTheLeft) m_output.append(padding, ' ');
        m_output += text;
        if (toTheLeft) m_output.append(padding, ' ');
    }

    const char* m_format;
    va_list m_arguments;
    String m_output;
};

} // namespace

String stringFormat_valist(const char* format, va_list arguments) {
    return format ? PrintfFormatter(format, arguments).run() : String();
}

} // namespace qel::util
