#include <qel/system/core/system.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace qel {

namespace {

/// Returns true if @p text equals one of the alternatives in @p names, which are separated by `|`.
bool matchesAny(std::string_view text, std::string_view names) {
    for (;;) {
        const size_t bar = names.find('|');
        if (text == names.substr(0, bar)) return true;
        if (bar == std::string_view::npos) return false;
        names.remove_prefix(bar + 1);
    }
}

/// Parses a decimal number as a standard stream does: optional white space and sign, then digits. A number
/// out of range becomes the nearest value, and a text without digits becomes 0.
int parseDecimal(std::string_view text) {
    const size_t start = text.find_first_not_of(" \t\n\v\f\r");
    if (start == std::string_view::npos) return 0;
    text.remove_prefix(start);
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+') text.remove_prefix(1);
    // from_chars accepts a minus sign itself, which would allow a second sign.
    if (text.empty() || text.front() < '0' || text.front() > '9') return 0;
    int64 value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) value = INT64_MAX;
    if (negative) value = -value;
    return static_cast<int>(std::clamp<int64>(value, INT32_MIN, INT32_MAX));
}

} // namespace

void System::processCommandLine(int& argc, char** argv) {
    if (argc < 1 || argv == nullptr) return;
    if (m_executablePath.empty()) m_executablePath = argv[0];
    m_arguments.insert(m_arguments.end(), argv + 1, argv + argc);
}

const char* System::getArgument(unsigned index) const {
    return index < m_arguments.size() ? m_arguments[index].c_str() : nullptr;
}

bool System::hasArgument(const char* names) const {
    const std::string_view alternatives = SmartCStr(names).c_str();
    return std::any_of(m_arguments.begin(), m_arguments.end(),
                       [&](const String& argument) { return matchesAny(argument, alternatives); });
}

const char* System::getArgumentParameter(const char* names, const char* fallback) const {
    const std::string_view alternatives = SmartCStr(names).c_str();
    for (size_t i = 0; i + 1 < m_arguments.size(); ++i)
        if (matchesAny(m_arguments[i], alternatives)) return m_arguments[i + 1].c_str();
    return fallback;
}

int System::getArgumentParameterAsInt(const char* names, int fallback) const {
    const char* const text = getArgumentParameter(names, nullptr);
    return text != nullptr ? parseDecimal(text) : fallback;
}

} // namespace qel
