#include <qel/packet/std_out_packet_writer.h>

#include <qel/foundation/base/mutex.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/packet/write_whole_p.h>
#include <qel/platform/console.h>
#include <qel/platform/system_error.h>
#include <qel/system/core/system.h>

#include <cstdio>

namespace qel {

namespace {

/// What others left in the buffer of the C library goes first; the text itself does not pass through it,
/// since that gives up on an interrupted or partial write.
platform::FileError writeToStandardOutput(std::string_view text) {
    const MutexLock lock(System::getStdOutMutex());
    std::fflush(stdout);
    platform::FileHandle output = platform::borrowStandardStream(platform::StandardStream::Output);
    const platform::FileError error = internal::writeWhole(output, text);
    output.release();
    return error;
}

} // namespace

void StdOutPacketWriter::write(Packet* packet) {
    if (m_port) packet->setPort(*m_port);
    String text = packet->convertToBase16String_NewLinePrefix();
    text += '\n';
    if (const platform::FileError error = writeToStandardOutput(text); error)
        logging::error() << "failed writing packet; " << platform::errorText(error.value());
}

} // namespace qel
