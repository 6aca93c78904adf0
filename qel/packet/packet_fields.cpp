// Fields of packets that are more than one number, and the cargo.
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

const PacketScheme::Element& Packet::reportNoScheme(std::string_view name) const {
    logging::error() << "packet without scheme has no field '" << name << "'";
    return PacketScheme::blankElement();
}

const char* Packet::getString(const PacketField& field) const {
    const ConstByteSpan bytes = getBytes(field);
    if (bytes.empty()) return "";
    if (bytes[bytes.size - 1] == 0) return reinterpret_cast<const char*>(bytes.data);
    logging::error() << "Packet::getString: member contents does not end with nullbyte, member="
                     << field.name() << ", m_scheme->getFullName()=" << m_scheme->getFullName();
    return "";
}

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

const uint8* Packet::getBuffer(const PacketField& field, uint32& size) const {
    const ConstByteSpan bytes = getBytes(field);
    size = static_cast<uint32>(bytes.size);
    return bytes.data;
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

Item Packet::getItem(const PacketField& field) const {
    return Item(Item::ExternalBufferMode, getBytes(field));
}

Item Packet::getItemCopy(const PacketField& field) const {
    return Item(Item::PlainMode, getBytes(field));
}

void Packet::setItem(const PacketField& field, const Item& item) {
    setBuffer(field, item.getConstByteSpan());
}

bool Packet::singleGetInternal(const PacketField& field, void* value, uint32 size) const {
    const Element& element = elementOf(field);
    if (size == 0 || !hasSingle(element, size)) return false;
    std::memcpy(value, m_payload + element.m_offset, size);
    return true;
}

bool Packet::singleSetInternal(const PacketField& field, const void* value, uint32 size) {
    const Element& element = elementOf(field);
    if (size == 0 || !hasSingle(element, size)) return false;
    std::memcpy(m_payload + element.m_offset, value, size);
    return true;
}

uint32 Packet::getCount(const PacketField& field) const {
    const Element& element = elementOf(field);
    const size_t size = getBytes(element).size;
    return size == 0 ? 0 : static_cast<uint32>(size / element.m_elementSize);
}

const void* Packet::arrayGetInternal(const PacketField& field, uint32& count) const {
    const Element& element = elementOf(field);
    count = getCount(element);
    return getBytes(element).data;
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

// The new bytes are complete before the old ones go, since they may come from there.
uint8* Packet::setDynamic(const Element& element, const uint8* bytes, uint64 size, bool compressible) {
    // Nearly all dynamic fields are texts and bytes: a division costs them as much as everything else here.
    const uint64 count =
        element.m_elementSize == 1 ? size : (size + element.m_elementSize - 1) / element.m_elementSize;
    const uint64 wholeSize = count * element.m_elementSize;
    if (wholeSize > std::numeric_limits<uint32>::max() || !hasStatic(element)) {
        logging::error() << kTooManyElements;
        return nullptr;
    }
    const auto blockSize = static_cast<uint32>(wholeSize);
    uint8* const room = takeRoom(blockSize);
    auto block = room ? nullptr : std::make_unique_for_overwrite<uint8[]>(blockSize);
    uint8* const target = room ? room : block.get();
    if (bytes && size != 0) std::memcpy(target, bytes, size);
    if (size != blockSize) std::memset(target + size, 0, blockSize - size);

    Attachment& attachment = m_attachments[static_cast<size_t>(element.m_dynamicIndex)];
    if (room) {
        attachment.clear();
        attachment.view(room, blockSize);
    } else {
        attachment.take(std::move(block), blockSize);
    }
    attachment.hint(compressible);
    save<uint32>(element, count);
    return target;
}

/// A place in the payload's block, null when the rest of it is too small.
uint8* Packet::takeRoom(uint32 size) {
    constexpr uint32 kAlignment = 8; // of the largest number
    if (size > m_roomEnd - m_roomBegin) return nullptr;
    uint8* const place = m_payload + m_roomBegin;
    m_roomBegin = std::min(m_roomEnd, (m_roomBegin + size + kAlignment - 1) & ~(kAlignment - 1));
    return place;
}

const char* Packet::getCargoString() const {
    if (m_cargo.size() == 0) {
        logging::error() << "string get on empty cargo array";
        return "";
    }
    if (m_cargo.bytes()[m_cargo.size() - 1] == 0) return reinterpret_cast<const char*>(m_cargo.bytes());
    logging::error() << "cargo string does not end with zero";
    return "";
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
