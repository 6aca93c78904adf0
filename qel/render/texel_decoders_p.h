// How the texels of each texture format become colours.
#pragma once

#include <qel/render/surface_p.h>
#include <qel/render/texel_rows_p.h>

namespace qel::internal {

/// Returns the colour of the texel at an address.
using DecodeTexel = Color (*)(const uint8* texel);

/// A texture format that can be drawn.
struct TexelFormat {
    int bytes = 0;                   ///< bytes of a texel; 0 for other formats
    DecodeTexel decode = nullptr;    ///< channels from 0 to 1
    DecodeTexel decodeRaw = nullptr; ///< the integers of R, G and B as they are stored
    TexelRows rows;                  ///< the same for rows of texels
    bool isBgra = false;             ///< texels are BGRA8 pixels
    bool isMask = false;             ///< texels are bytes of alpha
};

/// Returns how the texels of @p format are read.
TexelFormat texelFormat(FormatID format);

} // namespace qel::internal
