// Collects an indented plain-text report.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

#include <string>
#include <string_view>

namespace qel {

/// A text that grows line by line, two blanks ahead for each level. System::report() and others fill it.
/// @threads one thread.
class QEL_API ReportGenerator : public Object {
    QEL_CLASS(ReportGenerator, Object)

public:
    /// Adds a line, formatted as printf does, of any length.
    void add(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// Adds a line and goes one level deeper.
    void begin(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// Goes one level deeper.
    void begin() { ++m_indent; }
    /// Comes one level up. Levels below 0 count, and indent nothing.
    void end() { --m_indent; }
    /// Adds each line of @p text, empty ones between others too.
    void addText(const char* text);
    /// Everything added so far. The pointer lasts until the next call.
    const char* getReport();

    /// How much those who fill the report should tell; the generator itself does not care. 0 at the start.
    int getVerbosity() const { return m_verbosity; }
    /// Stores how much to tell.
    void setVerbosity(int verbosity) { m_verbosity = verbosity; }

private:
    void addLine(std::string_view line);

    std::string m_text;
    String m_report;
    int m_indent = 0;
    int m_verbosity = 0;
};

} // namespace qel
