#include <qel/files/hex_source_writer.h>

#include <qel/files/whole_io_p.h>
#include <qel/foundation/log/message_stream.h>

#include <charconv>

namespace qel {

namespace {

constexpr uint32 kMaxColumn = 80;

} // namespace

HexSourceWriter::HexSourceWriter(const char* path) : m_path(path) {
    internal::FileError error;
    m_output =
        platform::openStandardStream(m_path.c_str(), std::ios_base::out | std::ios_base::binary, error);
    if (m_output)
        *m_output << "static unsigned char table_data[] = {\n";
    else
        logging::error() << "cant open file '" << m_path << "'" << internal::describe(error);
}

void HexSourceWriter::process(StreamType, const uint8* data, unsigned size) {
    if (!m_output) return;
    for (const uint8* end = data + size; data != end; ++data) write(*data);
}

void HexSourceWriter::write(uint8 byte) {
    char text[3];
    const char* end = std::to_chars(text, text + sizeof text, byte).ptr;
    const auto length = static_cast<uint32>(end - text);
    if (length + 1 + m_column > kMaxColumn) {
        m_output->put('\n');
        m_column = 0;
    }
    if (m_column == 0) {
        m_output->write("  ", 2);
        m_column = 2;
    }
    if (!m_first) {
        m_output->put(',');
        ++m_column;
    }
    m_first = false;
    m_output->write(text, length);
    m_column += length;
    ++m_count;
}

void HexSourceWriter::close() {
    if (!m_output) return;
    *m_output << "\n};\nstatic unsigned int table_size = " << std::to_string(m_count) << ";\n";
    m_output->flush();
    if (!m_output->good()) logging::error() << "cant write file '" << m_path << "'" << logging::getPError();
    m_output.reset();
}

} // namespace qel
