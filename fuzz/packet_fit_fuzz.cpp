// Packets from outside. The first byte selects the scheme and how much of the payload is adjusted to fit it,
// so that many inputs pass the checks; the second byte is the flags, and the rest is the payload. A Packet
// and a PacketView must accept the same payloads and read the same fields.
#include <fuzz/require.h>
#include <tests/packet/packet_schemes.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/packet/packet_view.h>
#include <qel/store/core/item.h>

#include <algorithm>
#include <iterator>
#include <vector>

using qel::Packet;
using qel::PacketScheme;
using qel::PacketView;
using qel::SmartPointer;
using qel::uint32;
using qel::uint8;

namespace {

const qel::test::JobScheme kJobs[] = {qel::test::JobScheme(0), qel::test::JobScheme(1),
                                      qel::test::JobScheme(2)};
const qel::test::AllKindsScheme kAllKinds;
const qel::test::CargoScheme kCargo;
const qel::test::RowScheme kRow;
const PacketScheme* const kSchemes[] = {&kJobs[0], &kJobs[1], &kJobs[2], &kAllKinds, &kCargo, &kRow};

int g_warnings = 0;

/// The bits of the first byte above the scheme.
enum Repair { kCounts = 8, kSuffix = 16, kOtherId = 32 };

void makeCountsSmall(std::vector<uint8>& payload, const PacketScheme& scheme) {
    payload.resize(std::max<size_t>(payload.size(), scheme.getNewestVersion().staticSize));
    for (const auto& [name, element] : scheme.getElements()) {
        if (element.getDynamicIndex() < 0) continue;
        uint8* const count = payload.data() + element.getOffset();
        std::fill(count + 1, count + 4, uint8(0));
        *count &= 3;
    }
}

/// Appends a version suffix that fits. The last two bytes select the version and how much larger the sender's
/// static area is than the scheme's.
void makeSuffixFit(std::vector<uint8>& payload, const PacketScheme& scheme) {
    const uint8 version = payload.empty() ? 0 : payload.back() & 3;
    const uint8 more = payload.size() < 2 ? 0 : payload[payload.size() - 2] & 1;
    const auto size =
        scheme.getVersion(std::min<int>(version, scheme.getMaxVersion())).staticSize + 8u * more;
    const uint32 suffix = uint32(version) << 24 | size;
    payload.resize(std::max<size_t>(payload.size(), size));
    for (int shift = 0; shift < 32; shift += 8) payload.push_back(static_cast<uint8>(suffix >> shift));
}

/// Reads every field by every operation; the sanitizers watch the bounds.
template <typename Fields>
size_t readAll(const Fields& packet, const PacketScheme& scheme) {
    size_t sum = packet.getCargoSize();
    for (uint32 i = 0; i < packet.getCargoSize(); ++i) sum += packet.getCargo()[i];
    sum += std::strlen(packet.getCargoString());
    for (const auto& [name, element] : scheme.getElements()) {
        const qel::ConstByteSpan bytes = packet.getBytes(name);
        for (const uint8 byte : bytes) sum += byte;
        sum += static_cast<size_t>(packet.getInteger(element)) + std::strlen(packet.getString(element));
        require(packet.getFloat(name) != 1e300 || element.getKind() == PacketScheme::Kind::Float);
        require(packet.getCount(element) * element.getElementSize() == bytes.size);
        require(bytes.size <= PacketScheme::kMaxDynamicBytes);
        sum += static_cast<size_t>(packet.getItem(element).getDepth());
        std::vector<qel::String> texts;
        packet.getStringList(element, texts);
        require(texts.size() <= bytes.size);
    }
    return sum;
}

template <typename Fields>
void requireSameFields(const Packet& a, const Fields& b, const PacketScheme& scheme) {
    for (const auto& [name, element] : scheme.getElements()) {
        require(a.getBytes(element).asText() == b.getBytes(element).asText());
        require(a.getInteger(element) == b.getInteger(element));
        const double aFloat = a.getFloat(element), bFloat = b.getFloat(element);
        require(std::memcmp(&aFloat, &bFloat, sizeof aFloat) == 0);
    }
    require(a.getCargoSize() == b.getCargoSize());
    require(a.getCargoSize() == 0 || std::memcmp(a.getCargo(), b.getCargo(), a.getCargoSize()) == 0);
}

/// Fits a view and requires that it warns exactly if it refuses.
bool fits(PacketView& view, const Packet& packet, const PacketScheme& scheme,
          const std::vector<uint8>& payload) {
    g_warnings = 0;
    const bool fits = view.fit(&scheme, packet.manifest(), {payload.data(), payload.size()});
    require(g_warnings == (fits ? 0 : 1));
    require(view.getScheme() == (fits ? &scheme : nullptr));
    return fits;
}

/// Sets each field to a size that differs from what it was.
void writeAll(Packet& packet, const PacketScheme& scheme) {
    for (const auto& [name, element] : scheme.getElements()) {
        packet.setInteger(element, -1);
        packet.setFloat(name, 0.5);
        std::fill_n(packet.allocateBuffer(element, 9), 9, uint8(7));
        packet.setString(element, "text");
    }
}

/// Requires that the payload in one piece is the payload that is copied out.
void requireSamePayload(Packet& packet) {
    std::vector<uint8> bytes(packet.getPayloadSize());
    packet.copyPayloadTo(bytes.data());
    const qel::ConstByteSpan inPlace = packet.getPayloadBytes();
    require(std::equal(bytes.begin(), bytes.end(), inPlace.begin(), inPlace.end()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    qel::logging::setConsoleWriter(
        [](const qel::logging::ConsoleLine& line) { g_warnings += line.level == 2; });
    if (size < 2) return 0;
    const PacketScheme& scheme = *kSchemes[(data[0] & 7) % std::size(kSchemes)];
    std::vector<uint8> payload(data + 2, data + size);
    if (data[0] & kCounts) makeCountsSmall(payload, scheme);
    if (data[0] & kSuffix) makeSuffixFit(payload, scheme);

    const auto packet = qel::makeObject<Packet>(static_cast<uint32>(payload.size()));
    std::copy(payload.begin(), payload.end(), packet->getPayload());
    packet->setID(static_cast<qel::uint16>(scheme.getID() + (data[0] & kOtherId ? 1 : 0)));
    packet->setFlags(data[0] & kSuffix ? Packet::kVersioned : data[1]);
    PacketView view;
    const bool isViewFit = fits(view, *packet, scheme, payload);
    g_warnings = 0;
    require(packet->fit(&scheme) == isViewFit);
    if (!isViewFit) {
        require(g_warnings == 1);
        require(!packet->getScheme());
        require(packet->getPayloadSize() == payload.size());
        std::vector<uint8> bytes(payload.size());
        require(packet->copyPayloadTo(bytes.data()) == bytes.size() && bytes == payload);
        return 0;
    }
    require(g_warnings == 0);
    require(readAll(*packet, scheme) == readAll(view, scheme));
    requireSameFields(*packet, view, scheme);
    const auto copy = qel::makeObject<Packet>(packet.get());
    require(copy->fit(&scheme));
    requireSameFields(*packet, *copy, scheme);
    writeAll(*packet, scheme);
    readAll(*packet, scheme);
    require(qel::makeObject<Packet>(packet.get())->fit(&scheme));
    requireSamePayload(*packet);
    Packet built(&scheme, 0);
    writeAll(built, scheme);
    requireSamePayload(built);
    return 0;
}
