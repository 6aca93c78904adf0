#include <qel/system/report/report_generator.h>

#include <qel/platform/c_locale.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace qel {

namespace {

/// Returns the formatted text, of any length, with a decimal point in every locale.
std::string formatted(const char* format, std::va_list arguments) {
    const platform::CLocaleScope plainNumbers;
    std::va_list again;
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<size_t>(std::max(0, size)), '\0');
    if (size > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

} // namespace

void ReportGenerator::add(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    addLine(formatted(format, arguments));
    va_end(arguments);
}

void ReportGenerator::begin(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    addLine(formatted(format, arguments));
    va_end(arguments);
    begin();
}

void ReportGenerator::addText(const char* text) {
    std::string_view rest = text ? text : "";
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        addLine(line);
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    }
}

const char* ReportGenerator::getReport() {
    m_report = m_text;
    return m_report.c_str();
}

void ReportGenerator::addLine(std::string_view line) {
    m_text.append(m_indent > 0 ? 2 * static_cast<size_t>(m_indent) : 0, ' ').append(line) += '\n';
}

} // namespace qel
