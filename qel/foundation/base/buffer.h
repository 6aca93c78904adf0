// Buffer: the growable byte array in which files, packets and images travel.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <concepts>

namespace qel {

/// A growable array of bytes with a reserve after its content. New bytes are uninitialised unless stated
/// otherwise. A Buffer is a value: copying copies the bytes, moving swaps the memory of the two buffers.
/// Growing moves the memory, which invalidates every pointer and view into it; the source of an editing
/// operation may nevertheless lie in the buffer itself.
/// @errors   std::bad_alloc if memory runs out or a size overflows; the buffer is then unchanged.
/// @threads  one thread at a time.
class QEL_API Buffer {
public:
    /// Creates an empty buffer with null data.
    Buffer() = default;
    /// Creates a buffer of @p size uninitialised bytes.
    explicit Buffer(size_t size);
    /// Copies the @p n bytes at @p p.
    Buffer(const uint8* p, size_t n);
    /// Copies the bytes at @p a followed by the bytes at @p b.
    Buffer(const uint8* a, size_t aSize, const uint8* b, size_t bSize);
    /// Copies the bytes, not the reserve.
    Buffer(const Buffer& other);
    /// Takes over the memory; @p other is empty afterwards.
    Buffer(Buffer&& other) noexcept { swap(other); }
    /// Frees the memory.
    ~Buffer() { free(); }
    /// Copies the bytes, into the existing memory if it is large enough.
    Buffer& operator=(const Buffer& other);
    /// Swaps the two buffers' memory.
    Buffer& operator=(Buffer&& other) noexcept {
        swap(other);
        return *this;
    }

    /// Returns the name of the class, "Buffer".
    static const char* getStaticClassName() { return "Buffer"; }

    /// Sets the size to @p n. Growing beyond the capacity reallocates to exactly @p n bytes; the memory never
    /// shrinks.
    void resize(size_t n);
    /// As resize(), but growing takes one eighth more, above 4096 bytes rounded up to a multiple of 4096.
    void resizeExtraReserve(size_t n);
    /// Grows the memory to @p n bytes if it is smaller; the size stays.
    void reserveTotal(size_t n);
    /// Grows the memory if fewer than @p needed bytes are free after the content; the size stays.
    /// @param atLeast  bytes to reserve when the memory has to grow, if more than @p needed.
    void reserveAdditionally(size_t needed, size_t atLeast);
    /// Sets the size to 0 and keeps the memory.
    void clear() { m_size = 0; }
    /// Frees the memory; the buffer is then as default constructed.
    void free();
    /// Exchanges the memory of two buffers.
    void swap(Buffer& other) noexcept;

    /// Returns the number of bytes.
    size_t getSize() const { return m_size; }
    /// Returns the number of bytes that the memory can hold.
    size_t getReservedSize() const { return m_capacity; }
    /// Returns the number of bytes that can be added without growing the memory.
    size_t getLeftReserved() const { return m_capacity - m_size; }
    /// Returns whether the size is 0.
    bool empty() const { return m_size == 0; }
    /// Returns whether the size isn't 0. A template, so that it serves bool alone and is preferred there to
    /// the conversion to a pointer, which a buffer that was cleared keeps.
    template <std::same_as<bool> Bool>
    operator Bool() const {
        return m_size != 0;
    }
    /// The same for a buffer that isn't const, whose conversion to a pointer would otherwise be the closer
    /// one.
    template <std::same_as<bool> Bool>
    operator Bool() {
        return m_size != 0;
    }

    /// Returns the first byte, or null if no memory was ever allocated.
    uint8* getBytePointer() { return m_data; }
    /// Returns the first byte, or null if no memory was ever allocated.
    const uint8* getBytePointer() const { return m_data; }
    /// Returns the first byte, or null if no memory was ever allocated.
    operator uint8*() { return m_data; }
    /// Returns the first byte, or null if no memory was ever allocated.
    operator const uint8*() const { return m_data; }
    /// Returns the byte at @p i, which must be below the size.
    template <std::integral Index>
    uint8& operator[](Index i) {
        return m_data[static_cast<size_t>(i)];
    }
    /// Returns the byte at @p i, which must be below the size.
    template <std::integral Index>
    const uint8& operator[](Index i) const {
        return m_data[static_cast<size_t>(i)];
    }
    /// Returns a view of the bytes; growing or freeing the buffer invalidates it.
    ByteSpan getByteSpan() { return {m_data, m_size}; }
    /// Returns a view of the bytes; growing or freeing the buffer invalidates it.
    ConstByteSpan getConstByteSpan() const { return {m_data, m_size}; }
    /// Returns a view of the bytes; growing or freeing the buffer invalidates it.
    operator ConstByteSpan() const { return {m_data, m_size}; }

    /// Replaces the content.
    void set(ConstByteSpan bytes) { set(bytes.data, bytes.size); }
    /// Replaces the content with the @p n bytes at @p p.
    void set(const uint8* p, size_t n);
    /// Adds bytes at the end.
    void append(ConstByteSpan bytes) { append(bytes.data, bytes.size); }
    /// Adds the bytes of a buffer at the end.
    void append(const Buffer& other) { append(other.m_data, other.m_size); }
    /// Adds the @p n bytes at @p p at the end.
    void append(const uint8* p, size_t n);
    /// Adds @p n uninitialised bytes at the end.
    /// @return the address of the first of them, until the buffer grows again.
    uint8* append(size_t n);
    /// Adds a text and its terminating zero; null adds the zero alone.
    void appendStringWithNull(const char* text);
    /// Returns the free memory after the content, for a reader to fill; appendCommit() then makes it content.
    ByteSpan appendReserve() { return {m_data + m_size, m_capacity - m_size}; }
    /// Adds the first @p n bytes of appendReserve() to the content, or all of them if there are fewer.
    void appendCommit(size_t n);
    /// Removes the first @p n bytes, or all bytes if there are fewer.
    void eraseFront(size_t n);
    /// Removes the last @p n bytes, or all bytes if there are fewer.
    void eraseBack(size_t n);
    /// Inserts bytes before the content.
    void insertFront(ConstByteSpan bytes);

    /// Compares the bytes as unsigned values, then the sizes.
    /// @return negative, 0 or positive; the difference of the sizes, limited to the range of int, if one
    /// buffer is
    ///         the beginning of the other.
    static int compare(const Buffer& a, const Buffer& b);

    /// Reads a whole file. Defined in files/buffer_file.cpp.
    /// @param silent      whether to log nothing for a file that can't be opened.
    /// @param decompress  a zstd frame that states its content size is decompressed; other content stays.
    /// @return false if the file can't be opened (the buffer is unchanged), can't be read, or holds a frame
    ///         that can't be decompressed (the buffer holds the compressed bytes).
    bool loadFromFile(const char* path, bool silent, bool decompress);
    /// Reads a whole resource. Defined in plugins/buffer_resource.cpp.
    /// @param silent  whether to log nothing for a resource that can't be found.
    bool loadFromResource(const char* name, bool silent);
    /// Writes the bytes to a file, as File::writeFile does. Defined in files/buffer_file.cpp.
    bool saveToFile(const char* path) const;
    /// Writes the bytes as one zstd frame, as File::writeFileCompressed does. Defined in
    /// files/buffer_file.cpp.
    bool saveToFileCompressed(const char* path) const;

    /// Compares the bytes.
    friend bool operator==(const Buffer& a, const Buffer& b) { return compare(a, b) == 0; }
    /// Compares the bytes.
    friend bool operator!=(const Buffer& a, const Buffer& b) { return compare(a, b) != 0; }
    /// Orders as compare() does.
    friend bool operator<(const Buffer& a, const Buffer& b) { return compare(a, b) < 0; }
    /// Orders as compare() does.
    friend bool operator<=(const Buffer& a, const Buffer& b) { return compare(a, b) <= 0; }
    /// Orders as compare() does.
    friend bool operator>(const Buffer& a, const Buffer& b) { return compare(a, b) > 0; }
    /// Orders as compare() does.
    friend bool operator>=(const Buffer& a, const Buffer& b) { return compare(a, b) >= 0; }

private:
    void reallocate(size_t capacity);
    size_t sizePlus(size_t n) const;
    bool holds(const uint8* p) const;

    uint8* m_data = nullptr;
    size_t m_size = 0;
    size_t m_capacity = 0;
};

} // namespace qel
