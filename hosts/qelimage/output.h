// Output: the standard output and the files that the program writes.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/imaging/pixels/image.h>
#include <qel/platform/file_system.h>

#include <optional>
#include <string>
#include <string_view>

namespace qelimage {

/// The exit status if a file could not be read, decoded or written.
inline constexpr int kTrouble = 2;

/// Reports an error on standard error.
void complain(const std::string& text);
/// Returns @p name in single quotes, with a question mark for each control character.
std::string quoted(std::string_view name);
/// Returns @p name with a question mark for each control character.
std::string printable(std::string_view name);

/// Returns the encoding that @p format, or else the extension of @p path, names; PNG for "-".
/// @errors complains and returns nothing if there is none.
std::optional<qel::Image::Encoding> findEncoding(const std::string& path, const std::string& format = {});

/// Writes to standard output, which it keeps apart from what the library prints, and to files.
/// @threads main thread.
class Output {
public:
    /// Takes standard output over. What the library prints goes to standard error from then on.
    Output();

    /// Writes a text to standard output.
    void print(std::string_view text);
    /// Encodes a picture and writes it. @param path  "-" for standard output.
    /// @return true on success; a failure has been reported, except for one of standard output and an
    /// interrupt.
    bool save(const qel::Image& image, const std::string& path, qel::Image::Encoding encoding);
    /// Returns the exit status of the program: kInterruptedStatus if an interrupt came before a file
    /// was complete, and kTrouble instead of 0
    /// and 1 if standard output could not be written, which is reported here; otherwise @p status.
    int finish(int status) const;

private:
    bool write(const std::string& path, qel::ConstByteSpan bytes);

    qel::platform::FileHandle m_standardOutput;
    qel::platform::FileError m_error; ///< the first error of standard output
    bool m_wasInterrupted = false;    ///< true if an interrupt came before a file was complete
};

} // namespace qelimage
