#include <qel/packet/packet_fields.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/packet/packet.h>
#include <qel/packet/packet_view.h>
#include <qel/store/core/item.h>

namespace qel {

template <typename Self>
const PacketScheme::Element& PacketFields<Self>::reportNoScheme(std::string_view name) const {
    logging::error() << "packet without scheme has no field '" << name << "'";
    return PacketScheme::blankElement();
}

template <typename Self>
uint32 PacketFields<Self>::getCount(const PacketField& field) const {
    const PacketScheme::Element& element = elementOf(field);
    const size_t size = getBytes(element).size;
    return size == 0 ? 0 : static_cast<uint32>(size / element.m_elementSize);
}

template <typename Self>
bool PacketFields<Self>::singleGetInternal(const PacketField& field, void* value, uint32 size) const {
    const PacketScheme::Element& element = elementOf(field);
    const uint8* const bytes = self().staticBytes(element);
    if (size == 0 || element.m_singleSize != size || !bytes) return false;
    std::memcpy(value, bytes, size);
    return true;
}

template <typename Self>
const void* PacketFields<Self>::arrayGetInternal(const PacketField& field, uint32& count) const {
    const PacketScheme::Element& element = elementOf(field);
    count = getCount(element);
    return getBytes(element).data;
}

template <typename Self>
const uint8* PacketFields<Self>::getBuffer(const PacketField& field, uint32& size) const {
    const ConstByteSpan bytes = getBytes(field);
    size = static_cast<uint32>(bytes.size);
    return bytes.data;
}

template <typename Self>
const char* PacketFields<Self>::getString(const PacketField& field) const {
    const ConstByteSpan bytes = getBytes(field);
    if (bytes.empty()) return "";
    if (bytes[bytes.size - 1] == 0) return reinterpret_cast<const char*>(bytes.data);
    logging::error() << "Packet::getString: member contents does not end with nullbyte, member="
                     << field.name() << ", m_scheme->getFullName()=" << self().getScheme()->getFullName();
    return "";
}

template <typename Self>
Item PacketFields<Self>::getItem(const PacketField& field) const {
    return Item(Item::ExternalBufferMode, getBytes(field));
}

template <typename Self>
Item PacketFields<Self>::getItemCopy(const PacketField& field) const {
    return Item(Item::PlainMode, getBytes(field));
}

template <typename Self>
const char* PacketFields<Self>::getCargoString() const {
    const ConstByteSpan cargo = self().cargoBytes();
    if (cargo.empty()) {
        logging::error() << "string get on empty cargo array";
        return "";
    }
    if (cargo[cargo.size - 1] == 0) return reinterpret_cast<const char*>(cargo.data);
    logging::error() << "cargo string does not end with zero";
    return "";
}

template class PacketFields<Packet>;
template class PacketFields<PacketView>;

} // namespace qel
