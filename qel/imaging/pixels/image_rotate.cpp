// Rotation by quarter turns.
#include <qel/imaging/pixels/image.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/plane_view_p.h>
#include <qel/imaging/pixels/separate_source_p.h>
#include <qel/imaging/pixels/turn_tiles_p.h>

#include <algorithm>
#include <cstring>

namespace qel {

using internal::kTileBytes;
using internal::Source;
using internal::Target;
using internal::TurnedTile;
using internal::turnTile;

namespace {

/// How the place in the source moves with the place in the target.
struct Turn {
    bool startsAtFarX, startsAtFarY;
    int xByX, yByX; ///< when the target's x grows by one
    int xByY, yByY; ///< when the target's y grows by one
};

constexpr Turn kTurns[] = {
    {false, false, 1, 0, 0, 1},
    {false, true, 0, -1, 1, 0},
    {true, true, -1, 0, 0, -1},
    {true, false, 0, 1, -1, 0},
};

/// The steps of a turn in bytes of a source.
struct Walk {
    const uint8* start;
    int64 byX, byY;

    Walk(const Turn& turn, const Source& source, const IVec2<int>& size, size_t pixelBytes) {
        const auto bytes = static_cast<int64>(pixelBytes);
        start = source.data + (turn.startsAtFarX ? (size.x - 1) * bytes : 0) +
                (turn.startsAtFarY ? (size.y - 1) * source.pitch : 0);
        byX = turn.xByX * bytes + turn.yByX * source.pitch;
        byY = turn.xByY * bytes + turn.yByY * source.pitch;
    }
};

/// The rectangle of a target from column @p left and row @p top to before @p right and @p bottom.
struct Area {
    int left, top, right, bottom;
};

/// Copies pixels in tiles, so that rows of the source stay in the cache while columns are read.
template <size_t Bytes>
void copyPixels(const Target& target, const Area& area, const Walk& walk) {
    constexpr int kTile = Bytes < 8 ? 32 : 16;
    for (int top = area.top; top < area.bottom; top += kTile) {
        for (int left = area.left; left < area.right; left += kTile) {
            const int right = std::min(left + kTile, area.right);
            for (int y = top; y < std::min(top + kTile, area.bottom); ++y) {
                const uint8* in = walk.start + y * walk.byY + left * walk.byX;
                uint8* out = target.row(static_cast<uint64>(y)) + static_cast<size_t>(left) * Bytes;
                for (int x = left; x < right; ++x, in += walk.byX, out += Bytes) std::memcpy(out, in, Bytes);
            }
        }
    }
}

using CopyPixels = void (*)(const Target&, const Area&, const Walk&);

/// Returns the copy of pixels of whole bytes; every format has one of these sizes.
CopyPixels copyOf(size_t pixelBytes) {
    switch (pixelBytes) {
    case 1:
        return copyPixels<1>;
    case 2:
        return copyPixels<2>;
    case 3:
        return copyPixels<3>;
    case 4:
        return copyPixels<4>;
    case 5:
        return copyPixels<5>;
    case 6:
        return copyPixels<6>;
    case 8:
        return copyPixels<8>;
    case 12:
        return copyPixels<12>;
    case 16:
        return copyPixels<16>;
    case 24:
        return copyPixels<24>;
    case 32:
        return copyPixels<32>;
    default:
        return nullptr;
    }
}

/// Returns the tile of rows @p top to @p top + @p rows - 1, of which each is a column of the source. If the
/// rows run against the memory of the source, so do those of the tile.
TurnedTile tileOf(const Target& target, const Walk& walk, int top, int rows, int width) {
    const bool isUpwards = walk.byY < 0;
    const int first = isUpwards ? top + rows - 1 : top;
    return {target.row(static_cast<uint64>(first)), isUpwards ? -target.pitch : target.pitch,
            walk.start + first * walk.byY, walk.byX, static_cast<size_t>(width)};
}

/// Copies rows of a target; by vectors as far as these reach.
void copyBand(const Target& target, const Area& band, const Walk& walk, size_t pixelBytes,
              bool isQuarterTurn) {
    const CopyPixels copy = copyOf(pixelBytes);
    const int rows = static_cast<int>(kTileBytes / pixelBytes);
    int top = band.top;
    for (; isQuarterTurn && band.bottom - top >= rows; top += rows) {
        const auto done = static_cast<int>(turnTile(tileOf(target, walk, top, rows, band.right), pixelBytes));
        copy(target, {done, top, band.right, top + rows}, walk);
    }
    copy(target, {band.left, top, band.right, band.bottom}, walk);
}

void rotatePlane(Image& target, const Image& source, unsigned plane, const Turn& turn) {
    const IVec2<int> size = target.getPlaneSize(plane);
    if (size.x == 0 || size.y == 0) return;
    const auto bytes = static_cast<size_t>(util::getFormatSizeBits(target.getPlaneFormat(plane)) / 8);
    const Source from{source.getPlaneBytePointer(plane), source.getPlanePitch(plane)};
    const Target to{target.getPlaneBytePointer(plane), target.getPlanePitch(plane)};
    const Walk walk(turn, from, source.getPlaneSize(plane), bytes);
    const auto band = [&](uint64 begin, uint64 end) {
        copyBand(to, {0, static_cast<int>(begin), size.x, static_cast<int>(end)}, walk, bytes,
                 turn.xByX == 0);
    };
    const auto jobs = static_cast<unsigned>(std::clamp(size.y / 8, 1, 8));
    internal::RangeKernel<decltype(band)> kernel(static_cast<uint64>(size.y), jobs, jobs, band);
    internal::executeParts(kernel);
}

} // namespace

void Image::rotateFrom(const Image& source, int quarterTurns) {
    const auto planes = static_cast<unsigned>(util::getFormatPlanes(source.m_format));
    if (!source.hasPixels() || source.m_planes != planes) {
        logging::error() << "unsupported image format for rotation: " << static_cast<int>(source.m_format);
        return;
    }
    const Turn& turn = kTurns[quarterTurns & 3];
    const internal::SeparateSource from(*this, source);
    const IVec2<int> size = from->getSize();
    initialize(from->m_format, turn.xByX == 0 ? IVec2<int>(size.y, size.x) : size);
    for (unsigned i = 0; i < m_planes; ++i) rotatePlane(*this, *from, i, turn);
}

} // namespace qel
