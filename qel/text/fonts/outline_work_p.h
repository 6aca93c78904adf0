// findOutlineWork: finds fonts whose glyphs would not end or crash.
#pragma once

#include <ft2build.h>

#include <freetype/freetype.h>

namespace qel::internal {

/// The work that the glyphs of a face may cause.
enum class OutlineWork {
    Small,
    /// A glyph or the face states more than 2048 points. The programs of a glyph may execute a million
    /// instructions of which each one moves all points: FreeType then takes minutes.
    TooMuchForPrograms,
    /// A glyph has more than 128 parts, with the parts of parts, more than 16 levels of them, or contains
    /// itself. FreeType loads parts by recursion without a limit: a file of 2 KiB can state 2^40 parts, and a
    /// chain of 60,000 overflows the stack.
    TooMuch,
};

/// Checks the outlines of a face in the format TrueType; others are Small.
OutlineWork findOutlineWork(FT_Face face);

} // namespace qel::internal
