// SheetPage: a page of a contact sheet.
#pragma once

#include "tile.h"

#include <span>
#include <string>

namespace qelimage {

/// The most tiles of a page.
inline constexpr size_t kTilesPerPage = 96;

/// Draws the tiles of a page, at most kTilesPerPage, below a title. @return an RGB8 picture;
/// uninitialised if there is no memory, which is logged.
qel::Image drawPage(const std::string& title, std::span<const Tile> tiles);

} // namespace qelimage
