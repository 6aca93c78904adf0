// FrameLoop: passes a window's input to its screen and draws frames when something has changed.
#pragma once

#include <hosts/window/display_theme.h>
#include <hosts/window/screen.h>
#include <hosts/window/window.h>
#include <hosts/window/window_hooks.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/render/renderer_software.h>

#include <string>

namespace qelwindow {

/// Runs the passes of System for one window.
///
/// A frame is drawn after input, when System::delegateRequestFrame asks for one, and while the screen wants
/// frames, at most 60 times a second. Otherwise the loop sleeps, up to a quarter of a second at a time, until
/// an event arrives. The screen may prepare a frame in passes before the one that draws it.
/// @threads main thread; System must exist.
class FrameLoop {
public:
    /// Connects the hooks of System to @p window and adapts the theme to it. @param window, screen  must
    /// outlive this object.
    FrameLoop(Window& window, Screen& screen);
    ~FrameLoop();
    FrameLoop(const FrameLoop&) = delete;
    FrameLoop& operator=(const FrameLoop&) = delete;

    /// Waits for an event or the time of the next frame, runs a pass of System, passes on the input and
    /// draws a frame if one is wanted.
    /// @param longestWaitMs  limits the time to wait.
    void pass(int longestWaitMs = kLongestWaitMs);
    /// Runs passes for this time.
    void runFor(qel::uint32 milliseconds);
    /// Draws the next frame in the next pass.
    void requestFrame() { m_isFrameWanted = true; }
    /// Draws a frame now and writes it to a PNG file, replacing an existing file.
    /// @return what went wrong; empty on success.
    std::string saveFrame(const std::string& path);
    /// Draws a frame now and copies it as RGB8. @return false if the window has no pixels at the moment.
    bool copyFrame(qel::Image& picture);
    /// Returns true if the window was closed or an interrupt has arrived.
    bool hasEnded() const;
    /// Returns the user's scale and the theme.
    DisplayTheme& getTheme() { return m_theme; }
    /// Returns false while the window is minimised or hidden.
    bool isVisible() const { return m_isVisible; }
    /// Returns true if a frame is being prepared, which one of the next passes draws.
    bool isPreparingFrame() const { return m_isPreparing && m_isVisible; }
    /// Returns the number of frames drawn so far.
    unsigned getFrameCount() const { return m_frameCount; }
    /// Returns the number of passes so far.
    unsigned getPassCount() const { return m_passCount; }
    /// Returns the milliseconds that the longest pass since the last call took, without the time in which it
    /// waited for an event.
    double takeLongestPassMs();

private:
    static constexpr int kLongestWaitMs = 250;

    bool waitForFirstEvent(WindowEvent& event, int longestWaitMs);
    void handleEvents(WindowEvent first);
    bool waitForEvent(WindowEvent& event, int timeoutMs);
    int timeToWait(int longestWaitMs) const;
    void handle(const WindowEvent& event);
    void handleKey(const std::string& key);
    void handleResize();
    void finishResize();
    void passOnTouches();
    bool isFrameWanted() const;
    void advanceFrame();
    bool drawFrame();

    Window& m_window;
    Screen& m_screen;
    DisplayTheme m_theme;
    qel::SmartPointer<WindowHooks> m_hooks;
    qel::SmartPointer<qel::RendererSoftware> m_renderer;
    bool m_isFrameWanted = true;
    bool m_isPreparing = false; ///< the next frame
    bool m_isClosed = false;
    bool m_isVisible = true;
    bool m_isResizing = false;
    int m_idleWaitMs = 0;
    qel::uint32 m_resizeTime = 0;
    qel::uint32 m_frameTime = 0;
    unsigned m_frameCount = 0;
    unsigned m_passCount = 0;
    qel::int64 m_longestPassNs = 0;
};

} // namespace qelwindow
