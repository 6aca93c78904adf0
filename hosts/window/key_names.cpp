#include <hosts/window/key_names.h>

#include <array>
#include <utility>

namespace qelwindow {

namespace {

struct Modifier {
    std::string_view prefix;
    Uint16 mask;
    Uint16 key;
};

constexpr Modifier kModifiers[] = {{"ctrl+", KMOD_CTRL, KMOD_LCTRL},
                                   {"alt+", KMOD_ALT, KMOD_LALT},
                                   {"shift+", KMOD_SHIFT, KMOD_LSHIFT},
                                   {"meta+", KMOD_GUI, KMOD_LGUI}};

constexpr std::pair<SDL_Keycode, SDL_Keycode> kNumberPad[] = {
    {SDLK_KP_ENTER, SDLK_RETURN}, {SDLK_KP_PLUS, SDLK_PLUS}, {SDLK_KP_MINUS, SDLK_MINUS}};

SDL_Keycode withoutNumberPad(SDL_Keycode key) {
    for (const auto& [pad, plain] : kNumberPad)
        if (key == pad) return plain;
    return key;
}

bool isModifier(SDL_Keycode key) {
    return key >= SDLK_LCTRL && key <= SDLK_RGUI;
}

std::string lowerCaseWithoutSpaces(const char* name) {
    std::string text;
    for (; *name; ++name)
        if (*name != ' ') text += *name >= 'A' && *name <= 'Z' ? static_cast<char>(*name - 'A' + 'a') : *name;
    return text;
}

SDL_Keycode findKey(std::string_view name) {
    for (int code = 0; code < SDL_NUM_SCANCODES; ++code) {
        const SDL_Keycode key = SDL_GetKeyFromScancode(static_cast<SDL_Scancode>(code));
        if (key != SDLK_UNKNOWN && lowerCaseWithoutSpaces(SDL_GetKeyName(key)) == name) return key;
    }
    return SDL_GetKeyFromName(std::string(name).c_str());
}

} // namespace

std::string keyName(const SDL_Keysym& key) {
    if (isModifier(key.sym)) return {};
    const std::string plain = lowerCaseWithoutSpaces(SDL_GetKeyName(withoutNumberPad(key.sym)));
    if (plain.empty()) return {};
    std::string name;
    for (const Modifier& modifier : kModifiers)
        if ((key.mod & modifier.mask) != 0) name += modifier.prefix;
    return name + plain;
}

std::optional<SDL_Keysym> keyFromName(std::string_view name) {
    SDL_Keysym key{};
    for (const Modifier& modifier : kModifiers) {
        if (!name.starts_with(modifier.prefix)) continue;
        key.mod = static_cast<Uint16>(key.mod | modifier.key);
        name.remove_prefix(modifier.prefix.size());
    }
    key.sym = findKey(name);
    key.scancode = SDL_GetScancodeFromKey(key.sym);
    return key.sym == SDLK_UNKNOWN ? std::nullopt : std::optional(key);
}

} // namespace qelwindow
