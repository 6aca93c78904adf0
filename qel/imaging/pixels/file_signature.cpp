#include <qel/imaging/pixels/file_signature.h>

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>

namespace qel::util {
namespace {

using namespace std::string_view_literals;

constexpr size_t kPreamble = 128;
constexpr std::string_view kDicomMark = "DICM";

/// The first bytes of a file, with all that the signatures need.
struct Beginning {
    std::array<char, kPreamble + kDicomMark.size()> bytes{};
    size_t size = 0;
    bool isReadable = false;

    explicit Beginning(std::istream& stream) {
        if (!stream.good() || !stream.rdbuf()) return;
        try {
            read(*stream.rdbuf());
        } catch (const std::exception&) { // the buffers of files throw what reading them fails with
            isReadable = false;
        }
    }

    /// Reads by the buffer of a stream alone, so that the stream's state does not change.
    void read(std::streambuf& buffer) {
        const std::streampos position = buffer.pubseekoff(0, std::ios_base::cur, std::ios_base::in);
        if (position == std::streampos(-1)) return;
        if (buffer.pubseekpos(0, std::ios_base::in) == std::streampos(-1)) return;
        size = static_cast<size_t>(std::max<std::streamsize>(0, buffer.sgetn(bytes.data(), bytes.size())));
        isReadable = buffer.pubseekpos(position, std::ios_base::in) == position;
    }

    std::string_view text() const { return {bytes.data(), isReadable ? size : 0}; }
    bool startsWith(std::string_view signature) const { return text().starts_with(signature); }
    bool isDicom() const { return text().size() == bytes.size() && text().ends_with(kDicomMark); }
    bool isJpeg() const {
        return startsWith("\xFF\xD8\xFF\xE0"sv) && size >= 6 && text().substr(6).starts_with("JFIF\0"sv);
    }
    bool isPng() const { return startsWith("\x89PNG\r\n\x1A\n"sv); }
    bool isBmp() const { return startsWith("BM"); }
    bool isPdf() const { return startsWith("%PDF-"); }
    bool isZip() const { return startsWith("PK\x03\x04"); }
    bool hasZeroPreamble() const {
        return std::all_of(bytes.begin(), bytes.begin() + kPreamble, [](char c) { return c == 0; });
    }
};

} // namespace

FileType detectFileType(std::istream& stream) {
    const Beginning file(stream);
    if (file.isDicom()) return FileType::Dicom;
    if (file.isJpeg()) return FileType::Jpeg;
    if (file.isPng()) return FileType::Png;
    if (file.isBmp()) return FileType::Bmp;
    if (file.isPdf()) return FileType::Pdf;
    return file.isZip() ? FileType::Zip : FileType::Unknown;
}

int isDicomFileExt(std::istream& stream) {
    const Beginning file(stream);
    if (!file.isReadable) return 0;
    return file.isDicom() ? 1 : -1;
}

bool isJpegFile(std::istream& stream) {
    return Beginning(stream).isJpeg();
}

bool isPngFile(std::istream& stream) {
    return Beginning(stream).isPng();
}

bool isBmpFile(std::istream& stream) {
    return Beginning(stream).isBmp();
}

bool isPdfFile(std::istream& stream) {
    return Beginning(stream).isPdf();
}

bool isZipFile(std::istream& stream) {
    return Beginning(stream).isZip();
}

bool sanitizeDicomFile(std::ostream& stream) {
    if (!stream.good()) return false;
    const std::streampos position = stream.tellp();
    if (position == std::streampos(-1)) return false;
    constexpr std::array<char, kPreamble> zeros{};
    stream.seekp(0);
    stream.write(zeros.data(), zeros.size());
    stream.seekp(position);
    return stream.good();
}

bool isSanitizedDicomFile(std::istream& stream) {
    const Beginning file(stream);
    return file.isDicom() && file.hasZeroPreamble();
}

} // namespace qel::util
