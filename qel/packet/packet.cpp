#include <qel/packet/packet.h>

#include <qel/foundation/log/message_stream.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>

namespace qel {

static_assert(std::endian::native == std::endian::little, "values are copied unchanged");

namespace {

constexpr uint32 kRoomSize = 512;
constexpr uint32 kSuffixSize = sizeof(uint32);

uint8* newBytes(uint32 size) {
    return size == 0 ? nullptr : new uint8[size];
}

} // namespace

Packet::Packet(uint32 size) : m_payload(newBytes(size)), m_payloadSize(size) {}

Packet::Packet(const Packet* other) : Packet(other->getPayloadSize()) {
    m_header = other->m_header;
    other->copyPayloadTo(m_payload);
}

// One block contains the static area, space for small fields and the version suffix, so that a packet which
// is built in order is its own payload.
Packet::Packet(const PacketScheme* scheme, short port) : m_scheme(scheme) {
    const auto& [staticSize, dynamicCount] = scheme->getNewestVersion();
    m_payloadSize = m_staticSize = staticSize;
    m_roomSize = staticSize + (dynamicCount == 0 ? 0 : kRoomSize);
    m_payload = newBytes(m_roomSize + kSuffixSize);
    m_isConstructed = true;
    clearFields();
    m_versioningDisabled = scheme->getMaxCargoSize() != 0;
    const uint16 flags = m_versioningDisabled ? 0 : kVersioned;
    m_header = {port, kNoPort, {static_cast<uint16>(scheme->getID()), flags}};
}

void Packet::clearFields() {
    if (!m_isConstructed) return;
    std::copy_n(m_scheme->m_defaults.begin(), m_staticSize, m_payload);
    m_attachments.reset(m_scheme->getNewestVersion().dynamicCount);
    m_cargo.clear();
    m_builtSize = m_staticSize;
    m_nextField = 0;
    m_isBuiltInOrder = true;
}

Packet::~Packet() {
    m_cargo.clear();
    freePayload();
}

void Packet::swap(Packet& other) noexcept {
    std::swap(m_scheme, other.m_scheme);
    std::swap(m_payload, other.m_payload);
    std::swap(m_payloadSize, other.m_payloadSize);
    std::swap(m_staticSize, other.m_staticSize);
    std::swap(m_builtSize, other.m_builtSize);
    std::swap(m_roomSize, other.m_roomSize);
    std::swap(m_nextField, other.m_nextField);
    std::swap(m_isBuiltInOrder, other.m_isBuiltInOrder);
    std::swap(m_header, other.m_header);
    std::swap(m_cachedPayloadSize, other.m_cachedPayloadSize);
    std::swap(m_hasExternalPayload, other.m_hasExternalPayload);
    std::swap(m_isConstructed, other.m_isConstructed);
    std::swap(m_flushAfterThis, other.m_flushAfterThis);
    std::swap(m_versioningDisabled, other.m_versioningDisabled);
    std::swap(m_cargo, other.m_cargo);
    m_attachments.swap(other.m_attachments);
    m_owner.swap(other.m_owner);
    m_spill.swap(other.m_spill);
    m_assembled.swap(other.m_assembled);
}

void Packet::disableVersioning() {
    m_versioningDisabled = true;
    if (m_scheme) clearFlag(kVersioned);
}

void Packet::Attachment::take(std::unique_ptr<uint8[]> block, uint32 size) {
    clear();
    view(block.release(), size);
    m_isOwned = true;
}

void Packet::Attachment::detach() {
    if (m_isOwned || m_size == 0) return;
    auto block = std::make_unique_for_overwrite<uint8[]>(m_size);
    std::memcpy(block.get(), m_bytes, m_size);
    take(std::move(block), m_size);
}

void Packet::Attachments::allocate(uint32 size) {
    m_many = size > m_few.size() ? std::make_unique<Attachment[]>(size) : nullptr;
}

void Packet::Attachments::swap(Attachments& other) noexcept {
    m_few.swap(other.m_few);
    m_many.swap(other.m_many);
    std::swap(m_size, other.m_size);
}

} // namespace qel
