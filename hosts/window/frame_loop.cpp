#include <hosts/window/frame_loop.h>

#include <hosts/window/picture_file.h>
#include <hosts/window/text_receiver.h>
#include <hosts/window/touch_lists.h>

#include <qel/scene/actors/touch_state.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/main_pool.h>

#include <algorithm>
#include <utility>

namespace qelwindow {

namespace {

constexpr qel::uint32 kFrameMs = 16;
constexpr qel::uint32 kResizeEndMs = 150; // without a further change of the size
constexpr int kWorkingWaitMs = 5;

qel::System& system() {
    return *qel::Object::system();
}

} // namespace

FrameLoop::FrameLoop(Window& window, Screen& screen)
    : m_window(window),
      m_screen(screen),
      m_theme(window),
      m_hooks(new WindowHooks(window, [this] { m_isFrameWanted = true; })),
      m_renderer(new qel::RendererSoftware()) {
    const qel::IVec2<int> size = m_window.getSize();
    system().processFramebufferSizeChange(size.x, size.y);
    m_theme.adaptToWindow();
    m_screen.adapt();
}

FrameLoop::~FrameLoop() {
    m_renderer->setRenderTarget(nullptr);
}

bool FrameLoop::hasEnded() const {
    return m_isClosed || qel::System::wasInterruptHandlerCalled();
}

void FrameLoop::runFor(qel::uint32 milliseconds) {
    const qel::uint32 start = system().getTime();
    while (!hasEnded()) {
        const qel::uint32 elapsed = system().getTime() - start;
        if (elapsed >= milliseconds) return;
        pass(static_cast<int>(std::min(milliseconds - elapsed, kFrameMs)));
    }
}

void FrameLoop::pass(int longestWaitMs) {
    WindowEvent event;
    const bool hasEvent = waitForFirstEvent(event, longestWaitMs);
    const qel::int64 start = qel::Clock::current().steadyNanoseconds();
    if (hasEvent) handleEvents(event);
    system().processEvents(0);
    passOnTouches();
    if (m_isResizing && system().getTime() - m_resizeTime >= kResizeEndMs) finishResize();
    if (m_isVisible && isFrameWanted()) advanceFrame();
    ++m_passCount;
    m_longestPassNs = std::max(m_longestPassNs, qel::Clock::current().steadyNanoseconds() - start);
}

double FrameLoop::takeLongestPassMs() {
    return static_cast<double>(std::exchange(m_longestPassNs, 0)) / 1e6;
}

/// Waits for an event, longer each time nothing has happened.
bool FrameLoop::waitForFirstEvent(WindowEvent& event, int longestWaitMs) {
    const bool hasEvent = waitForEvent(event, timeToWait(longestWaitMs));
    m_idleWaitMs = hasEvent ? 0 : std::min(m_idleWaitMs + 1, kLongestWaitMs);
    return hasEvent;
}

/// Handles an event and all others that are there.
void FrameLoop::handleEvents(WindowEvent first) {
    do handle(first);
    while (m_window.waitForEvent(first, 0));
}

/// Waits for an event on the clock of System, which may be virtual.
bool FrameLoop::waitForEvent(WindowEvent& event, int timeoutMs) {
    qel::Clock& clock = qel::Clock::current();
    if (clock.isRealTime()) return m_window.waitForEvent(event, timeoutMs);
    if (m_window.waitForEvent(event, 0)) return true;
    clock.sleep(static_cast<unsigned>(timeoutMs));
    return false;
}

int FrameLoop::timeToWait(int longestWaitMs) const {
    if (system().getMainPool()->hasWork()) return 0;
    int wait = std::min(longestWaitMs, m_idleWaitMs);
    if (m_screen.isWorking()) wait = std::min(wait, kWorkingWaitMs);
    if (m_isResizing) wait = std::min(wait, static_cast<int>(kFrameMs));
    if (!m_isVisible || !isFrameWanted()) return wait;
    if (m_isPreparing) return 0;
    const qel::uint32 elapsed = system().getTime() - m_frameTime;
    return std::min(longestWaitMs, elapsed < kFrameMs ? static_cast<int>(kFrameMs - elapsed) : 0);
}

void FrameLoop::handle(const WindowEvent& event) {
    switch (event.kind) {
    case WindowEvent::Kind::None:
        return;
    case WindowEvent::Kind::Touches:
        pushTouches(event.touches);
        if (event.endsAtOnce) pushTouches(withoutWheel(event.touches));
        break;
    case WindowEvent::Kind::Key:
        handleKey(event.text);
        break;
    case WindowEvent::Kind::Text:
        if (auto* const receiver = dynamic_cast<TextReceiver*>(system().getKeyboardReceiver()))
            receiver->insertText(event.text);
        break;
    case WindowEvent::Kind::Resized:
        handleResize();
        break;
    case WindowEvent::Kind::Hidden:
        pushTouches({});
        m_isVisible = false;
        system().setBackgroundMode(true);
        break;
    case WindowEvent::Kind::Shown:
    case WindowEvent::Kind::Exposed:
        m_isVisible = true;
        system().setBackgroundMode(false);
        break;
    case WindowEvent::Kind::Closed:
        m_isClosed = true;
        system().signalQuitRequested();
        break;
    case WindowEvent::Kind::Dropped:
        m_screen.openPath(event.text);
        break;
    }
    requestFrame();
}

void FrameLoop::handleKey(const std::string& key) {
    auto* const receiver = dynamic_cast<TextReceiver*>(system().getKeyboardReceiver());
    if (key.empty() || (receiver && receiver->handleKey(key))) return;
    if (key == "f11")
        m_window.setFullscreen(!m_window.isFullscreen());
    else if (key == "ctrl+q")
        handle({.kind = WindowEvent::Kind::Closed});
    else
        m_screen.handleKey(key);
}

void FrameLoop::handleResize() {
    const qel::IVec2<int> size = m_window.getSize();
    m_isResizing = true;
    m_resizeTime = system().getTime();
    system().processFramebufferSizeChange(size.x, size.y);
    m_screen.adapt();
}

/// Computes sizes and fonts for the final size only, because fonts of all sizes in between would stay in
/// System's cache.
void FrameLoop::finishResize() {
    m_isResizing = false;
    m_theme.adaptToWindow();
    m_screen.adapt();
    const qel::IVec2<int> size = m_window.getSize();
    system().signalFramebufferSizeChanged(static_cast<unsigned>(size.x), static_cast<unsigned>(size.y));
    requestFrame();
}

void FrameLoop::passOnTouches() {
    qel::TouchState& touches = *system().getTouchState();
    while (touches.prepareNewTouches()) {
        touches.clearIterated();
        m_screen.handleTouches(touches);
        touches.processedTick();
        requestFrame();
    }
}

bool FrameLoop::isFrameWanted() const {
    return m_isFrameWanted || system().isForceRenderWhileTickEnabled() || m_screen.wantsFrame();
}

/// Goes on preparing the next frame, or draws it.
void FrameLoop::advanceFrame() {
    if (!m_isPreparing) m_frameTime = system().getTime();
    m_isPreparing = m_screen.prepareFrame(*m_renderer);
    if (m_isPreparing)
        requestFrame();
    else
        drawFrame();
}

/// @return false if the window has no pixels at the moment.
bool FrameLoop::drawFrame() {
    m_isFrameWanted = false;
    system().setForceRenderWhileTickEnabled(false);
    qel::Image* const frame = m_window.beginFrame();
    if (!frame) return false;
    m_renderer->setRenderTarget(frame);
    m_renderer->start();
    m_screen.draw(*m_renderer);
    m_renderer->stop();
    m_window.endFrame();
    ++m_frameCount;
    return true;
}

std::string FrameLoop::saveFrame(const std::string& path) {
    qel::Image picture;
    return copyFrame(picture) ? writePicture(picture, path) : "there is no picture for '" + path + "'";
}

bool FrameLoop::copyFrame(qel::Image& picture) {
    if (!drawFrame()) return false;
    const qel::Image& frame = *m_renderer->getRenderTarget();
    picture.initialize(qel::RGB8, frame.getSize());
    return picture.convertFrom(frame);
}

} // namespace qelwindow
