#include <qel/files/tar_archive.h>

#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/log/message_stream.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <string_view>

namespace qel {

namespace {

constexpr size_t kBlockSize = 512;

/// The bytes of a header. Source of the offsets: IEEE Std 1003.1, pax, "ustar Interchange Format".
class Header {
public:
    std::array<uint8, kBlockSize> bytes;

    bool isZero() const {
        return std::all_of(bytes.begin(), bytes.end(), [](uint8 byte) { return byte == 0; });
    }
    bool hasRightChecksum() const {
        uint64 sum = 0;
        for (size_t i = 0; i < bytes.size(); ++i) sum += i >= kSumBegin && i < kSumEnd ? ' ' : bytes[i];
        return sum == octal(kSumBegin, kSumEnd);
    }
    // Folders, links and headers that only describe the next entry are not files.
    bool isFile() const {
        const uint8 type = bytes[156];
        const String ownName = name();
        return (type == '\0' || type == '0' || type == '7') && !ownName.empty() && !ownName.ends_with('/');
    }
    String name() const {
        const String ownName(text(0, 100));
        const String folder(isUstar() ? text(345, 500) : std::string_view());
        return folder.empty() ? ownName : folder + "/" + ownName;
    }
    uint64 size() const { return bytes[kSizeBegin] & 0x80 ? base256() : octal(kSizeBegin, kSizeEnd); }

private:
    static constexpr size_t kSizeBegin = 124;
    static constexpr size_t kSizeEnd = 136;
    static constexpr size_t kSumBegin = 148;
    static constexpr size_t kSumEnd = 156;

    // GNU's form of the format differs in one byte here, and uses the field of the folder for other data.
    bool isUstar() const { return text(257, 263) == "ustar" && bytes[262] == 0; }
    std::string_view text(size_t begin, size_t end) const {
        const std::string_view field(reinterpret_cast<const char*>(&bytes[begin]), end - begin);
        return field.substr(0, field.find('\0'));
    }
    uint64 octal(size_t begin, size_t end) const {
        uint64 value = 0;
        while (begin < end && bytes[begin] == ' ') ++begin;
        for (; begin < end && bytes[begin] >= '0' && bytes[begin] <= '7'; ++begin)
            value = value * 8 + (bytes[begin] - '0');
        return value;
    }
    // A number of more than 64 bits, or a negative one, is larger than any file.
    uint64 base256() const {
        uint64 value = bytes[kSizeBegin] & 0x7F;
        for (size_t i = kSizeBegin + 1; i < kSizeEnd; ++i) {
            if (value >> 56) return std::numeric_limits<uint64>::max();
            value = value << 8 | bytes[i];
        }
        return value;
    }
};

} // namespace

TarArchive::TarArchive() = default;

TarArchive::~TarArchive() = default;

bool TarArchive::open(SmartCStr path) {
    m_entries.clear();
    platform::FileStatus status;
    if (internal::openForReading(m_file, path) || platform::readStatus(status, m_file)) return false;
    if (status.kind == platform::FileKind::File) readHeaders(path, status.size);
    return !m_entries.empty();
}

// Every step advances by at least one block, so the work is bounded by the file's size.
void TarArchive::readHeaders(const String& path, uint64 fileSize) {
    Header header;
    for (uint64 offset = 0;;) {
        size_t count = 0;
        internal::readFully(m_file, offset, header.bytes.data(), kBlockSize, count);
        if (count < kBlockSize) {
            logging::error() << "tar '" << path << "' corrupt: short read: expected 512, got " << count;
            return;
        }
        if (header.isZero()) return;
        if (!header.hasRightChecksum()) {
            logging::error() << "tar '" << path << "' corrupt: checksum failure";
            return;
        }
        offset += kBlockSize;
        const uint64 size = header.size();
        const uint64 left = fileSize - std::min(offset, fileSize);
        if (size <= left && header.isFile()) m_entries.insert_or_assign(header.name(), Extent{offset, size});
        offset += (std::min(size, left) + kBlockSize - 1) / kBlockSize * kBlockSize;
    }
}

bool TarArchive::hasFile(SmartCStr name) {
    return m_entries.contains(name);
}

bool TarArchive::readFile(SmartCStr name, Buffer& buffer) {
    const auto entry = m_entries.find(name);
    if (entry == m_entries.end()) return false;
    size_t done = 0;
    try {
        buffer.resize(static_cast<size_t>(entry->second.size));
    } catch (const std::bad_alloc&) {
        return false;
    }
    internal::readFully(m_file, entry->second.offset, buffer.getBytePointer(), buffer.getSize(), done);
    if (done < buffer.getSize()) buffer.clear(); // the file was truncated meanwhile
    return done == entry->second.size;
}

Vector<String> TarArchive::getFileNames() const {
    Vector<String> names;
    for (const auto& entry : m_entries) names.push_back(entry.first);
    return names;
}

} // namespace qel
