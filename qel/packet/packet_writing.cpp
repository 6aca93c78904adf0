// Sets the fields of packets that are more than one number, and the cargo.
#include <qel/packet/packet.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/item.h>

#include <algorithm>
#include <limits>

namespace qel {

namespace {

constexpr const char* kTooManyElements = "writing too many elements in an array";
constexpr const char* kTooManyBytes = "writing too many bytes in a buffer";

ConstByteSpan withTerminator(const char* text, size_t size) {
    return {reinterpret_cast<const uint8*>(text), size + 1};
}

} // namespace

void Packet::setString(const PacketField& field, const char* text) {
    const char* const bytes = text ? text : "";
    setBytes(elementOf(field), withTerminator(bytes, std::strlen(bytes)), false, kTooManyElements);
}

void Packet::setString(const PacketField& field, const std::string& text) {
    setBytes(elementOf(field), withTerminator(text.c_str(), text.size()), false, kTooManyElements);
}

void Packet::setString(const PacketField& field, const StringId& text) {
    setBytes(elementOf(field), withTerminator(text.c_str(), text.size()), false, kTooManyElements);
}

void Packet::setBuffer(const PacketField& field, const uint8* bytes, uint32 size, bool compressible) {
    setBuffer(field, ConstByteSpan(bytes, size), compressible);
}

void Packet::setBuffer(const PacketField& field, ConstByteSpan bytes, bool compressible) {
    if (!bytes.empty()) setBytes(elementOf(field), bytes, compressible, kTooManyBytes);
}

uint8* Packet::allocateBuffer(const PacketField& field, uint32 size, bool compressible) {
    return size == 0 ? nullptr : allocateBytes(elementOf(field), size, compressible, kTooManyBytes);
}

void Packet::setItem(const PacketField& field, const Item& item) {
    setBuffer(field, item.getConstByteSpan());
}

bool Packet::singleSetInternal(const PacketField& field, const void* value, uint32 size) {
    const Element& element = elementOf(field);
    if (size == 0 || !hasSingle(element, size)) return false;
    std::memcpy(m_payload + element.m_offset, value, size);
    return true;
}

void Packet::arraySetInternal(const PacketField& field, const void* data, uint32 count) {
    const Element& element = elementOf(field);
    const ConstByteSpan bytes(static_cast<const uint8*>(data), size_t(count) * element.m_elementSize);
    setBytes(element, bytes, false, kTooManyElements);
}

void* Packet::allocateInternal(const PacketField& field, uint32 count) {
    const Element& element = elementOf(field);
    return allocateBytes(element, uint64(count) * element.m_elementSize, false, kTooManyElements);
}

void Packet::setBytes(const Element& element, ConstByteSpan bytes, bool compressible, const char* tooMany) {
    if (isDynamic(element)) {
        setDynamic(element, bytes.data, bytes.size, compressible);
        return;
    }
    const size_t room = getBytes(element).size;
    if (bytes.size > room) logging::error() << tooMany;
    if (const size_t size = std::min(bytes.size, room); size != 0)
        std::memmove(m_payload + element.m_offset, bytes.data, size);
}

uint8* Packet::allocateBytes(const Element& element, uint64 size, bool compressible, const char* tooMany) {
    if (isDynamic(element)) return setDynamic(element, nullptr, size, compressible);
    if (size <= getBytes(element).size) return m_payload + element.m_offset;
    logging::error() << tooMany;
    m_spill = std::make_unique_for_overwrite<uint8[]>(size);
    return m_spill.get();
}

/// Returns the position in the payload's block where the field would be if the packet ended with it; null if
/// the rest of the block is too small.
inline uint8* Packet::takeRoom(const PacketScheme::DynamicField& field, uint32 size) {
    if (size == 0) return m_payload + m_builtSize;
    const uint64 begin = field.align(m_builtSize);
    if (begin + size > m_roomSize) return nullptr;
    if (begin != m_builtSize) std::memset(m_payload + m_builtSize, 0, begin - m_builtSize);
    m_builtSize = static_cast<uint32>(begin + size);
    return m_payload + begin;
}

// The new bytes are complete before the old ones are freed, because they may be a part of them.
uint8* Packet::setDynamic(const Element& element, const uint8* bytes, uint64 size, bool compressible) {
    // Nearly all dynamic fields are texts and bytes; a division would cost them as much as everything else
    // here.
    const uint64 count =
        element.m_elementSize == 1 ? size : (size + element.m_elementSize - 1) / element.m_elementSize;
    const uint64 wholeSize = count * element.m_elementSize;
    if (wholeSize > std::numeric_limits<uint32>::max() || !hasStatic(element)) {
        logging::error() << kTooManyElements;
        return nullptr;
    }
    const auto index = static_cast<uint32>(element.m_dynamicIndex);
    const auto blockSize = static_cast<uint32>(wholeSize);
    uint8* const room = takeRoom(m_scheme->m_dynamicFields[index], blockSize);
    auto block = room ? nullptr : std::make_unique_for_overwrite<uint8[]>(blockSize);
    uint8* const target = room ? room : block.get();
    if (bytes && size != 0) std::memcpy(target, bytes, size);
    if (size != blockSize) std::memset(target + size, 0, blockSize - size);

    Attachment& attachment = m_attachments[index];
    attachment.clear();
    if (room) {
        attachment.view(room, blockSize);
    } else {
        attachment.take(std::move(block), blockSize);
    }
    attachment.hint(compressible);
    save<uint32>(element, count);
    if (!room || index < m_nextField) m_isBuiltInOrder = false;
    m_nextField = index + 1;
    return target;
}

void Packet::setCargo(const uint8* bytes, uint32 size, bool compressible) {
    if (size == 0) return m_cargo.clear();
    auto block = std::make_unique_for_overwrite<uint8[]>(size);
    std::memcpy(block.get(), bytes, size);
    m_cargo.take(std::move(block), size);
    m_cargo.hint(compressible);
}

void Packet::setCargo(ConstByteSpan bytes, bool compressible) {
    setCargo(bytes.data, static_cast<uint32>(bytes.size), compressible);
}

void Packet::setCargoString(const char* text) {
    const char* const bytes = text ? text : "";
    setCargo(withTerminator(bytes, std::strlen(bytes)), false);
}

uint8* Packet::allocateCargo(uint32 size, bool compressible) {
    m_cargo.clear();
    if (size != 0) m_cargo.take(std::make_unique_for_overwrite<uint8[]>(size), size);
    m_cargo.hint(compressible);
    return m_cargo.bytes();
}

} // namespace qel
