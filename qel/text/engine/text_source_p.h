// TextSource: the characters of a text and of the texts that its codes insert, in the order of reading.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>

#include <cstddef>
#include <string_view>

namespace qel::internal {

/// Reads UTF-8 leniently. An inserted text is read before the rest of the text that it was inserted into, as
/// if both were one text. Nothing is copied to join them.
class TextSource {
public:
    /// Reads @p text up to its first NUL.
    explicit TextSource(String text);

    /// Reads the next code point. @return 0 at the end.
    uint32 next();
    /// Returns the bytes that follow in the text that is being read; empty at the end of all texts.
    std::string_view ahead();
    /// Steps over @p count of the bytes of ahead(), which must be ASCII.
    void skipAscii(std::size_t count);
    /// Reads a control code up to its closing brace, which is read too. @return false if there is no brace;
    /// the source is at its end then.
    bool readCode(String& code);
    /// Continues with @p text, which must be well-formed and free of NUL, before the rest.
    void insert(String text);

    /// Returns the index of the code point that was read last, counted over all texts; all bits are set
    /// before the first one. The end counts as one code point.
    uint32 index() const { return m_index; }

private:
    struct Layer {
        String text;
        std::size_t position;
        std::size_t end;
    };

    /// Removes finished layers except the first one.
    void dropFinished();
    /// Reads code points up to byte @p end of the current layer, and appends them to @p code.
    void appendUpTo(std::size_t end, String& code);

    Vector<Layer> m_layers;
    uint32 m_index = 0xFFFFFFFF;
};

} // namespace qel::internal
