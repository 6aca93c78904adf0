// The answers to the questions that were asked last.
#pragma once

#include <qel/style/style_answer_p.h>

#include <string>
#include <vector>

namespace qel::internal {

/// Keeps answers, also negative ones, until a stylesheet changes. Its memory is limited.
///
/// A question is looked for by the addresses of its texts, which is fast, and then compared with the texts
/// that were asked, since other texts may have taken their place.
class StyleCache {
public:
    /// Returns the answer to @p question, or null if it is not kept.
    const StyleAnswer* find(const StyleQuestion& question, uint32 version) const;
    /// Keeps an answer if the texts of the question are short.
    void store(const StyleQuestion& question, uint32 version, const StyleAnswer& answer);

private:
    /// The kinds of texts in a question and their number.
    struct Shape {
        StyleGetter getter = StyleGetter::Color;
        uint8 classes = 0;
        bool hasId = false;
        bool hasPseudoElement = false;
        bool hasClassName = false;

        friend bool operator==(const Shape&, const Shape&) = default;
    };
    struct Entry {
        bool isUsed = false;
        Shape shape;
        uint32 texts = 0; ///< where the texts begin in m_texts, each with its NUL
        StyleAnswer answer;
    };

    static Shape shapeOf(const StyleQuestion& question);
    static size_t slotOf(const StyleQuestion& question, const Shape& shape);
    bool isSame(const Entry& entry, const StyleQuestion& question) const;
    void clear(uint32 version);

    std::vector<Entry> m_entries; ///< empty until the first answer is kept
    std::string m_texts;
    uint32 m_version = 0;
};

} // namespace qel::internal
