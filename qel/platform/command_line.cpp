#include <qel/platform/command_line.h>

namespace qel::platform {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}

bool isEscapedBetweenDoubleQuotes(char c) {
    return c == '"' || c == '\\' || c == '$' || c == '`';
}

/// Parses one command line from left to right.
class Splitter {
public:
    explicit Splitter(std::string_view line) : m_rest(line) {}

    bool atEnd() {
        while (!m_rest.empty() && isBlank(m_rest.front())) m_rest.remove_prefix(1);
        return m_rest.empty();
    }

    bool readArgument(std::string& argument) {
        while (!m_rest.empty() && !isBlank(m_rest.front())) {
            if (!readPiece(argument)) return false;
        }
        return true;
    }

private:
    bool readPiece(std::string& argument) {
        const char c = take();
        if (c == '\'') return readUntilSingleQuote(argument);
        if (c == '"') return readUntilDoubleQuote(argument);
        if (c == '\\' && m_rest.empty()) return false;
        argument += c == '\\' ? take() : c;
        return true;
    }

    bool readUntilSingleQuote(std::string& argument) {
        const std::size_t end = m_rest.find('\'');
        if (end == std::string_view::npos) return false;
        argument += m_rest.substr(0, end);
        m_rest.remove_prefix(end + 1);
        return true;
    }

    bool readUntilDoubleQuote(std::string& argument) {
        while (!m_rest.empty()) {
            const char c = take();
            if (c == '"') return true;
            const bool escapes = c == '\\' && !m_rest.empty() && isEscapedBetweenDoubleQuotes(m_rest.front());
            argument += escapes ? take() : c;
        }
        return false;
    }

    char take() {
        const char c = m_rest.front();
        m_rest.remove_prefix(1);
        return c;
    }

    std::string_view m_rest;
};

bool isPlain(char c) {
    constexpr std::string_view kPlainSigns = "_-+=/.,:@%";
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           kPlainSigns.find(c) != std::string_view::npos;
}

} // namespace

std::optional<std::vector<std::string>> splitCommandLine(std::string_view line) {
    if (line.find('\0') != std::string_view::npos) return std::nullopt;
    Splitter splitter(line);
    std::vector<std::string> arguments;
    while (!splitter.atEnd()) {
        if (!splitter.readArgument(arguments.emplace_back())) return std::nullopt;
    }
    return arguments;
}

std::string quoteArgument(std::string_view argument) {
    bool plain = !argument.empty();
    for (const char c : argument) plain = plain && isPlain(c);
    if (plain) return std::string(argument);
    std::string quoted = "'";
    for (const char c : argument) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    return quoted + "'";
}

} // namespace qel::platform
