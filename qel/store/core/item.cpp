#include <qel/store/core/item.h>

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string_id.h>

#include <algorithm>
#include <limits>
#include <new>

namespace qel {
namespace {

constexpr size_t kMaxPayload = std::numeric_limits<uint32>::max();

/// Returns the capacity to allocate for @p size bytes that do not fit.
size_t grownCapacity(size_t size) {
    return std::max(size, (size + size / 4 + 256) & ~size_t{15}); // the sum may wrap around
}

uint8* checked(void* block) {
    if (!block) throw std::bad_alloc();
    return static_cast<uint8*>(block);
}

} // namespace

Item& Item::add(const StringId& text) {
    return putText(ValueType::String, text.c_str(), text.size());
}

Item& Item::add(const char* a, const char* b) {
    return addString(String(a) + SmartCStr(b));
}

Item& Item::addBuffer(const Buffer& buffer) {
    return addBuffer(buffer.getBytePointer(), buffer.getSize());
}

Item& Item::addStringOrEncodedGUID(const String& text) {
    if (!text.begins_with(GUID::kTextPrefix)) return addString(text);
    return addGUID(GUID::fromString(text.c_str() + std::strlen(GUID::kTextPrefix)));
}

Item& Item::concatItem(const Item& item) {
    const size_t size = item.m_size;
    if (size == 0) return *this;
    uint8* const old = makeRoomAside(m_size + size);
    const uint8* const bytes = item.m_data; // its new address if it is this Item
    std::memcpy(extend(size), bytes, size);
    std::free(old);
    return *this;
}

size_t Item::openSubItem() {
    const size_t begin = m_size;
    *extend(5) = static_cast<uint8>(ValueType::SubItem);
    return begin;
}

Item& Item::closeSubItem(size_t begin) {
    const size_t payload = m_size - begin - 5;
    if (payload > kMaxPayload) {
        m_size = begin;
        return addNIL();
    }
    const auto size = static_cast<uint32>(payload);
    std::memcpy(m_data + begin + 1, &size, sizeof size);
    return *this;
}

Item& Item::putSized(ValueType tag, const uint8* bytes, size_t size) {
    if (size > kMaxPayload) return *this;
    uint8* const old = makeRoomAside(m_size + size + 5);
    uint8* const element = extend(5 + size);
    const auto storedSize = static_cast<uint32>(size);
    *element = static_cast<uint8>(tag);
    std::memcpy(element + 1, &storedSize, sizeof storedSize);
    if (size != 0) std::memcpy(element + 5, bytes, size);
    std::free(old);
    return *this;
}

Item& Item::putTextGrowing(ValueType tag, const char* text, size_t size) {
    uint8* const old = makeRoomAside(m_size + size + 2);
    putText(tag, text, size);
    std::free(old);
    return *this;
}

Item& Item::setPlainGrowing(const uint8* bytes, size_t size) {
    m_size = 0;
    uint8* const old = makeRoomAside(size);
    std::memcpy(extend(size), bytes, size);
    std::free(old);
    return *this;
}

/// Reserves @p size bytes in total, in a new block if necessary.
/// @return the heap block used before, or null. The caller must free it after reading what may lie in it.
uint8* Item::makeRoomAside(size_t size) {
    if (size <= m_capacity) return nullptr;
    const size_t capacity = grownCapacity(size);
    uint8* const block = checked(std::malloc(capacity));
    if (m_size != 0) std::memcpy(block, m_data, m_size);
    uint8* const old = m_ownsHeap ? m_data : nullptr;
    m_data = block;
    m_capacity = capacity;
    m_ownsHeap = true;
    return old;
}

void Item::grow(size_t size) {
    if (!m_ownsHeap) {
        makeRoomAside(size);
        return;
    }
    const size_t capacity = grownCapacity(size);
    m_data = checked(std::realloc(m_data, capacity));
    m_capacity = capacity;
}

void Item::takeOver(Item& other) {
    if (!other.m_ownsHeap) {
        setPlain(other.m_data, other.m_size);
        return;
    }
    if (m_ownsHeap) std::free(m_data);
    m_data = other.m_data;
    m_capacity = other.m_capacity;
    m_size = other.m_size;
    m_ownsHeap = true;
    other.m_data = other.m_inline;
    other.m_capacity = kInlineSize;
    other.m_size = 0;
    other.m_ownsHeap = false;
}

int Item::getDepth() const {
    Iterator iterator(*this);
    int depth = 0;
    while (iterator.skip()) ++depth;
    return depth;
}

} // namespace qel
