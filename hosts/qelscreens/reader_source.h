// ReaderSource: the Markdown file or the folder of pictures that the reader shows.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string.h>

#include <string>
#include <string_view>
#include <vector>

namespace qelscreens {

/// The most bytes of a text that is shown.
inline constexpr size_t kMostTextBytes = size_t{4} << 20;
/// The most bytes of a picture's file.
inline constexpr size_t kMostPictureBytes = size_t{256} << 20;
/// The most pictures of a folder; further ones are left out.
inline constexpr size_t kMostPictures = 10'000;

/// Prepares a Markdown text from outside for TextActor::Parser::Markdown: a tab becomes four spaces, a
/// brace would begin a control code and becomes "{!", carriage returns and zeros are removed, and an empty
/// line, which would not end a paragraph, gets a space.
qel::String prepareMarkdown(std::string_view source);

/// Reads the regular file @p path. @return what went wrong; empty on success.
std::string readFile(qel::Buffer& content, const std::string& path, size_t mostBytes);

/// What a path names.
struct ReaderSource {
    std::string problem;               ///< why nothing can be shown; empty if something can
    qel::String text;                  ///< the prepared Markdown of a file
    std::vector<std::string> pictures; ///< the paths of the PNG and WebP files in a folder, in natural order

    /// Reads the file or folder @p path.
    static ReaderSource open(const std::string& path);
};

} // namespace qelscreens
