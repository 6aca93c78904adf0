#include <qel/packet/std_out_packet_writer.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/system_error.h>
#include <qel/system/core/system.h>

namespace qel {

namespace {

platform::FileError writeLocked(std::string_view text) {
    const MutexLock lock(System::getStdOutMutex());
    return writeToStandardStream(platform::StandardStream::Output, text);
}

} // namespace

void StdOutPacketWriter::write(Packet* packet) {
    if (m_port) packet->setPort(*m_port);
    String text = packet->convertToBase16String_NewLinePrefix();
    text += '\n';
    if (const platform::FileError error = writeLocked(text); error)
        logging::error() << "failed writing packet; " << platform::errorText(error.value());
}

} // namespace qel
