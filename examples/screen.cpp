// A button that opens a menu: actors, touches and the placement of the menu, drawn into an image.
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/scene/actors/rect_actor.h>
#include <qel/scene/actors/rect_search.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/system/core/system.h>

#include <cstdio>

namespace {

constexpr uint32_t kPressed = 1;

class Screen : public qel::Object {
    QEL_CLASS(Screen, qel::Object)

public:
    Screen() {
        m_renderer.setRenderTarget(m_image.get());
        m_button.setBounds({20, 60, 120, 90}).setColor({0.3f, 0.5f, 0.8f, 1});
        m_menu.setColor({0.9f, 0.9f, 0.9f, 1}).deactivate();
    }

    /// Runs a frame: asks for touches, draws, and ends the frame.
    void runFrame() {
        qel::TouchState& touches = *system()->getTouchState();
        system()->processEvents(0);
        touches.prepareNewTouches();
        touches.clearIterated();
        touches.acquireBegin(this, m_button.getBounds(), kPressed);
        while (touches.iterateOwnedEnd(this, m_button.getBounds()) != nullptr) openMenu();
        m_renderer.start();
        m_renderer.clear({0, 0, 0, 1});
        m_renderer.draw(&m_button);
        m_renderer.draw(&m_menu);
        m_renderer.stop();
        touches.processedTick();
    }
    /// Returns the blue, green and red of a pixel.
    const uint8_t* pixel(int x, int y) const { return m_image->getBytePointer(y) + x * 4; }

private:
    void openMenu() {
        qel::RectSearch search;
        search.setScreenBounds({0, 0, 200, 150});
        search.setButton(m_button.getBounds());
        search.setSize({80, 50});
        qel::Rect place;
        if (!search.search(place)) return;
        m_menu.setBounds(place).activate();
        std::printf("menu at %.0f, %.0f\n", static_cast<double>(place.x0), static_cast<double>(place.y0));
    }

    qel::SmartPointer<qel::Image> m_image{new qel::Image(qel::BGRA8, {200, 150})};
    qel::RendererSoftware m_renderer;
    qel::RectActor m_button;
    qel::RectActor m_menu;
};

/// Reports touches as a platform does: all that exist at the moment.
void report(bool isTouching) {
    const qel::SmartPointer<qel::RawTouchList> list(new qel::RawTouchList);
    qel::RawTouch finger;
    finger.position = {50, 75};
    finger.time = qel::Object::system()->getTime();
    finger.flags = kPressed;
    if (isTouching) list->touches.push_back(finger);
    qel::Object::system()->getTouchState()->pushRawTouchList(list.get());
}

} // namespace

int main() {
    qel::System::initialize(nullptr);
    {
        Screen screen;
        report(true);
        screen.runFrame();
        report(false);
        screen.runFrame();
        std::printf("red of the button: %d, of the menu: %d\n", screen.pixel(30, 70)[2],
                    screen.pixel(70, 30)[2]);
    }
    qel::System::deinitialize();
}

// Prints:
// menu at 30, 9
// red of the button: 77, of the menu: 230
