#include <qel/foundation/base/buffer.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

namespace qel {

namespace {

constexpr size_t kPage = 4096;

/// memcpy and memmove must not be called with null, even for a size of 0.
void moveBytes(uint8* to, const uint8* from, size_t n) {
    if (n != 0) std::memmove(to, from, n);
}

size_t withExtraReserve(size_t n) {
    const size_t extra = n / 8;
    if (extra > std::numeric_limits<size_t>::max() - kPage - n) throw std::bad_alloc();
    const size_t capacity = n + extra;
    return capacity > kPage ? (capacity + kPage - 1) / kPage * kPage : capacity;
}

} // namespace

Buffer::Buffer(size_t size) {
    resize(size);
}

Buffer::Buffer(const uint8* p, size_t n) {
    set(p, n);
}

Buffer::Buffer(const uint8* a, size_t aSize, const uint8* b, size_t bSize) {
    if (bSize > std::numeric_limits<size_t>::max() - aSize) throw std::bad_alloc();
    resize(aSize + bSize);
    moveBytes(m_data, a, aSize);
    if (bSize != 0) moveBytes(m_data + aSize, b, bSize);
}

Buffer::Buffer(const Buffer& other) : Buffer(other.m_data, other.m_size) {}

Buffer& Buffer::operator=(const Buffer& other) {
    set(other.m_data, other.m_size);
    return *this;
}

void Buffer::resize(size_t n) {
    if (n > m_capacity) reallocate(n);
    m_size = n;
}

void Buffer::resizeExtraReserve(size_t n) {
    if (n > m_capacity) reallocate(withExtraReserve(n));
    m_size = n;
}

void Buffer::reserveTotal(size_t n) {
    if (n > m_capacity) reallocate(n);
}

void Buffer::reserveAdditionally(size_t needed, size_t atLeast) {
    if (getLeftReserved() < needed) reallocate(sizePlus(std::max(needed, atLeast)));
}

void Buffer::free() {
    std::free(m_data);
    m_data = nullptr;
    m_size = 0;
    m_capacity = 0;
}

void Buffer::swap(Buffer& other) noexcept {
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
}

void Buffer::set(const uint8* p, size_t n) {
    resize(n); // bytes of this buffer fit into it, so that resizing does not move them
    moveBytes(m_data, p, n);
}

void Buffer::append(const uint8* p, size_t n) {
    const bool own = holds(p);
    const size_t offset = own ? static_cast<size_t>(p - m_data) : 0;
    uint8* target = append(n);
    moveBytes(target, own ? m_data + offset : p, n);
}

uint8* Buffer::append(size_t n) {
    const size_t oldSize = m_size;
    resizeExtraReserve(sizePlus(n));
    return m_data + oldSize;
}

void Buffer::appendStringWithNull(const char* text) {
    if (!text) text = "";
    append(reinterpret_cast<const uint8*>(text), std::strlen(text) + 1);
}

void Buffer::appendCommit(size_t n) {
    m_size += std::min(n, getLeftReserved());
}

void Buffer::eraseFront(size_t n) {
    const size_t erased = std::min(n, m_size);
    m_size -= erased;
    if (erased != 0) moveBytes(m_data, m_data + erased, m_size);
}

void Buffer::eraseBack(size_t n) {
    m_size -= std::min(n, m_size);
}

void Buffer::insertFront(ConstByteSpan bytes) {
    if (bytes.empty()) return;
    if (holds(bytes.data)) {
        const Buffer copy(bytes.data, bytes.size);
        insertFront(copy);
        return;
    }
    const size_t oldSize = m_size;
    resize(sizePlus(bytes.size));
    moveBytes(m_data + bytes.size, m_data, oldSize);
    moveBytes(m_data, bytes.data, bytes.size);
}

int Buffer::compare(const Buffer& a, const Buffer& b) {
    const size_t common = std::min(a.m_size, b.m_size);
    if (common != 0) {
        if (const int order = std::memcmp(a.m_data, b.m_data, common); order != 0) return order;
    }
    const size_t longer = std::max(a.m_size, b.m_size);
    const int difference = static_cast<int>(std::min<size_t>(longer - common, INT_MAX));
    return a.m_size < b.m_size ? -difference : difference;
}

void Buffer::reallocate(size_t capacity) {
    void* memory = std::realloc(m_data, capacity);
    if (!memory) throw std::bad_alloc();
    m_data = static_cast<uint8*>(memory);
    m_capacity = capacity;
}

size_t Buffer::sizePlus(size_t n) const {
    if (n > std::numeric_limits<size_t>::max() - m_size) throw std::bad_alloc();
    return m_size + n;
}

bool Buffer::holds(const uint8* p) const {
    const std::less<const uint8*> before;
    return m_data && !before(p, m_data) && before(p, m_data + m_capacity);
}

} // namespace qel
