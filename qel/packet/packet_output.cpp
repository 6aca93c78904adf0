// Produces the payload for sending.
#include <qel/packet/packet.h>

#include <qel/foundation/log/message_stream.h>

#include <limits>

namespace qel {

namespace {

constexpr uint8 kPadding[8] = {};

} // namespace

/// Returns true if the first m_builtSize bytes of the block equal what is written before the suffix or the
/// cargo.
bool Packet::isWrittenAsBuilt() const {
    return m_isBuiltInOrder && (isWrittenVersioned() || m_scheme->getMaxVersion() == 0);
}

/// Calls @p piece(bytes, size, isCompressible) for each run of bytes of the payload.
template <typename Piece>
void Packet::forEachPiece(const Piece& piece) const {
    if (!m_scheme) return piece(m_payload, m_payloadSize, false);
    const PacketScheme::Version version =
        isWrittenVersioned() ? m_scheme->getNewestVersion() : m_scheme->getVersion(0);
    if (isWrittenAsBuilt()) {
        piece(m_payload, m_builtSize, false);
    } else {
        piece(m_payload, version.staticSize, false);
        forEachField(version, piece);
    }
    if (isWrittenVersioned()) {
        const uint32 suffix = versionSuffix();
        piece(reinterpret_cast<const uint8*>(&suffix), sizeof suffix, false);
    } else {
        piece(m_cargo.bytes(), m_cargo.size(), m_cargo.isCompressible());
    }
}

/// Calls @p piece for the padding and the bytes of each dynamic field of @p version that is set.
template <typename Piece>
void Packet::forEachField(const PacketScheme::Version& version, const Piece& piece) const {
    uint64 position = version.staticSize;
    for (uint32 i = 0; i < version.dynamicCount; ++i) {
        const Attachment& attachment = m_attachments[i];
        if (attachment.size() == 0) continue;
        const uint64 start = m_scheme->m_dynamicFields[i].align(position);
        piece(kPadding, static_cast<uint32>(start - position), false);
        piece(attachment.bytes(), attachment.size(), attachment.isCompressible());
        position = start + attachment.size();
    }
}

uint32 Packet::versionSuffix() const {
    return static_cast<uint32>(m_scheme->getMaxVersion()) << 24 | m_scheme->getNewestVersion().staticSize;
}

uint32 Packet::getPayloadSize() const {
    uint64 total = 0;
    forEachPiece([&total](const uint8*, uint32 size, bool) { total += size; });
    if (total <= std::numeric_limits<uint32>::max()) return static_cast<uint32>(total);
    logging::error() << "packet too large, size=" << total;
    return 0;
}

uint32 Packet::copyPayloadTo(uint8* out) const {
    const uint32 total = getPayloadSize();
    if (total == 0) return 0;
    forEachPiece([&out](const uint8* bytes, uint32 size, bool) {
        if (size != 0) std::memcpy(out, bytes, size);
        out += size;
    });
    return total;
}

ConstByteSpan Packet::getPayloadBytes() {
    if (!m_scheme) return {m_payload, m_payloadSize};
    if (isWrittenAsBuilt() && isWrittenVersioned()) {
        const uint32 suffix = versionSuffix();
        std::memcpy(m_payload + m_builtSize, &suffix, sizeof suffix);
        return {m_payload, m_builtSize + sizeof suffix};
    }
    if (isWrittenAsBuilt() && m_cargo.size() == 0) return {m_payload, m_builtSize};
    m_assembled = std::make_unique_for_overwrite<uint8[]>(getPayloadSize());
    const uint32 size = copyPayloadTo(m_assembled.get());
    return {m_assembled.get(), size};
}

uint32 Packet::getPayloadConsumed(ByteConsumer* consumer) const {
    const uint32 total = getPayloadSize();
    if (total == 0) return 0;
    forEachPiece([consumer](const uint8* bytes, uint32 size, bool isCompressible) {
        if (size != 0)
            consumer->process(isCompressible ? StreamType::Compressible : StreamType::Plain, bytes, size);
    });
    return total;
}

} // namespace qel
