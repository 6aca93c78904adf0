// The gate for packets from outside: nothing of their bytes is believed before it is checked here.
#include <qel/packet/packet.h>

#include <qel/foundation/log/message_stream.h>

#include <algorithm>

namespace qel {

namespace {

template <typename... Parts>
bool refuse(const Parts&... parts) {
    logging::MessageStream line(2, 2);
    line << "invalid packet received (";
    (line << ... << parts);
    line << ")";
    return false;
}

} // namespace

/// What the checks find out about a payload. Sizes have 64 bits, so that no sum of hostile counts wraps.
struct Packet::Received {
    uint64 size = 0;                  ///< bytes without the suffix
    uint32 sentStaticSize = 0;        ///< of the sender's version, told by the suffix
    int version = 0;                  ///< the sender's, or the newest known here when that is older
    PacketScheme::Version known = {}; ///< sizes of that version
    uint64 fieldsEnd = 0;             ///< behind the dynamic data
};

bool Packet::fit(const PacketScheme* scheme) {
    if (!scheme || m_scheme == scheme) return scheme;
    if (m_isConstructed) return false;
    forgetScheme();
    if (const auto id = static_cast<uint16>(scheme->getID()); getID() != id)
        return refuse("packet id wrong ", getID(), " != ", id);
    m_scheme = scheme;
    Received received;
    received.size = m_payloadSize;
    if (!readSuffix(received) || !readVersion(received) || !measureFields(received)) {
        forgetScheme();
        return false;
    }
    attachFields(received);
    if (received.version != scheme->getMaxVersion()) upgrade(received);
    m_staticSize = scheme->getNewestVersion().staticSize;
    return true;
}

void Packet::forgetScheme() {
    m_scheme = nullptr;
    m_staticSize = 0;
    m_attachments.reset(0);
    m_cargo.clear();
}

bool Packet::readSuffix(Received& received) const {
    if (!hasFlag(kVersioned)) return true;
    uint32 suffix = 0;
    if (received.size < sizeof suffix) return refuse("packet too small, no version suffix");
    received.size -= sizeof suffix;
    std::memcpy(&suffix, m_payload + received.size, sizeof suffix);
    received.sentStaticSize = suffix & 0xffffff;
    received.version = static_cast<int>(suffix >> 24);
    if (received.sentStaticSize > received.size)
        return refuse("packet too small, static size does not match payloadsize");
    return true;
}

bool Packet::readVersion(Received& received) const {
    received.version = std::min(received.version, m_scheme->getMaxVersion());
    received.known = m_scheme->getVersion(received.version);
    if (received.known.staticSize > received.size)
        return refuse("packet too small, expected versionSize=", received.known.staticSize,
                      ", actual size=", m_payloadSize);
    received.fieldsEnd = received.known.staticSize;
    if (!hasFlag(kVersioned)) return true;
    if (received.sentStaticSize < received.known.staticSize)
        return refuse("packet too small, static size does not match versionSize");
    received.fieldsEnd = received.sentStaticSize;
    return true;
}

// Each count is read once and kept, so that bytes which someone else changes meanwhile do no harm.
bool Packet::measureFields(Received& received) {
    m_attachments.reset(m_scheme->getNewestVersion().dynamicCount);
    for (uint32 i = 0; i < received.known.dynamicCount; ++i) {
        const PacketScheme::DynamicField& field = m_scheme->m_dynamicFields[i];
        uint32 count = 0;
        std::memcpy(&count, m_payload + field.offset, sizeof count);
        if (count > field.maxCount)
            return refuse("dynamic array exceeded bounds, size=", count, ", maximum=", field.maxCount);
        if (count == 0) continue;
        m_attachments[i].view(nullptr, count * field.elementSize);
        received.fieldsEnd = field.align(received.fieldsEnd) + m_attachments[i].size();
    }
    if (received.fieldsEnd > received.size)
        return refuse("packet too small, expected size=", received.fieldsEnd,
                      ", actual size=", m_payloadSize);
    if (!hasFlag(kVersioned) && received.size > received.fieldsEnd + m_scheme->getMaxCargoSize())
        return refuse("packet too large, expected size=", received.fieldsEnd,
                      ", actual size=", m_payloadSize);
    return true;
}

void Packet::attachFields(const Received& received) {
    uint64 position = hasFlag(kVersioned) ? received.sentStaticSize : received.known.staticSize;
    for (uint32 i = 0; i < received.known.dynamicCount; ++i) {
        const uint32 size = m_attachments[i].size();
        if (size == 0) continue;
        position = m_scheme->m_dynamicFields[i].align(position);
        m_attachments[i].view(m_payload + position, size);
        position += size;
    }
    if (!hasFlag(kVersioned) && received.size > position)
        m_cargo.view(m_payload + position, static_cast<uint32>(received.size - position));
}

// Gives the packet of an older sender the static area of the newest version, and its own copies of what the
// old payload held.
void Packet::upgrade(const Received& received) {
    for (uint32 i = 0; i < m_attachments.size(); ++i) m_attachments[i].detach();
    m_cargo.detach();
    const uint32 newSize = m_scheme->getNewestVersion().staticSize;
    auto area = std::make_unique_for_overwrite<uint8[]>(newSize);
    const auto defaults = m_scheme->m_defaults.begin();
    const auto middle = std::copy_n(m_payload, received.known.staticSize, area.get());
    std::copy(defaults + received.known.staticSize, defaults + newSize, middle);
    freePayload();
    m_payload = area.release();
    m_payloadSize = newSize;
    m_hasExternalPayload = false;
    m_owner.reset();
}

} // namespace qel
