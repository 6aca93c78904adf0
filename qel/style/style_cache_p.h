// The answers to the questions that were asked last.
#pragma once

#include <qel/style/style_answer_p.h>

#include <string>
#include <vector>

namespace qel::internal {

/// Keeps answers, also negative ones, until a stylesheet changes. Its memory is limited.
///
/// A question is looked for by the addresses of some of its texts, which is fast, and then compared with the
/// texts that were asked, since other texts may have taken their place.
class StyleCache {
public:
    /// Returns the answer to @p question, or null if it is not kept.
    const StyleAnswer* find(const StyleQuestion& question, uint32 version) const;
    /// Keeps an answer if the texts of the question are short.
    void store(const StyleQuestion& question, uint32 version, const StyleAnswer& answer);

private:
    /// What a question consists of, and the only place where its answer may be.
    struct Key {
        explicit Key(const StyleQuestion& question);

        size_t classes; ///< the number of class names
        uint32 shape;   ///< the getter, the number of class names and which of the other texts are not null
        size_t slot;
    };
    struct Entry {
        uint32 shape = 0; ///< of a question; 0 for an unused entry
        uint32 texts = 0; ///< where the texts begin in m_texts, each with its size and its NUL
        StyleAnswer answer;
    };

    void clear(uint32 version);

    std::vector<Entry> m_entries; ///< empty until the first answer is kept
    std::string m_texts;
    uint32 m_version = 0;
};

} // namespace qel::internal
