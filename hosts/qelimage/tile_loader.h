// Loads the tiles of a page on the parallel queue.
#pragma once

#include "tile.h"

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace qelimage {

/// Makes the tiles of the files @p names in @p folder. Each worker holds at most one decoded picture.
/// Ends early after an interrupt, if the handler is installed.
/// @param onProgress  is called several times a second with the number of files that are done.
/// @return the tiles in the order of the names. @threads main thread.
std::vector<Tile> loadTiles(const std::string& folder, std::span<const std::string> names,
                            const std::function<void(size_t done)>& onProgress);

} // namespace qelimage
