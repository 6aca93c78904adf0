// Packets as lines of text and as bytes with a manifest.
#include <qel/packet/packet.h>

#include <qel/foundation/base/base_encoding.h>
#include <qel/foundation/log/message_stream.h>

#include <limits>

namespace qel {

namespace {

constexpr std::string_view kTextBegin = "PKTB16[";
constexpr std::string_view kTextEnd = "]";

/// Writes the bytes it receives as hexadecimal digits.
class Base16Writer : public ByteConsumer {
public:
    explicit Base16Writer(uint8* out) : m_out(out) {}
    void process(StreamType, const uint8* data, unsigned size) override {
        util::encodeBase16(m_out, data, size);
        m_out += size_t(2) * size;
    }

private:
    uint8* m_out;
};

bool decode(std::string_view digits, uint8* out) {
    return util::decodeBase16(out, reinterpret_cast<const uint8*>(digits.data()), digits.size());
}

SmartPointer<Packet> corruptText() {
    logging::warning() << "corrupt base16 packet encoding";
    return nullptr;
}

} // namespace

String Packet::convertToBase16String() const {
    String text;
    appendBase16(text);
    return text;
}

String Packet::convertToBase16String_NewLinePrefix() const {
    String text("\n");
    appendBase16(text);
    return text;
}

void Packet::appendBase16(String& text) const {
    text += kTextBegin;
    const size_t begin = text.size();
    text.resize(begin + 2 * (kHeaderSize + getPayloadSize()));
    Base16Writer writer(reinterpret_cast<uint8*>(text.data()) + begin);
    writer.process(StreamType::Plain, rawHeader(), kHeaderSize);
    getPayloadConsumed(&writer);
    text += kTextEnd;
}

SmartPointer<Packet> Packet::createFromBase16String(std::string_view text) {
    if (!text.starts_with(kTextBegin) || !text.ends_with(kTextEnd)) return nullptr;
    const std::string_view digits =
        text.substr(kTextBegin.size(), text.size() - kTextBegin.size() - kTextEnd.size());
    const size_t size = digits.size() / 2;
    if (digits.size() % 2 != 0 || size < kHeaderSize) return corruptText();
    if (size - kHeaderSize > kMaxPayloadSize) {
        logging::warning() << "corrupt base16 packet encoding, unrealistic payloadSize="
                           << size - kHeaderSize;
        return nullptr;
    }
    SmartPointer<Packet> packet(new Packet(static_cast<uint32>(size - kHeaderSize)));
    if (!decode(digits.substr(0, 2 * kHeaderSize), packet->rawHeader()) ||
        !decode(digits.substr(2 * kHeaderSize), packet->getPayload()))
        return corruptText();
    return packet;
}

Buffer Packet::convertToBufferWithManifest() const {
    Buffer buffer(sizeof(Manifest) + getPayloadSize());
    std::memcpy(buffer.getBytePointer(), &manifest(), sizeof(Manifest));
    copyPayloadTo(buffer.getBytePointer() + sizeof(Manifest));
    return buffer;
}

SmartPointer<Packet> Packet::createFromBufferWithManifest(ConstByteSpan bytes) {
    if (bytes.size < sizeof(Manifest) || bytes.size - sizeof(Manifest) > std::numeric_limits<uint32>::max()) {
        logging::warning() << "corrupt buffer_manifest packet encoding";
        return nullptr;
    }
    const size_t size = bytes.size - sizeof(Manifest);
    SmartPointer<Packet> packet(new Packet(static_cast<uint32>(size)));
    std::memcpy(&packet->m_header.manifest, bytes.data, sizeof(Manifest));
    if (size != 0) std::memcpy(packet->m_payload, bytes.data + sizeof(Manifest), size);
    return packet;
}

} // namespace qel
