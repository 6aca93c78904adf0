#include <qel/packet/packet.h>

#include <qel/foundation/log/message_stream.h>

#include <bit>
#include <utility>

namespace qel {

static_assert(std::endian::native == std::endian::little, "values are copied as they stand");

namespace {

uint8* newBytes(uint32 size) {
    return size == 0 ? nullptr : new uint8[size];
}

} // namespace

Packet::Packet(uint32 size) : m_payload(newBytes(size)), m_payloadSize(size) {}

Packet::Packet(uint32 size, uint8* bytes, Object* owner)
    : m_payload(bytes), m_payloadSize(size), m_hasExternalPayload(true), m_owner(owner) {}

Packet::Packet(const Packet* other) : Packet(other->getPayloadSize()) {
    m_header = other->m_header;
    other->copyPayloadTo(m_payload);
}

Packet::Packet(const PacketScheme* scheme, short port) : Packet(scheme->getNewestVersion().staticSize) {
    m_scheme = scheme;
    m_staticSize = m_payloadSize;
    m_isConstructed = true;
    m_versioningDisabled = scheme->getMaxCargoSize() != 0;
    m_header = {port, kNoPort, {static_cast<uint16>(scheme->getID()), kVersioned}};
    if (m_versioningDisabled) setFlags(0);
    if (m_payload) std::memcpy(m_payload, scheme->m_defaults.data(), m_staticSize);
    m_attachments.reset(scheme->getNewestVersion().dynamicCount);
}

Packet::~Packet() {
    freePayload();
}

void Packet::freePayload() {
    if (!m_hasExternalPayload) delete[] m_payload;
}

void Packet::swap(Packet& other) noexcept {
    std::swap(m_scheme, other.m_scheme);
    std::swap(m_payload, other.m_payload);
    std::swap(m_payloadSize, other.m_payloadSize);
    std::swap(m_staticSize, other.m_staticSize);
    std::swap(m_header, other.m_header);
    std::swap(m_cachedPayloadSize, other.m_cachedPayloadSize);
    std::swap(m_hasExternalPayload, other.m_hasExternalPayload);
    std::swap(m_isConstructed, other.m_isConstructed);
    std::swap(m_flushAfterThis, other.m_flushAfterThis);
    std::swap(m_versioningDisabled, other.m_versioningDisabled);
    m_cargo.swap(other.m_cargo);
    m_attachments.swap(other.m_attachments);
    m_owner.swap(other.m_owner);
    m_spill.swap(other.m_spill);
}

void Packet::disableVersioning() {
    m_versioningDisabled = true;
    if (m_scheme) clearFlag(kVersioned);
}

void Packet::Attachment::clear() {
    if (m_isOwned) delete[] m_bytes;
    view(nullptr, 0);
}

void Packet::Attachment::view(uint8* bytes, uint32 size) {
    m_bytes = bytes;
    m_size = size;
    m_isOwned = m_isCompressible = false;
}

void Packet::Attachment::take(std::unique_ptr<uint8[]> block, uint32 size, bool compressible) {
    clear();
    m_bytes = block.release();
    m_size = size;
    m_isOwned = true;
    m_isCompressible = compressible && size >= kMinCompressibleSize;
}

void Packet::Attachment::detach() {
    if (m_isOwned || m_size == 0) return;
    auto block = std::make_unique_for_overwrite<uint8[]>(m_size);
    std::memcpy(block.get(), m_bytes, m_size);
    take(std::move(block), m_size, false);
}

void Packet::Attachment::swap(Attachment& other) noexcept {
    std::swap(m_bytes, other.m_bytes);
    std::swap(m_size, other.m_size);
    std::swap(m_isOwned, other.m_isOwned);
    std::swap(m_isCompressible, other.m_isCompressible);
}

void Packet::Attachments::reset(uint32 size) {
    m_many.reset();
    for (Attachment& attachment : m_few) attachment.clear();
    if (size > m_few.size()) m_many = std::make_unique<Attachment[]>(size);
    m_size = size;
}

void Packet::Attachments::swap(Attachments& other) noexcept {
    for (size_t i = 0; i < m_few.size(); ++i) m_few[i].swap(other.m_few[i]);
    m_many.swap(other.m_many);
    std::swap(m_size, other.m_size);
}

} // namespace qel
