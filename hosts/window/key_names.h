// The names of keys.
#pragma once

#include <SDL.h>

#include <optional>
#include <string>
#include <string_view>

namespace qelwindow {

/// Returns the name of a key with its modifiers, such as "ctrl+shift+left", "f11" or "a": modifiers in the
/// order ctrl, alt, shift and meta, then the key in lower case without spaces. The keys of the number pad
/// are named after those that they replace. @return empty for a key without a name and for modifiers alone.
std::string keyName(const SDL_Keysym& key);

/// Returns the key with a name of keyName(). @return nothing if there is no such key.
std::optional<SDL_Keysym> keyFromName(std::string_view name);

} // namespace qelwindow
