#include "sheet_page.h"

#include "painter.h"
#include "pixel_font.h"
#include "pixels.h"

#include <qel/foundation/base/number_format.h>

#include <algorithm>
#include <cmath>

namespace qelimage {

namespace {

constexpr int kMostColumns = 8;
constexpr int kMargin = 16; // around the page, and between tiles
constexpr int kPadding = 8; // within a tile
constexpr int kTitleHeight = 34;
constexpr int kLineHeight = kTextHeight + 4;
constexpr int kTileWidth = kThumbnailSide + 2 * kPadding;
constexpr int kTileHeight = kThumbnailSide + 3 * kPadding + 2 * kLineHeight - 4;

constexpr Color kPage(0.075f, 0.082f, 0.098f, 1);
constexpr Color kCard(0.130f, 0.142f, 0.168f, 1);
constexpr Color kStage(0.095f, 0.104f, 0.124f, 1);
constexpr Color kLightSquare(0.42f, 0.44f, 0.47f, 1);
constexpr Color kDarkSquare(0.34f, 0.36f, 0.39f, 1);
constexpr Color kBright(0.93f, 0.94f, 0.96f, 1);
constexpr Color kDim(0.58f, 0.62f, 0.68f, 1);
constexpr Color kAccent(0.38f, 0.68f, 0.92f, 1);
constexpr Color kAlarm(0.93f, 0.45f, 0.38f, 1);

constexpr int kSquareSide = 8; // of the chessboard under transparent pictures

int columnsOf(size_t tiles) {
    const auto wanted = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(tiles) * 1.3)));
    return std::clamp(wanted, 1, kMostColumns);
}

/// Draws a text of at most @p width pixels.
void write(Painter& painter, const std::string& text, int left, int top, int width, const Color& color,
           int scale = 1) {
    painter.draw(drawText(text, width / scale), left, top, scale, color);
}

/// Draws a text in the middle of a square.
void writeCentred(Painter& painter, const std::string& text, int left, int top, int side,
                  const Color& color) {
    constexpr int kScale = 3;
    qel::Image image = drawText(text, side / kScale);
    const int x = left + (side - image.getWidth() * kScale) / 2;
    const int y = top + (side - image.getHeight() * kScale) / 2;
    painter.draw(std::move(image), x, y, kScale, color);
}

/// Fills an area with a chessboard.
void fillWithSquares(Painter& painter, int left, int top, const qel::IVec2<int>& size) {
    painter.fill(rectOf(left, top, size.x, size.y), kDarkSquare);
    for (int y = 0; y < size.y; y += kSquareSide) {
        for (int x = y / kSquareSide % 2 * kSquareSide; x < size.x; x += 2 * kSquareSide) {
            const int width = std::min(kSquareSide, size.x - x);
            const int height = std::min(kSquareSide, size.y - y);
            painter.fill(rectOf(left + x, top + y, width, height), kLightSquare);
        }
    }
}

std::string typeText(const Tile& tile) {
    return tile.type.empty() ? "unknown type" : std::string(tile.type);
}

/// Returns the second line of a caption: the size of the picture, or the type of the file, and its bytes.
std::string detailsOf(const Tile& tile) {
    const std::string bytes = qel::util::stringFormatWithBytesUnit1000(tile.bytes);
    if (!tile.problem.empty()) return tile.type.empty() ? "not readable" : typeText(tile) + ", not decoded";
    if (!tile.thumbnail) return typeText(tile) + ", " + bytes;
    return std::to_string(tile.size.x) + " x " + std::to_string(tile.size.y) + ", " + bytes;
}

void drawPicture(Painter& painter, const Tile& tile, int left, int top) {
    qel::Image picture = tile.thumbnail;
    const int x = left + (kThumbnailSide - picture.getWidth()) / 2;
    const int y = top + (kThumbnailSide - picture.getHeight()) / 2;
    if (!isOpaque(picture)) fillWithSquares(painter, x, y, picture.getSize());
    painter.draw(std::move(picture), x, y);
}

void drawTile(Painter& painter, const Tile& tile, int left, int top) {
    painter.fill(rectOf(left, top, kTileWidth, kTileHeight), kCard);
    left += kPadding;
    top += kPadding;
    painter.fill(rectOf(left, top, kThumbnailSide, kThumbnailSide), kStage);
    if (tile.thumbnail) {
        drawPicture(painter, tile, left, top);
    } else {
        const bool isBroken = !tile.problem.empty();
        writeCentred(painter, tile.type.empty() ? "?" : typeText(tile), left, top, kThumbnailSide,
                     isBroken ? kAlarm : kAccent);
    }
    top += kThumbnailSide + kPadding;
    write(painter, tile.name, left, top, kThumbnailSide, kBright);
    write(painter, detailsOf(tile), left, top + kLineHeight, kThumbnailSide,
          tile.problem.empty() ? kDim : kAlarm);
}

} // namespace

qel::Image drawPage(const std::string& title, std::span<const Tile> tiles) {
    const int columns = columnsOf(tiles.size());
    const int rows = (static_cast<int>(tiles.size()) + columns - 1) / columns;
    const qel::IVec2<int> size(kMargin + columns * (kTileWidth + kMargin),
                               kTitleHeight + kMargin + rows * (kTileHeight + kMargin));
    return drawn(size, kPage, [&](Painter& painter) {
        write(painter, title, kMargin, kMargin, size.x - 2 * kMargin, kBright, 2);
        for (size_t i = 0; i < tiles.size(); ++i) {
            const int column = static_cast<int>(i) % columns;
            const int row = static_cast<int>(i) / columns;
            drawTile(painter, tiles[i], kMargin + column * (kTileWidth + kMargin),
                     kTitleHeight + kMargin + row * (kTileHeight + kMargin));
        }
    });
}

} // namespace qelimage
