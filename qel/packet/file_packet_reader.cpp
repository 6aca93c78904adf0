#include <qel/packet/file_packet_reader.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/system_error.h>

#include <algorithm>

namespace qel {

namespace {

constexpr size_t kWindowSize = 65536;
/// The bytes of a record before its payload.
constexpr size_t kHeadSize = sizeof(uint32) + Packet::kHeaderSize;

SmartPointer<Packet> failedReading(const char* what) {
    logging::error() << "failed reading " << what;
    return nullptr;
}

} // namespace

FilePacketReader::FilePacketReader(const char* path) : m_windowSize(kWindowSize) {
    if (const platform::FileError error = platform::openFile(m_file, path, platform::OpenMode::Read))
        logging::error() << "failed opening packet file '" << path << "'; "
                         << platform::errorText(error.value());
}

SmartPointer<Packet> FilePacketReader::read() {
    if (!m_file.isOpen()) return nullptr;
    uint32 size = 0;
    if (!readFully(reinterpret_cast<uint8*>(&size), sizeof size)) return failedReading("packet payloadSize");
    if (size > Packet::kMaxPayloadSize) {
        logging::error() << "failed reading packet unrealistic payloadSize=" << size;
        return nullptr;
    }
    SmartPointer<Packet> packet(new Packet(size));
    if (!readFully(packet->rawHeader(), Packet::kHeaderSize)) return failedReading("packet header");
    m_windowSize = kWindowSize;
    if (!readFully(packet->getPayload(), size)) return failedReading("payload");
    if (size >= kWindowSize) m_windowSize = kHeadSize; // records of a file tend to be alike
    return packet;
}

bool FilePacketReader::readFully(uint8* out, size_t size) {
    while (size != 0) {
        if (m_window.empty() && size < kWindowSize && !fillWindow()) return false;
        size_t done = std::min(size, m_window.size());
        if (done != 0) {
            std::memcpy(out, m_window.data(), done);
            m_window.remove_prefix(done);
        } else if (m_file.read(out, size, done) || done == 0) {
            return false;
        }
        out += done;
        size -= done;
    }
    return true;
}

bool FilePacketReader::fillWindow() {
    m_readAhead.resize(kWindowSize);
    size_t done = 0;
    if (m_file.read(m_readAhead.getBytePointer(), m_windowSize, done)) return false;
    m_window = ConstByteSpan(m_readAhead.getBytePointer(), done).asText();
    return done != 0;
}

} // namespace qel
