// A tuple of texts that travels as one line of text.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel {

/// An identifier and its arguments. The line form is "STRB16[", the texts in base 16 with ":" between them,
/// and "]", so that no character of the texts can be taken for the frame.
/// @threads a value: one thread at a time.
class QEL_API StringEvent {
public:
    /// An event without identifier; it is not valid.
    StringEvent() = default;

    /// The name of the class, "StringEvent".
    static const char* getStaticClassName() { return "StringEvent"; }

    /// Drops the arguments and sets the identifier; null counts as empty.
    void clear(const char* id);
    /// Adds an argument. On a fresh event the first one becomes the identifier.
    void append(const String& argument) { m_elements.push_back(argument); }

    /// The identifier; empty for a fresh event.
    const String& getId() const { return element(0); }
    /// The number of arguments; -1 for a fresh event.
    int numArgs() const { return static_cast<int>(m_elements.size()) - 1; }
    /// Argument @p index; empty when there is none.
    const String& operator[](int index) const;
    /// Whether there is an identifier.
    explicit operator bool() const { return valid(); }
    /// Whether there is an identifier.
    bool valid() const { return !getId().empty(); }

    /// The texts with ":" between them, between "<" and ">". For logs only.
    String asString() const;
    /// The line form.
    String generate() const;
    /// Reads the line form. A text that is no base 16 becomes empty, and one with a NUL ends there.
    /// @return false, with the event empty, when the frame is broken or holds nothing.
    bool parse(const String& text);

private:
    const String& element(size_t index) const;

    Vector<String> m_elements;
};

} // namespace qel
