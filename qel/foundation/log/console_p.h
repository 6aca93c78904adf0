// The console end of the log.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/foundation/log/message_stream.h>

#include <array>
#include <string_view>

namespace qel::logging {

/// Formats seconds with three decimals in brackets and a space, such as "[  1.042] ", with "<" and ">" for
/// lines of the customer channel.
class ConsoleTime {
public:
    ConsoleTime(uint32 milliseconds, bool isForCustomers);
    /// Returns the text; valid as long as this object.
    std::string_view text() const { return {m_text.data(), m_size}; }

private:
    std::array<char, 16> m_text;
    size_t m_size;
};

/// Shows a line through the host's writer or on standard output, under System::getStdOutMutex().
void writeToConsole(const ConsoleLine& line);

} // namespace qel::logging
