#include <hosts/qelviewer/volume/byte_reader.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include <zlib.h>

namespace qelviewer {
namespace {

/// Bytes that are read at once.
constexpr size_t kPiece = 256 << 10;
/// The most bytes that deflate makes of one, rounded up.
constexpr qel::uint64 kLargestRatio = 1032;
/// Bytes after the content in which a check sum is looked for.
constexpr qel::uint64 kMostAfterContent = 1 << 20;

} // namespace

bool ByteReader::skip(qel::uint64 bytes) {
    std::array<qel::uint8, 16 << 10> room;
    while (bytes > 0) {
        const auto piece = static_cast<size_t>(std::min<qel::uint64>(bytes, room.size()));
        if (read(room.data(), piece) != piece) return false;
        bytes -= piece;
    }
    return true;
}

void ByteReader::fail(const std::string& problem) {
    if (m_problem.empty()) m_problem = problem;
}

// --- files ---------------------------------------------------------------------------------------------

FileReader::FileReader(const std::string& path, qel::platform::Links links) {
    qel::platform::FileStatus status;
    qel::platform::FileError error =
        qel::platform::openFile(m_file, path.c_str(), qel::platform::OpenMode::Read, links);
    if (!error) error = qel::platform::readStatus(status, m_file);
    if (error == std::errc::too_many_symbolic_link_levels && links == qel::platform::Links::Keep)
        fail("it is a link");
    else if (error)
        fail(error.message());
    else if (status.kind != qel::platform::FileKind::File)
        fail("it is not a file");
    else
        m_size = status.size;
}

size_t FileReader::read(qel::uint8* out, size_t size) {
    size = static_cast<size_t>(std::min<qel::uint64>(size, mostBytes()));
    size_t done = 0;
    while (done < size && problem().empty()) {
        size_t count = 0;
        const qel::platform::FileError error = m_file.readAt(m_position, out + done, size - done, count);
        if (error) fail(error.message());
        if (error || count == 0) break;
        done += count;
        m_position += count;
    }
    return done;
}

bool FileReader::readAt(qel::uint64 position, qel::uint8* out, size_t size) const {
    for (size_t done = 0; done < size;) {
        size_t count = 0;
        if (m_file.readAt(position + done, out + done, size - done, count) || count == 0) return false;
        done += count;
    }
    return true;
}

void FileReader::seek(qel::uint64 position) {
    m_position = std::min(position, m_size);
}

// --- gzip ----------------------------------------------------------------------------------------------

/// The state of zlib and what it has not consumed.
struct GzipReader::Stream {
    z_stream zlib{};
    std::array<qel::uint8, kPiece> input{};
    bool isAtEnd = false; ///< no member follows
    bool isBetweenMembers = false;
};

GzipReader::GzipReader(std::unique_ptr<ByteReader> source)
    : m_source(std::move(source)), m_stream(new Stream) {
    constexpr int kGzip = 16; // added to the size of the window: no other kind of stream is read
    if (inflateInit2(&m_stream->zlib, MAX_WBITS + kGzip) != Z_OK) throw std::bad_alloc();
}

GzipReader::~GzipReader() {
    inflateEnd(&m_stream->zlib);
}

size_t GzipReader::read(qel::uint8* out, size_t size) {
    size_t done = 0;
    z_stream& zlib = m_stream->zlib;
    while (done < size && problem().empty() && !m_stream->isAtEnd) {
        const auto piece = static_cast<uInt>(std::min<size_t>(size - done, 1 << 30));
        zlib.next_out = out + done;
        zlib.avail_out = piece;
        inflateSome();
        done += piece - zlib.avail_out;
    }
    return done;
}

/// Decompresses what fits, up to the end of the input that is in memory or of a member.
void GzipReader::inflateSome() {
    z_stream& zlib = m_stream->zlib;
    if (!fillInput()) return;
    if (m_stream->isBetweenMembers) return beginMember();
    const int result = inflate(&zlib, Z_NO_FLUSH);
    if (result == Z_STREAM_END)
        m_stream->isBetweenMembers = true;
    else if (result == Z_MEM_ERROR)
        throw std::bad_alloc();
    else if (result != Z_OK && result != Z_BUF_ERROR)
        fail("its compressed data are damaged");
}

/// Reads more input if all has been consumed. @return false at the end.
bool GzipReader::fillInput() {
    z_stream& zlib = m_stream->zlib;
    if (zlib.avail_in > 0) return true;
    zlib.next_in = m_stream->input.data();
    zlib.avail_in = static_cast<uInt>(m_source->read(m_stream->input.data(), kPiece));
    if (zlib.avail_in > 0) return true;
    if (!m_source->problem().empty())
        fail(m_source->problem());
    else if (!m_stream->isBetweenMembers)
        fail("its compressed data end too early");
    m_stream->isAtEnd = true;
    return false;
}

/// Begins the next member; other bytes after the last one, such as padding, end the content.
void GzipReader::beginMember() {
    constexpr qel::uint8 kFirstByte = 0x1F;
    m_stream->isBetweenMembers = false;
    if (*m_stream->zlib.next_in != kFirstByte || inflateReset(&m_stream->zlib) != Z_OK)
        m_stream->isAtEnd = true;
}

qel::uint64 GzipReader::mostBytes() const {
    constexpr qel::uint64 kMost = qel::uint64{1} << 50; // keeps the product within 64 bits
    constexpr qel::uint64 kConsumed = 64;               // what zlib has read but not yet decompressed
    const qel::uint64 input = m_source->mostBytes() + m_stream->zlib.avail_in + kConsumed;
    return std::min(input, kMost) * kLargestRatio;
}

bool GzipReader::verifyEnd() {
    if (m_stream->isAtEnd || m_stream->isBetweenMembers) return true;
    skip(kMostAfterContent);
    return problem().empty();
}

} // namespace qelviewer
