#include <qel/foundation/log/message_stream.h>

#include <qel/foundation/base/log_line.h>
#include <qel/foundation/log/line_builder_p.h>
#include <qel/foundation/log/log_delivery_p.h>
#include <qel/foundation/log/number_text_p.h>
#include <qel/platform/system_error.h>

#include <array>
#include <cerrno>
#include <charconv>

#include <fmt/format.h>

namespace qel::logging {

namespace {

std::string_view getPrefix(int level) {
    switch (level) {
    case 0:
        return "[VERBOSE] ";
    case 2:
        return "[WARNING] ";
    case 3:
        return "[ERROR] ";
    case 4:
        return "[ASSERT] ";
    default:
        return {};
    }
}

template <typename Integer>
void appendInteger(LineBuilder& line, Integer value) {
    std::array<char, 32> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    line.append(std::string_view(digits.data(), result.ptr));
}

} // namespace

void MessageStream::begin() {
    if (isDeliverable(m_level)) m_line = LineBuilder::acquire(getPrefix(m_level));
}

void MessageStream::deliver() {
    m_line->cutTrailingWhitespace();
    deliverLine(m_level, m_channels, *m_line);
    LineBuilder::release(m_line);
}

MessageStream& MessageStream::operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    if (!m_line) return *this;
    beginStreaming() << manipulator;
    endStreaming();
    return *this;
}

MessageStream& MessageStream::operator<<(std::ios_base& (*manipulator)(std::ios_base&)) {
    if (!m_line) return *this;
    beginStreaming() << manipulator;
    endStreaming();
    return *this;
}

void MessageStream::writeText(std::string_view text) {
    m_line->append(text);
}

void MessageStream::writeCharacter(char c) {
    m_line->append(c);
}

void MessageStream::writeNumber(long long value) {
    appendInteger(*m_line, value);
}

void MessageStream::writeNumber(unsigned long long value) {
    appendInteger(*m_line, value);
}

void MessageStream::writeNumber(double value) {
    std::array<char, kNumberTextSize> text;
    m_line->append(std::string_view(text.data(), writeGeneral(text.data(), value)));
}

bool MessageStream::isPlain() const {
    return m_line->isPlain();
}

std::ostream& MessageStream::beginStreaming() {
    return m_line->stream();
}

void MessageStream::endStreaming() {
    m_line->checkFormat();
}

LogOStream::LogOStream(int level) : std::ostream(static_cast<std::streambuf*>(this)), m_level(level) {}

LogOStream::~LogOStream() = default;

int LogOStream::overflow(int c) {
    using Traits = std::char_traits<char>; // both base classes declare the name
    if (Traits::eq_int_type(c, Traits::eof())) return Traits::not_eof(c);
    if (Traits::to_char_type(c) == '\n') {
        MessageStream(m_level, 2) << m_lineBuffer;
        m_lineBuffer.clear();
    } else {
        m_lineBuffer.push_back(Traits::to_char_type(c));
    }
    return c;
}

std::string getSystemError() {
    const auto code = platform::lastErrorCode();
    return fmt::format(", syserr={}:{}", code, platform::errorText(code));
}

std::string getPError() {
    const int code = errno;
    return fmt::format(", errno={}:{}", code, platform::errorText(code));
}

} // namespace qel::logging

namespace qel::internal {

void logLine(int level, std::string_view text) {
    logging::MessageStream(level, 2) << text;
}

} // namespace qel::internal
