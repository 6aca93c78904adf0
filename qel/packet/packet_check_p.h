// PacketCheck: the gate for packets from outside. Nothing in their bytes is believed before it is checked
// here.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/packet/packet.h>
#include <qel/packet/packet_scheme.h>

#include <cstring>
#include <span>

namespace qel::internal {

/// Logs why a packet does not fit; kept apart from what well-formed packets run through. The parts come by
/// value, so that the numbers of a check can stay in registers. @return false.
template <typename... Parts>
[[gnu::cold, gnu::noinline]] bool refusePacket(Parts... parts) {
    auto line = logging::warning();
    line << "invalid packet received (";
    (line << ... << parts);
    line << ")";
    return false;
}

/// One attempt to read a payload by a scheme, step by step. Sizes have 64 bits, so that no sum of hostile
/// counts wraps.
class PacketCheck {
public:
    PacketCheck(const PacketScheme& scheme, const Packet::Manifest& manifest, const uint8* payload,
                uint32 size)
        : m_scheme(scheme), m_manifest(manifest), m_payload(payload), m_payloadSize(size), m_size(size) {}

    /// Checks the header and the sizes. @return false after a warning.
    [[gnu::always_inline]] bool checkFrame() { return checkId() && checkSuffix() && checkVersion(); }

    /// Checks the dynamic fields that the sender knows and what follows them, after checkFrame(); calls
    /// @p place(begin, size) for each of them in order. The values passed to it are valid only if the result
    /// is true. Each count is read once, so that bytes which someone else changes meanwhile do no harm.
    template <typename Place>
    [[gnu::always_inline]] bool checkFields(Place place) {
        uint64 end = m_staticEnd;
        for (const PacketScheme::DynamicField& field : knownFields()) {
            uint32 count = 0;
            std::memcpy(&count, m_payload + field.offset, sizeof count);
            if (count > field.maxCount)
                return refusePacket("dynamic array exceeded bounds, size=", count,
                                    ", maximum=", field.maxCount);
            const uint64 begin = count == 0 ? end : field.align(end);
            end = begin + uint64(count) * field.elementSize;
            place(begin, count * field.elementSize);
        }
        m_fieldsEnd = end;
        if (end > m_size) return refuseEnd("packet too small");
        if (!isVersioned() && m_size > end + m_scheme.getMaxCargoSize()) return refuseEnd("packet too large");
        return true;
    }

    /// Returns true if the sender knew all fields of the scheme.
    bool isNewest() const { return m_version == m_scheme.getMaxVersion(); }
    /// The sizes of the sender's version, or of the newest one here if that is older.
    const PacketScheme::Version& known() const { return m_known; }
    /// Where the cargo begins.
    uint32 cargoBegin() const { return static_cast<uint32>(m_fieldsEnd); }
    /// The bytes of the cargo.
    uint32 cargoSize() const { return isVersioned() ? 0 : static_cast<uint32>(m_size - m_fieldsEnd); }

private:
    bool isVersioned() const { return (m_manifest.flags & Packet::kVersioned) != 0; }

    [[gnu::always_inline]] bool checkId() const {
        const auto id = static_cast<uint16>(m_scheme.getID());
        return m_manifest.id == id || refusePacket("packet id wrong ", m_manifest.id, " != ", id);
    }

    [[gnu::always_inline]] bool checkSuffix() {
        if (!isVersioned()) return true;
        uint32 suffix = 0;
        if (m_size < sizeof suffix) return refusePacket("packet too small, no version suffix");
        m_size -= sizeof suffix;
        std::memcpy(&suffix, m_payload + m_size, sizeof suffix);
        m_staticEnd = suffix & 0xffffff;
        m_version = static_cast<int>(suffix >> 24);
        return m_staticEnd <= m_size ||
               refusePacket("packet too small, static size does not match payloadsize");
    }

    [[gnu::always_inline]] bool checkVersion() {
        if (m_version >= m_scheme.getMaxVersion()) {
            m_version = m_scheme.getMaxVersion();
            m_known = m_scheme.getNewestVersion();
        } else {
            m_known = m_scheme.getVersion(m_version);
        }
        if (m_known.staticSize > m_size)
            return refusePacket("packet too small, expected versionSize=", m_known.staticSize,
                                ", actual size=", m_payloadSize);
        if (!isVersioned()) m_staticEnd = m_known.staticSize;
        return m_staticEnd >= m_known.staticSize ||
               refusePacket("packet too small, static size does not match versionSize");
    }

    std::span<const PacketScheme::DynamicField> knownFields() const {
        return {m_scheme.m_dynamicFields.data(), m_known.dynamicCount};
    }

    bool refuseEnd(const char* reason) const {
        return refusePacket(reason, ", expected size=", m_fieldsEnd, ", actual size=", m_payloadSize);
    }

    const PacketScheme& m_scheme;
    const Packet::Manifest m_manifest;
    const uint8* const m_payload;
    const uint32 m_payloadSize;
    uint64 m_size;                 // of the payload without the suffix
    uint64 m_staticEnd = 0;        // of the sender's static area
    int m_version = 0;             // the sender's, or the newest known here if that is older
    PacketScheme::Version m_known; // sizes of that version
    uint64 m_fieldsEnd = 0;        // of the dynamic data
};

} // namespace qel::internal
