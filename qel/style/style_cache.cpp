#include <qel/style/style_cache_p.h>

#include <cstdint>
#include <cstring>

namespace qel::internal {

namespace {

constexpr size_t kEntries = 1024;         // a power of two
constexpr size_t kMaxBytes = 1 << 17;     // of all texts
constexpr size_t kMaxTextsBytes = 1 << 9; // of one question

/// The number of bytes of a text, with its NUL.
using Size = uint16;

/// Calls @p visit with each text of a question that is not null, the class names first, until it returns
/// false.
template <typename Visit>
bool forEachText(const StyleQuestion& question, size_t classes, const Visit& visit) {
    for (size_t i = 0; i < classes; ++i) {
        if (!visit(question.classChain[i])) return false;
    }
    if (!visit(question.property)) return false;
    if (question.id != nullptr && !visit(question.id)) return false;
    if (question.pseudoElement != nullptr && !visit(question.pseudoElement)) return false;
    return question.className == nullptr || visit(question.className);
}

uint64 addressOf(const char* text) {
    return reinterpret_cast<std::uintptr_t>(text);
}

} // namespace

StyleCache::Key::Key(const StyleQuestion& question)
    : classes(question.countClasses()),
      shape(1 | static_cast<uint32>(question.getter) << 1 | (question.id != nullptr ? 1u << 8 : 0u) |
            (question.pseudoElement != nullptr ? 1u << 9 : 0u) |
            (question.className != nullptr ? 1u << 10 : 0u) | static_cast<uint32>(classes) << 16) {
    // The object's own class distinguishes chains well enough. Products that do not depend on each other are
    // fast; the constants are those of xxHash64, by Y. Collet.
    const uint64 mixed =
        addressOf(classes > 0 ? question.classChain[classes - 1] : nullptr) * 0x9E3779B185EBCA87 +
        addressOf(question.property) * 0xC2B2AE3D27D4EB4F + addressOf(question.id) * 0x165667B19E3779F9 +
        addressOf(question.pseudoElement) * 0x85EBCA77C2B2AE63 +
        addressOf(question.className) * 0x27D4EB2F165667C5 + shape * 0x9E3779B185EBCA87;
    slot = static_cast<size_t>(mixed >> 32) % kEntries;
}

const StyleAnswer* StyleCache::find(const StyleQuestion& question, uint32 version) const {
    if (m_version != version || m_entries.empty() || question.property == nullptr) return nullptr;
    const Key key(question);
    const Entry& entry = m_entries[key.slot];
    if (entry.shape != key.shape) return nullptr;
    const char* kept = m_texts.data() + entry.texts;
    const bool isSame = forEachText(question, key.classes, [&kept](const char* text) {
        Size size = 0;
        std::memcpy(&size, kept, sizeof(Size));
        if (std::strcmp(kept + sizeof(Size), text) != 0) return false;
        kept += sizeof(Size) + size;
        return true;
    });
    return isSame ? &entry.answer : nullptr;
}

void StyleCache::store(const StyleQuestion& question, uint32 version, const StyleAnswer& answer) {
    if (question.property == nullptr) return;
    const Key key(question);
    char texts[kMaxTextsBytes];
    size_t size = 0;
    const bool isShort = forEachText(question, key.classes, [&](const char* text) {
        const size_t bytes = std::strlen(text) + 1;
        if (sizeof(Size) + bytes > kMaxTextsBytes - size) return false;
        const auto stored = static_cast<Size>(bytes);
        std::memcpy(texts + size, &stored, sizeof(Size));
        std::memcpy(texts + size + sizeof(Size), text, bytes);
        size += sizeof(Size) + bytes;
        return true;
    });
    if (!isShort) return;
    if (m_entries.empty() || m_version != version || m_texts.size() + size > kMaxBytes) clear(version);
    m_entries[key.slot] = {key.shape, static_cast<uint32>(m_texts.size()), answer};
    m_texts.append(texts, size);
}

void StyleCache::clear(uint32 version) {
    m_entries.assign(kEntries, Entry());
    m_texts.clear();
    m_version = version;
}

} // namespace qel::internal
