// Framings of packets: lines of text, bytes with a manifest, files of records. The input is used unchanged,
// and, without its first byte, converted to a line that may be a packet.
#include <fuzz/require.h>
#include <qel/files/string_event.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/packet/file_packet_reader.h>
#include <qel/packet/packet.h>

#include <algorithm>
#include <cctype>
#include <sys/mman.h>
#include <unistd.h>

using qel::Packet;
using qel::SmartPointer;
using qel::String;
using qel::uint8;

namespace {

int g_warnings = 0;

void tryLine(const String& line) {
    g_warnings = 0;
    const SmartPointer<Packet> packet = Packet::createFromBase16String(line);
    if (!packet) {
        require(g_warnings == (line.begins_with("PKTB16[") && line.ends_with(']') ? 1 : 0));
        return;
    }
    String upper = line;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return std::toupper(c); });
    require(packet->convertToBase16String() == upper);
    require(packet->convertToBase16String_NewLinePrefix() == "\n" + upper);
}

/// Returns hexadecimal digits of the bytes, in either case, possibly with an error.
String makeLine(uint8 choice, qel::ConstByteSpan bytes) {
    String line = String::encodeBase16fromBuffer(bytes.data, bytes.size);
    if (choice & 1) line = line.utf8_lowercase();
    if ((choice & 6) == 6 && !line.empty())
        line[choice % line.size()] = static_cast<char>('0' + (choice >> 3));
    return "PKTB16[" + line + "]";
}

void tryManifest(qel::ConstByteSpan bytes) {
    const SmartPointer<Packet> packet = Packet::createFromBufferWithManifest(bytes);
    require(static_cast<bool>(packet) == (bytes.size >= 4));
    if (packet) require(packet->convertToBufferWithManifest().getConstByteSpan().asText() == bytes.asText());
}

/// Records are read back unchanged; memory for a stated size is never allocated beyond the limit.
void tryFile(qel::ConstByteSpan bytes) {
    static const int file = memfd_create("packets", MFD_CLOEXEC);
    static const String path = "/proc/self/fd/" + std::to_string(file);
    require(ftruncate(file, 0) == 0 &&
            pwrite(file, bytes.data, bytes.size, 0) == static_cast<ssize_t>(bytes.size));
    qel::FilePacketReader reader(path.c_str());
    size_t position = 0;
    while (const SmartPointer<Packet> packet = reader.read()) {
        const std::string_view payload(reinterpret_cast<const char*>(packet->getPayload()),
                                       packet->getPayloadSize());
        require(bytes.asText().substr(position + 12, payload.size()) == payload);
        position += 12 + payload.size();
    }
}

/// A single empty string has no line form.
void tryEvent(const String& text) {
    qel::StringEvent event, again;
    if (!event.parse(text) || (event.numArgs() == 0 && !event.valid())) return;
    require(again.parse(event.generate()) && again.generate() == event.generate());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    qel::logging::setConsoleWriter(
        [](const qel::logging::ConsoleLine& line) { g_warnings += line.level == 2; });
    if (size == 0) return 0;
    const qel::ConstByteSpan bytes(data + 1, size - 1);
    const String text(reinterpret_cast<const char*>(data), size);
    tryLine(text);
    tryLine(makeLine(data[0], bytes));
    tryManifest(bytes);
    tryFile(bytes);
    tryEvent(text);
    return 0;
}
