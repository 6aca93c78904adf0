// The gate for packets from outside: nothing of their bytes is believed before it is checked here.
#include <qel/packet/packet.h>

#include <qel/foundation/log/message_stream.h>

#include <algorithm>
#include <span>

namespace qel {

namespace {

/// Kept out of the way of what good packets run through.
template <typename... Parts>
[[gnu::cold, gnu::noinline]] bool refuse(const Parts&... parts) {
    auto line = logging::warning();
    line << "invalid packet received (";
    (line << ... << parts);
    line << ")";
    return false;
}

} // namespace

/// One attempt to bind a raw packet to a scheme, step by step. Sizes have 64 bits, so that no sum of hostile
/// counts wraps.
class Packet::Fitting {
public:
    Fitting(Packet& packet, const PacketScheme& scheme)
        : m_packet(packet),
          m_scheme(scheme),
          m_isVersioned(packet.hasFlag(kVersioned)),
          m_size(packet.m_payloadSize) {}

    bool check() { return checkSuffix() && checkVersion() && checkFields(); }

    void bind() {
        if (!m_isVersioned && m_size > m_fieldsEnd)
            m_packet.m_cargo.view(m_packet.m_payload + m_fieldsEnd,
                                  static_cast<uint32>(m_size - m_fieldsEnd));
        m_packet.m_scheme = &m_scheme;
        if (m_version != m_scheme.getMaxVersion()) upgrade();
        m_packet.m_staticSize = m_scheme.getNewestVersion().staticSize;
    }

private:
    bool checkSuffix() {
        if (!m_isVersioned) return true;
        uint32 suffix = 0;
        if (m_size < sizeof suffix) return refuse("packet too small, no version suffix");
        m_size -= sizeof suffix;
        std::memcpy(&suffix, m_packet.m_payload + m_size, sizeof suffix);
        m_staticEnd = suffix & 0xffffff;
        m_version = static_cast<int>(suffix >> 24);
        if (m_staticEnd > m_size) return refuse("packet too small, static size does not match payloadsize");
        return true;
    }

    bool checkVersion() {
        const bool isNewest = m_version >= m_scheme.getMaxVersion();
        if (isNewest) m_version = m_scheme.getMaxVersion();
        m_known = isNewest ? m_scheme.getNewestVersion() : m_scheme.getVersion(m_version);
        if (m_known.staticSize > m_size)
            return refuse("packet too small, expected versionSize=", m_known.staticSize,
                          ", actual size=", m_packet.m_payloadSize);
        if (!m_isVersioned) m_staticEnd = m_known.staticSize;
        if (m_staticEnd < m_known.staticSize)
            return refuse("packet too small, static size does not match versionSize");
        return true;
    }

    // Each count is read once and kept, so that bytes which someone else changes meanwhile do no harm.
    bool checkFields() {
        m_packet.m_attachments.reset(m_scheme.getNewestVersion().dynamicCount);
        Attachment* attachment = m_packet.m_attachments.begin();
        uint64 end = m_staticEnd;
        for (const PacketScheme::DynamicField& field : knownFields()) {
            uint32 count = 0;
            std::memcpy(&count, m_packet.m_payload + field.offset, sizeof count);
            if (count > field.maxCount)
                return refuse("dynamic array exceeded bounds, size=", count, ", maximum=", field.maxCount);
            if (count != 0) {
                const uint64 begin = field.align(end);
                end = begin + count * field.elementSize;
                attachment->view(end > m_size ? nullptr : m_packet.m_payload + begin,
                                 count * field.elementSize);
            }
            ++attachment;
        }
        m_fieldsEnd = end;
        if (m_fieldsEnd > m_size) return refuseEnd("packet too small");
        if (!m_isVersioned && m_size > m_fieldsEnd + m_scheme.getMaxCargoSize())
            return refuseEnd("packet too large");
        return true;
    }

    std::span<const PacketScheme::DynamicField> knownFields() const {
        return {m_scheme.m_dynamicFields.data(), m_known.dynamicCount};
    }

    bool refuseEnd(const char* reason) const {
        return refuse(reason, ", expected size=", m_fieldsEnd, ", actual size=", m_packet.m_payloadSize);
    }

    // Gives the packet of an older sender the static area of the newest version, and its own copies of what
    // the old payload held.
    void upgrade() {
        for (Attachment& attachment : m_packet.m_attachments) attachment.detach();
        m_packet.m_cargo.detach();
        const uint32 newSize = m_scheme.getNewestVersion().staticSize;
        auto area = std::make_unique_for_overwrite<uint8[]>(newSize);
        const auto defaults = m_scheme.m_defaults.begin();
        const auto middle = std::copy_n(m_packet.m_payload, m_known.staticSize, area.get());
        std::copy(defaults + m_known.staticSize, defaults + newSize, middle);
        m_packet.freePayload();
        m_packet.m_payload = area.release();
        m_packet.m_payloadSize = newSize;
        m_packet.m_hasExternalPayload = false;
        m_packet.m_owner.reset();
    }

    Packet& m_packet;
    const PacketScheme& m_scheme;
    const bool m_isVersioned;
    uint64 m_size;                 // bytes without the suffix
    uint64 m_staticEnd = 0;        // behind the sender's static area
    int m_version = 0;             // the sender's, or the newest known here when that is older
    PacketScheme::Version m_known; // sizes of that version
    uint64 m_fieldsEnd = 0;        // behind the dynamic data
};

bool Packet::fit(const PacketScheme* scheme) {
    if (!scheme || m_scheme == scheme) return scheme;
    if (m_isConstructed) return false;
    if (m_scheme) forgetScheme();
    if (const auto id = static_cast<uint16>(scheme->getID()); getID() != id)
        return refuse("packet id wrong ", getID(), " != ", id);
    Fitting fitting(*this, *scheme);
    if (!fitting.check()) {
        forgetScheme();
        return false;
    }
    fitting.bind();
    return true;
}

void Packet::forgetScheme() {
    m_scheme = nullptr;
    m_staticSize = 0;
    m_attachments.reset(0);
    m_cargo.clear();
}

} // namespace qel
