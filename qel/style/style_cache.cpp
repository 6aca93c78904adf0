#include <qel/style/style_cache_p.h>

#include <bit>
#include <cstdint>
#include <cstring>

namespace qel::internal {

namespace {

constexpr size_t kEntries = 1024;         // a power of two
constexpr size_t kMaxBytes = 1 << 17;     // of all texts
constexpr size_t kMaxTextsBytes = 1 << 9; // of one question

/// Calls @p visit with each text of a question that is not null, the class names first, until it returns
/// false.
template <typename Visit>
bool forEachText(const StyleQuestion& question, size_t classes, const Visit& visit) {
    for (size_t i = 0; i < classes; ++i) {
        if (!visit(question.classChain[i])) return false;
    }
    for (const char* text : {question.property, question.id, question.pseudoElement, question.className}) {
        if (text != nullptr && !visit(text)) return false;
    }
    return true;
}

} // namespace

const StyleAnswer* StyleCache::find(const StyleQuestion& question, uint32 version) const {
    if (m_entries.empty() || m_version != version) return nullptr;
    const Shape shape = shapeOf(question);
    const Entry& entry = m_entries[slotOf(question, shape)];
    return entry.isUsed && entry.shape == shape && isSame(entry, question) ? &entry.answer : nullptr;
}

void StyleCache::store(const StyleQuestion& question, uint32 version, const StyleAnswer& answer) {
    const Shape shape = shapeOf(question);
    size_t bytes = 0;
    forEachText(question, shape.classes, [&](const char* text) {
        bytes += std::strlen(text) + 1;
        return bytes <= kMaxTextsBytes;
    });
    if (question.property == nullptr || bytes > kMaxTextsBytes) return;
    if (m_entries.empty() || m_version != version || m_texts.size() + bytes > kMaxBytes) clear(version);
    const auto begin = static_cast<uint32>(m_texts.size());
    forEachText(question, shape.classes, [&](const char* text) {
        m_texts.append(text, std::strlen(text) + 1);
        return true;
    });
    m_entries[slotOf(question, shape)] = {true, shape, begin, answer};
}

StyleCache::Shape StyleCache::shapeOf(const StyleQuestion& question) {
    return {question.getter, static_cast<uint8>(question.countClasses()), question.id != nullptr,
            question.pseudoElement != nullptr, question.className != nullptr};
}

/// Returns the only place where the answer to a question may be, by the addresses of its texts.
size_t StyleCache::slotOf(const StyleQuestion& question, const Shape& shape) {
    uint64 key = static_cast<uint64>(question.getter);
    const auto add = [&key](const char* text) {
        key = std::rotr((key ^ reinterpret_cast<std::uintptr_t>(text)) * 0x9E3779B97F4A7C15, 29);
        return true;
    };
    for (size_t i = 0; i < shape.classes; ++i) add(question.classChain[i]);
    add(question.property);
    add(question.id);
    add(question.pseudoElement);
    add(question.className);
    return (key ^ key >> 32) % kEntries;
}

bool StyleCache::isSame(const Entry& entry, const StyleQuestion& question) const {
    const char* kept = m_texts.data() + entry.texts;
    return forEachText(question, entry.shape.classes, [&kept](const char* text) {
        while (*kept == *text) {
            if (*kept++ == '\0') return true;
            ++text;
        }
        return false;
    });
}

void StyleCache::clear(uint32 version) {
    m_entries.assign(kEntries, Entry());
    m_texts.clear();
    m_version = version;
}

} // namespace qel::internal
