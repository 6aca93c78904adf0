#include <hosts/window/window.h>

#include <hosts/window/key_names.h>

#include <SDL.h>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace qelwindow {

namespace {

constexpr float kUsualDpi = 96;
constexpr float kUsualSizeInches = 24;

/// Sets what SDL must do differently from its defaults. A finger is no mouse and the mouse no finger, so that
/// nothing arrives twice; signals belong to System; the screen may be saved while the window is open.
void setHints(Window::Place place) {
    SDL_SetHint(SDL_HINT_MOUSE_TOUCH_EVENTS, "0");
    SDL_SetHint(SDL_HINT_TOUCH_MOUSE_EVENTS, "0");
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    if (place == Window::Place::Memory)
        SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER, "dummy", SDL_HINT_OVERRIDE);
}

/// Starts SDL's video. Without a display, SDL may choose a driver that draws into memory.
/// @return false, with SDL's error set, if that fails or if nobody could see a window on the display.
bool startVideo(Window::Place place) {
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) return false;
    const std::string_view driver = SDL_GetCurrentVideoDriver();
    if (place == Window::Place::Display && (driver == "offscreen" || driver == "dummy")) {
        SDL_SetError("the video driver \"%s\" shows nothing", driver.data());
        return false;
    }
    // Lets the X server copy the pixels. The default passes them on through OpenGL, which the processor
    // simulates where there is no driver.
    if (driver == "x11") SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    return true;
}

/// Returns true if pixels of this format are those of a BGRA8 image, whose alpha is not shown.
bool isBgra(const SDL_PixelFormat& format) {
    return format.format == SDL_PIXELFORMAT_RGB888 || format.format == SDL_PIXELFORMAT_ARGB8888;
}

/// Lets @p image be the pixels of @p surface, or initialises it with memory of its own if the formats differ.
void shareOrAllocate(qel::Image& image, SDL_Surface& surface) {
    const qel::IVec2<int> size(surface.w, surface.h);
    if (!isBgra(*surface.format)) {
        image.initialize(qel::BGRA8, size);
        return;
    }
    const size_t bytes = static_cast<size_t>(surface.pitch) * static_cast<size_t>(surface.h);
    const qel::ByteSpan pixels(static_cast<qel::uint8*>(surface.pixels), bytes);
    image.initializeFromExtern(qel::BGRA8, size, {pixels}, {surface.pitch}, nullptr);
}

void copyTo(SDL_Surface& surface, const qel::Image& image) {
    SDL_ConvertPixels(surface.w, surface.h, SDL_PIXELFORMAT_ARGB8888, image.getBytePointer(),
                      image.getPitch(), surface.format->format, surface.pixels, surface.pitch);
}

qel::uint32 flagOfButton(Uint8 button) {
    switch (button) {
    case SDL_BUTTON_LEFT:
        return kTouchLeftButton;
    case SDL_BUTTON_RIGHT:
        return kTouchRightButton;
    case SDL_BUTTON_MIDDLE:
        return kTouchMiddleButton;
    default:
        return 0;
    }
}

} // namespace

std::unique_ptr<Window> Window::open(Place place, const std::string& title, const qel::IVec2<int>& size,
                                     std::string& problem) {
    setHints(place);
    SDL_Window* window = nullptr;
    if (startVideo(place)) {
        const Uint32 flags = SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI;
        window =
            SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                             std::clamp(size.x, 1, kLongestSide), std::clamp(size.y, 1, kLongestSide), flags);
    }
    if (!window) {
        problem = SDL_GetError();
        SDL_Quit();
        return nullptr;
    }
    SDL_StopTextInput();
    return std::unique_ptr<Window>(new Window(place, window));
}

Window::~Window() {
    SDL_DestroyWindow(m_window);
    SDL_Quit();
}

qel::IVec2<int> Window::getSize() const {
    qel::IVec2<int> size;
    SDL_GetWindowSizeInPixels(m_window, &size.x, &size.y);
    return size;
}

float Window::pixelsPerUnit() const {
    int width = 0;
    SDL_GetWindowSize(m_window, &width, nullptr);
    return width > 0 ? static_cast<float>(getSize().x) / static_cast<float>(width) : 1.0f;
}

DisplayFacts Window::getDisplay() const {
    DisplayFacts facts{kUsualDpi, kUsualSizeInches, pixelsPerUnit()};
    const int display = SDL_GetWindowDisplayIndex(m_window);
    SDL_Rect bounds{};
    float dpi = 0;
    if (m_place == Place::Memory || SDL_GetDisplayBounds(display, &bounds) != 0) return facts;
    if (SDL_GetDisplayDPI(display, &dpi, nullptr, nullptr) == 0 && dpi > 0) facts.dpi = dpi;
    const float diagonal = std::hypot(static_cast<float>(bounds.w), static_cast<float>(bounds.h));
    facts.sizeInches = diagonal * facts.retinaScaleFactor / facts.dpi;
    return facts;
}

bool Window::waitForEvent(WindowEvent& event, int timeoutMs) {
    SDL_Event received;
    if (SDL_WaitEventTimeout(&received, timeoutMs) == 0) return false;
    event = translate(received);
    return true;
}

qel::Image* Window::beginFrame() {
    m_surface = SDL_GetWindowSurface(m_window);
    if (!m_surface) return nullptr;
    shareOrAllocate(*m_frame, *m_surface);
    return m_frame->hasPixels() ? m_frame.get() : nullptr;
}

void Window::endFrame() {
    if (!m_surface) return;
    if (!m_frame->isExternal()) copyTo(*m_surface, *m_frame);
    SDL_UpdateWindowSurface(m_window);
    m_surface = nullptr;
}

void Window::setTitle(const std::string& title) {
    SDL_SetWindowTitle(m_window, title.c_str());
}

void Window::setSize(const qel::IVec2<int>& size) {
    SDL_SetWindowSize(m_window, std::clamp(size.x, 1, kLongestSide), std::clamp(size.y, 1, kLongestSide));
}

void Window::raise() {
    SDL_RaiseWindow(m_window);
}

void Window::minimize() {
    SDL_MinimizeWindow(m_window);
}

void Window::restore() {
    SDL_RestoreWindow(m_window);
}

void Window::setFullscreen(bool on) {
    SDL_SetWindowFullscreen(m_window, on ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0);
}

bool Window::isFullscreen() const {
    return (SDL_GetWindowFlags(m_window) & SDL_WINDOW_FULLSCREEN_DESKTOP) != 0;
}

void Window::startTextInput(const qel::Rect& rect) {
    setTextInputRect(rect);
    SDL_StartTextInput();
}

void Window::stopTextInput() {
    SDL_StopTextInput();
}

void Window::setTextInputRect(const qel::Rect& rect) {
    const float scale = pixelsPerUnit();
    // Width and height instead of two edges, whose difference may not be an int.
    const qel::IVec4<int> place =
        qel::Rect(rect.x0 / scale, rect.y0 / scale, rect.getWidth() / scale, rect.getHeight() / scale)
            .roundNearestAsInt();
    const SDL_Rect area{place.x, place.y, place.z, place.w};
    SDL_SetTextInputRect(&area);
}

void Window::setClipboardText(const char* text) {
    SDL_SetClipboardText(text);
}

std::string Window::getClipboardText() const {
    char* const text = SDL_GetClipboardText();
    const std::string copy = text ? text : "";
    SDL_free(text);
    return copy;
}

// --- events ------------------------------------------------------------------------------------------------

WindowEvent Window::translate(const SDL_Event& event) {
    switch (event.type) {
    case SDL_QUIT:
        return {.kind = WindowEvent::Kind::Closed};
    case SDL_WINDOWEVENT:
        return translateWindowEvent(event);
    case SDL_DISPLAYEVENT:
        return {.kind = WindowEvent::Kind::Resized};
    case SDL_MOUSEMOTION:
        if (event.motion.which == SDL_TOUCH_MOUSEID) return {};
        m_pointers.moveMouse(
            toPixels(static_cast<float>(event.motion.x), static_cast<float>(event.motion.y)));
        return touchesNow();
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
        return translateButton(event);
    case SDL_MOUSEWHEEL:
        return translateWheel(event);
    case SDL_FINGERDOWN:
    case SDL_FINGERMOTION:
    case SDL_FINGERUP:
        return translateFinger(event);
    case SDL_KEYDOWN:
        return {.kind = WindowEvent::Kind::Key, .text = keyName(event.key.keysym)};
    case SDL_TEXTINPUT:
        return {.kind = WindowEvent::Kind::Text, .text = event.text.text};
    case SDL_DROPFILE: {
        if (!event.drop.file) return {};
        WindowEvent dropped{.kind = WindowEvent::Kind::Dropped, .text = event.drop.file};
        SDL_free(event.drop.file);
        return dropped;
    }
    case SDL_DROPTEXT:
        SDL_free(event.drop.file);
        return {};
    default:
        return {};
    }
}

WindowEvent Window::translateWindowEvent(const SDL_Event& event) {
    switch (event.window.event) {
    case SDL_WINDOWEVENT_SIZE_CHANGED:
    case SDL_WINDOWEVENT_DISPLAY_CHANGED:
        return {.kind = WindowEvent::Kind::Resized};
    case SDL_WINDOWEVENT_EXPOSED:
        return {.kind = WindowEvent::Kind::Exposed};
    case SDL_WINDOWEVENT_MINIMIZED:
    case SDL_WINDOWEVENT_HIDDEN:
        m_pointers.liftAll();
        return {.kind = WindowEvent::Kind::Hidden};
    case SDL_WINDOWEVENT_RESTORED:
    case SDL_WINDOWEVENT_SHOWN:
        return {.kind = WindowEvent::Kind::Shown};
    case SDL_WINDOWEVENT_LEAVE:
        m_pointers.leaveMouse();
        return touchesNow();
    case SDL_WINDOWEVENT_FOCUS_LOST:
        m_pointers.liftAll();
        return touchesNow();
    default:
        return {};
    }
}

WindowEvent Window::translateButton(const SDL_Event& event) {
    const qel::uint32 flag = flagOfButton(event.button.button);
    if (flag == 0 || event.button.which == SDL_TOUCH_MOUSEID) return {};
    const qel::IVec2<float> position =
        toPixels(static_cast<float>(event.button.x), static_cast<float>(event.button.y));
    if (event.type == SDL_MOUSEBUTTONDOWN)
        m_pointers.pressButton(flag, position);
    else
        m_pointers.releaseButton(flag, position);
    return touchesNow();
}

WindowEvent Window::translateWheel(const SDL_Event& event) {
    const float steps = event.wheel.preciseY;
    const bool isFlipped = event.wheel.direction == SDL_MOUSEWHEEL_FLIPPED;
    const qel::IVec2<float> position =
        toPixels(static_cast<float>(event.wheel.mouseX), static_cast<float>(event.wheel.mouseY));
    return {.kind = WindowEvent::Kind::Touches,
            .touches = m_pointers.withWheel(position, isFlipped ? -steps : steps),
            .endsAtOnce = true};
}

WindowEvent Window::translateFinger(const SDL_Event& event) {
    if (event.tfinger.touchId == SDL_MOUSE_TOUCHID) return {};
    const qel::IVec2<float> size(getSize());
    const auto finger = static_cast<qel::uint64>(event.tfinger.fingerId);
    if (event.type == SDL_FINGERUP)
        m_pointers.liftFinger(finger);
    else
        m_pointers.moveFinger(finger, {event.tfinger.x * size.x, event.tfinger.y * size.y});
    return touchesNow();
}

WindowEvent Window::touchesNow() const {
    return {.kind = WindowEvent::Kind::Touches, .touches = m_pointers.getTouches()};
}

qel::IVec2<float> Window::toPixels(float x, float y) const {
    const float scale = pixelsPerUnit();
    return {x * scale, y * scale};
}

} // namespace qelwindow
