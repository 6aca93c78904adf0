// Window: a window of the desktop, or one in memory, with its events and its pixels.
#pragma once

#include <hosts/window/window_event.h>

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/imaging/pixels/image.h>

#include <memory>
#include <string>

struct SDL_Window;
struct SDL_Surface;
union SDL_Event;

namespace qelwindow {

/// What the theme needs to know about a display.
struct DisplayFacts {
    float dpi = 96;              ///< pixels per inch
    float sizeInches = 24;       ///< diagonal
    float retinaScaleFactor = 1; ///< pixels per unit of the window system
};

/// A window whose pixels are written by the processor. A process has at most one.
/// @threads main thread.
class Window {
public:
    /// Where a window is.
    enum class Place {
        Display, ///< on the desktop
        Memory,  ///< nowhere: its frames are only read back, and its events are simulated
    };

    /// The longest side of a window in pixels.
    static constexpr int kLongestSide = 16'384;

    /// Opens a window. @param size  in units of the window system, which are pixels on most displays.
    /// @param problem  receives what went wrong, such as a missing display.
    /// @return null after a failure.
    static std::unique_ptr<Window> open(Place place, const std::string& title, const qel::IVec2<int>& size,
                                        std::string& problem);
    /// Closes the window.
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    /// Returns true if the window is on the desktop.
    bool isOnDisplay() const { return m_place == Place::Display; }
    /// Returns width and height in pixels.
    qel::IVec2<int> getSize() const;
    /// Returns what is known about the display that shows the window.
    DisplayFacts getDisplay() const;
    /// Waits for the next event. @param timeoutMs  the longest time to wait; 0 only looks for an event.
    /// @return false if none has arrived.
    bool waitForEvent(WindowEvent& event, int timeoutMs);

    /// Returns the pixels of the next frame, which are undefined; valid until endFrame().
    /// @return null if the window has no pixels, for example while it is being resized.
    qel::Image* beginFrame();
    /// Shows the frame.
    void endFrame();

    /// Sets the text of the title bar.
    void setTitle(const std::string& title);
    /// Resizes the window. @param size  in units of the window system, limited to 1 to kLongestSide.
    void setSize(const qel::IVec2<int>& size);
    /// Brings the window to the front.
    void raise();
    /// Minimises the window.
    void minimize();
    /// Undoes minimize().
    void restore();
    /// Fills the display with the window, or undoes that.
    void setFullscreen(bool on);
    /// Returns true if the window fills the display.
    bool isFullscreen() const;
    /// Starts to deliver typed text. @param rect  the place of the text in pixels, for input methods.
    void startTextInput(const qel::Rect& rect);
    /// Stops to deliver typed text.
    void stopTextInput();
    /// Sets the place of the edited text in pixels.
    void setTextInputRect(const qel::Rect& rect);
    /// Puts a text onto the clipboard.
    void setClipboardText(const char* text);
    /// Returns the text on the clipboard; empty without one.
    std::string getClipboardText() const;
    /// Returns the window of SDL. @owner this window.
    SDL_Window* getHandle() const { return m_window; }

private:
    Window(Place place, SDL_Window* window) : m_place(place), m_window(window) {}
    WindowEvent translate(const SDL_Event& event);
    WindowEvent translateWindowEvent(const SDL_Event& event);
    WindowEvent translateButton(const SDL_Event& event);
    WindowEvent translateWheel(const SDL_Event& event);
    WindowEvent translateFinger(const SDL_Event& event);
    WindowEvent touchesNow() const;
    qel::IVec2<float> toPixels(float x, float y) const;
    float pixelsPerUnit() const;

    const Place m_place;
    SDL_Window* const m_window;
    SDL_Surface* m_surface = nullptr; ///< between beginFrame() and endFrame()
    qel::SmartPointer<qel::Image> m_frame{new qel::Image()};
    Pointers m_pointers;
};

} // namespace qelwindow
