// BmfFile: the content of a file in the binary BMFont format.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/text/fonts/bitmap_font.h>

#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qel::internal {

/// The blocks of a file, with code points instead of the file's codes.
struct BmfFile {
    BitmapFont::Info info;
    BitmapFont::Common common;
    std::vector<std::pair<uint32, Font::Character>> characters; ///< in the order of the file
    std::unordered_map<uint64, int16> kernings;                 ///< by kerningKey() (glyph_numbers_p.h)
};

/// Reads a file. @return nothing if it is not a font of a known version or incomplete.
std::optional<BmfFile> readBmfFile(ConstByteSpan file);

} // namespace qel::internal
