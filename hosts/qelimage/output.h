// Messages, and the files that the program writes.
#pragma once

#include <qel/imaging/pixels/image.h>

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
/// @errors complains and returns nothing if no encoding has that name.
std::optional<qel::Image::Encoding> findEncoding(const std::string& path, const std::string& format = {});

/// Encodes a picture and writes it. @param path  "-" for standard output.
/// @return the exit status: 0, kTrouble after a failure, which has been reported, or kInterruptedStatus if
/// Ctrl-C was pressed before the file was complete.
int savePicture(const qel::Image& image, const std::string& path, qel::Image::Encoding encoding);

} // namespace qelimage
