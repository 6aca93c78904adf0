// InputFile: a file to read, its type by its first bytes, and its picture.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/platform/file_system.h>

#include <string>
#include <string_view>

namespace qelimage {

/// Returns the type of a file by its first bytes; empty if it is unknown.
/// @param firstBytes  kSignatureBytes bytes; fewer only if the file ends before.
std::string_view typeOf(std::string_view firstBytes);
inline constexpr std::size_t kSignatureBytes = 132; ///< what typeOf() looks at

/// A file that is open for reading.
/// @threads any thread, one at a time.
class InputFile {
public:
    /// What open() does with devices and pipes.
    enum class Special {
        Read,   ///< reads them to their end, and waits while a pipe is empty
        Refuse, ///< fails; does not wait
    };

    /// Opens a file and finds its type. @param path  "-" for standard input, unless @p special is Refuse.
    /// @return what went wrong; empty on success.
    std::string open(const std::string& path, Special special = Special::Read);

    /// Returns the type by the first bytes, such as "PNG"; empty if it is unknown.
    std::string_view getType() const { return m_type; }
    /// Returns the size in bytes.
    qel::uint64 getSize() const { return m_size; }
    /// Returns the content of a device or a pipe; empty for a file.
    qel::ConstByteSpan getContent() const { return m_content; }
    /// Returns true if the type is one that decode() reads.
    bool isPicture() const { return m_type == "PNG" || m_type == "WebP"; }
    /// Decodes the picture to RGB8 or RGBA8. The library may print a line on standard output.
    /// @return false if it cannot be decoded.
    bool decode(qel::Image& image) const;

private:
    qel::platform::FileError readStream(qel::platform::FileHandle& file);

    std::string m_path;
    std::string_view m_type;
    qel::uint64 m_size = 0;
    qel::Buffer m_content; ///< the content of a stream
    bool m_isStream = false;
};

/// Decodes the picture of @p file. What the library prints about it goes to standard error.
/// @return false if it cannot be decoded. @threads main thread.
bool decodePicture(qel::Image& image, const InputFile& file);
/// Opens the file @p path, or standard input for "-", and decodes its picture; reports why that failed.
/// @threads main thread.
bool loadPicture(qel::Image& image, const std::string& path);
/// Returns @p path in quotes, or "standard input" for "-".
std::string nameOfInput(const std::string& path);

} // namespace qelimage
