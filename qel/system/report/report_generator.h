// Builds an indented plain-text report.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

#include <string>
#include <string_view>

namespace qel {

/// A text that grows line by line, with two spaces of indentation per level. System::report() and others fill
/// it.
/// @threads one thread.
class QEL_API ReportGenerator : public Object {
    QEL_CLASS(ReportGenerator, Object)

public:
    /// Adds a line of any length, formatted as by printf.
    void add(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// Adds a line and indents the following ones by one more level.
    void begin(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// Indents the following lines by one more level.
    void begin() { ++m_indent; }
    /// Reduces the indentation by one level. Levels below 0 are counted but not indented.
    void end() { --m_indent; }
    /// Adds each line of @p text, including empty lines between others.
    void addText(const char* text);
    /// Returns everything added so far. The pointer is valid until the next call.
    const char* getReport();

    /// Returns the level of detail for those who fill the report; the generator itself ignores it. Initially
    /// 0.
    int getVerbosity() const { return m_verbosity; }
    /// Sets the level of detail.
    void setVerbosity(int verbosity) { m_verbosity = verbosity; }

private:
    void addLine(std::string_view line);

    std::string m_text;
    String m_report;
    int m_indent = 0;
    int m_verbosity = 0;
};

} // namespace qel
