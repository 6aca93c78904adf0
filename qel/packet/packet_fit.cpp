// Packets from outside are checked and bound to their scheme here.
#include <qel/packet/packet.h>

#include <qel/packet/packet_check_p.h>
#include <qel/packet/packet_view.h>

#include <algorithm>
#include <limits>

namespace qel {

bool Packet::fit(const PacketScheme* scheme) {
    if (!scheme || m_scheme == scheme) return scheme;
    if (m_isConstructed) return false;
    forgetScheme();
    internal::PacketCheck check(*scheme, manifest(), m_payload, m_payloadSize);
    if (!check.checkFrame()) return false;
    const PacketScheme::Version& newest = scheme->getNewestVersion();
    m_attachments.reset(newest.dynamicCount);
    const bool fits =
        check.checkFields([this, next = m_attachments.begin()](uint64 begin, uint32 size) mutable {
            if (size != 0) next->view(begin + size > m_payloadSize ? nullptr : m_payload + begin, size);
            ++next;
        });
    if (!fits) {
        forgetScheme();
        return false;
    }
    if (check.cargoSize() != 0) m_cargo.view(m_payload + check.cargoBegin(), check.cargoSize());
    m_scheme = scheme;
    if (!check.isNewest()) upgrade(check.known().staticSize);
    m_staticSize = newest.staticSize;
    return true;
}

/// Gives the packet of an older sender the static area of the newest version, and copies the fields of the
/// old payload.
void Packet::upgrade(uint32 knownSize) {
    for (Attachment& attachment : m_attachments) attachment.detach();
    m_cargo.detach();
    const uint32 newSize = m_scheme->getNewestVersion().staticSize;
    auto area = std::make_unique_for_overwrite<uint8[]>(newSize);
    const auto defaults = m_scheme->m_defaults.begin();
    const auto middle = std::copy_n(m_payload, knownSize, area.get());
    std::copy(defaults + knownSize, defaults + newSize, middle);
    freePayload();
    m_payload = area.release();
    m_payloadSize = newSize;
    m_hasExternalPayload = false;
    m_owner.reset();
}

void Packet::forgetScheme() {
    m_scheme = nullptr;
    m_staticSize = 0;
    m_attachments.reset(0);
    m_cargo.clear();
}

inline void PacketView::reserveRanges(uint32 count) {
    m_ranges = m_few.data();
    if (count <= kFewFields) return;
    m_many = std::make_unique_for_overwrite<Range[]>(count);
    m_ranges = m_many.get();
}

inline bool PacketView::tryFit(const PacketScheme& scheme, const Packet::Manifest& manifest,
                               ConstByteSpan payload) {
    if (payload.size > std::numeric_limits<uint32>::max())
        return internal::refusePacket("packet too large, actual size=", payload.size);
    internal::PacketCheck check(scheme, manifest, payload.data, static_cast<uint32>(payload.size));
    if (!check.checkFrame()) return false;
    const auto [staticSize, dynamicCount] = scheme.getNewestVersion();
    reserveRanges(dynamicCount);
    Range* next = m_ranges;
    const bool fits = check.checkFields([&next](uint64 begin, uint32 size) {
        *next++ = {static_cast<uint32>(begin), size};
    });
    if (!fits) return false;
    std::fill(next, m_ranges + dynamicCount, Range{0, 0}); // the fields that only newer versions have
    m_scheme = &scheme;
    m_payload = payload.data;
    m_knownSize = check.known().staticSize;
    m_staticSize = staticSize;
    m_dynamicCount = dynamicCount;
    const uint32 cargoSize = check.cargoSize();
    m_cargo = cargoSize == 0 ? ConstByteSpan() : ConstByteSpan(payload.data + check.cargoBegin(), cargoSize);
    return true;
}

bool PacketView::fit(const PacketScheme* scheme, const Packet::Manifest& manifest, ConstByteSpan payload) {
    if (scheme && tryFit(*scheme, manifest, payload)) return true;
    m_scheme = nullptr;
    m_knownSize = m_staticSize = m_dynamicCount = 0;
    m_cargo = {};
    return false;
}

} // namespace qel
