// Screen: what a window shows and what reacts to its input.
#pragma once

#include <string>

namespace qel {
class Renderer;
class TouchState;
} // namespace qel

namespace qelwindow {

/// The content of a window. All functions are called on the main thread, between the passes of System.
class Screen {
public:
    virtual ~Screen() = default;

    /// Takes over the size of the window, System::getFramebufferWidth() and System::getFramebufferHeight(),
    /// and the sizes and fonts of the theme. Called before the first frame and after each change.
    virtual void adapt() = 0;
    /// Does a part of the work for the next frame that takes long. Called in each pass before the frame is
    /// drawn.
    /// @param renderer  creates textures; nothing can be drawn on the window.
    /// @return true if enough was done in this pass, so that the frame has to wait; not without end.
    virtual bool prepareFrame(qel::Renderer& renderer) {
        static_cast<void>(renderer);
        return false;
    }
    /// Returns true if a frame is needed that nothing requests; by default while System reports that
    /// something moves.
    virtual bool wantsFrame() const;
    /// Draws a frame over the whole window.
    virtual void draw(qel::Renderer& renderer) = 0;
    /// Looks at the touches, after each list of them.
    virtual void handleTouches(qel::TouchState& touches) = 0;
    /// Handles a key that no text field uses. @param key  its name, such as "ctrl+left". @return true if the
    /// key has a meaning.
    virtual bool handleKey(const std::string& key) = 0;
    /// Opens a file or folder that was dropped onto the window.
    virtual void openPath(const std::string& path) = 0;
    /// Returns true while work runs in the background whose end must be noticed soon.
    virtual bool isWorking() const { return false; }
};

} // namespace qelwindow
