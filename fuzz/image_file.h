// What the fuzz targets of image files have in common.
#pragma once

#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>

#include <cstdio>

/// Loads a file. Nothing that is logged or printed appears, and only small pictures are decoded.
inline bool loadQuietly(qel::Image& image, const qel::uint8* data, size_t size) {
    static const bool isQuiet = [] {
        qel::logging::setConsoleWriter([](const qel::logging::ConsoleLine&) {});
        qel::Image::setDecodeLimit(qel::uint64{1} << 24);
        return std::freopen("/dev/null", "w", stdout) != nullptr;
    }();
    require(isQuiet);
    return image.loadFromMemory(data, static_cast<unsigned>(size));
}
