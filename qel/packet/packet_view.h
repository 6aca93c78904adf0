// PacketView: reads a received packet in place.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/types.h>
#include <qel/packet/packet.h>
#include <qel/packet/packet_fields.h>
#include <qel/packet/packet_scheme.h>
#include <qel/platform/api.h>

#include <array>
#include <memory>

namespace qel {

/// Checks and reads the payload of a received packet where it lies: no object is created and nothing is
/// copied. fit() accepts exactly the payloads that Packet::fit() accepts, and every field reads the same.
/// @code
/// PacketView view;
/// if (view.fit(&scheme, {id, flags}, bytes)) use(view.getInteger("priority"), view.getString("path"));
/// @endcode
/// @owner   borrows the payload, which must neither change nor be freed while the view is used.
/// @threads not locked; several threads may read one view.
class QEL_API PacketView : public PacketFields<PacketView> {
public:
    /// Creates a view of nothing.
    PacketView() = default;
    PacketView(const PacketView&) = delete;
    PacketView& operator=(const PacketView&) = delete;

    /// Checks @p payload against @p scheme as Packet::fit() does and lets the fields be read.
    /// Allocates memory only for a scheme with more than kFewFields dynamic fields.
    /// @param manifest  the id and flags that came with the payload.
    /// @return false, with the view empty, if the payload does not fit; a warning states the reason. Also
    ///         false, without a warning, if @p scheme is null.
    bool fit(const PacketScheme* scheme, const Packet::Manifest& manifest, ConstByteSpan payload);
    /// Returns the scheme; null unless the last fit() returned true.
    const PacketScheme* getScheme() const { return m_scheme; }

    /// The number of dynamic fields that a view has room for without allocating.
    static constexpr uint32 kFewFields = 8;

private:
    friend class PacketFields<PacketView>;

    /// Where the bytes of a dynamic field are in the payload.
    struct Range {
        uint32 begin;
        uint32 size;
    };

    // A field that is newer than the sender has its default value.
    const uint8* staticBytes(const PacketScheme::Element& element) const {
        if (element.m_end <= m_knownSize) return m_payload + element.m_offset;
        return element.m_end <= m_staticSize ? m_scheme->m_defaults.data() + element.m_offset : nullptr;
    }
    uint32 dynamicCount() const { return m_dynamicCount; }
    ConstByteSpan dynamicBytes(uint32 index) const {
        const Range& range = m_ranges[index];
        return range.size == 0 ? ConstByteSpan() : ConstByteSpan(m_payload + range.begin, range.size);
    }
    ConstByteSpan cargoBytes() const { return m_cargo; }
    bool tryFit(const PacketScheme& scheme, const Packet::Manifest& manifest, ConstByteSpan payload);
    void reserveRanges(uint32 count);

    const PacketScheme* m_scheme = nullptr;
    const uint8* m_payload = nullptr;
    uint32 m_knownSize = 0;    // of the static area that the sender and the scheme both know
    uint32 m_staticSize = 0;   // of the newest version
    uint32 m_dynamicCount = 0; // of the newest version
    ConstByteSpan m_cargo;
    Range* m_ranges = nullptr;
    std::unique_ptr<Range[]> m_many;
    std::array<Range, kFewFields> m_few; // set by fit() as far as there are fields
};

} // namespace qel
