// A tuple of strings that is transmitted as one line of text.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel {

/// An identifier and its arguments. The line form is "STRB16[", the strings in base 16 with ":" between them,
/// and "]", so no character of the strings can be mistaken for the frame.
/// @threads a value: one thread at a time.
class QEL_API StringEvent {
public:
    /// Creates an event without identifier; it is not valid.
    StringEvent() = default;

    /// Returns the name of the class, "StringEvent".
    static const char* getStaticClassName() { return "StringEvent"; }

    /// Removes the arguments and sets the identifier; null is treated as empty.
    void clear(const char* id);
    /// Adds an argument. In a new event the first one becomes the identifier.
    void append(const String& argument) { m_elements.push_back(argument); }

    /// Returns the identifier; empty for a new event.
    const String& getId() const { return element(0); }
    /// Returns the number of arguments; -1 for a new event.
    int numArgs() const { return static_cast<int>(m_elements.size()) - 1; }
    /// Returns argument @p index; empty if it does not exist.
    const String& operator[](int index) const;
    /// Returns true if there is an identifier.
    explicit operator bool() const { return valid(); }
    /// Returns true if there is an identifier.
    bool valid() const { return !getId().empty(); }

    /// Returns the strings with ":" between them, enclosed in "<" and ">". For logs only.
    String asString() const;
    /// Returns the line form.
    String generate() const;
    /// Parses the line form. A string that is not valid base 16 becomes empty, and one with a NUL ends there.
    /// @return false, with the event empty, if the frame is broken or contains nothing.
    bool parse(const String& text);

private:
    const String& element(size_t index) const;

    Vector<String> m_elements;
};

} // namespace qel
