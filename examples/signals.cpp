// Signals and delegates: objects that react to each other without knowing each other.
#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/signal.h>
#include <qel/foundation/base/smart_pointer.h>

#include <cstdio>

namespace {

/// A door, which anything may watch and one listener may lock.
class Door : public qel::Object {
    QEL_CLASS(Door, qel::Object)

public:
    /// Opens the door unless the listener of delegateMayOpen forbids it.
    void open() {
        if (!delegateMayOpen.isConnected() || delegateMayOpen()) signalMoved(true);
    }

    qel::Signal<void(bool isOpen)> signalMoved; ///< called after each movement, for any number of listeners
    qel::Delegate<bool()> delegateMayOpen;      ///< asked before the door opens; has one listener at most
};

/// A light that is on while a door is open.
class Light : public qel::Object {
    QEL_CLASS(Light, qel::Object)

public:
    explicit Light(Door& door) { door.signalMoved.connect(this, &Light::slotMoved); }

private:
    void slotMoved(bool isOpen) { std::printf("light: %s\n", isOpen ? "on" : "off"); }
};

} // namespace

int main() {
    const qel::SmartPointer<Door> door(new Door);
    qel::SignalConnection* counter = nullptr;
    int movements = 0;
    counter = door->signalMoved.connect([&](bool) { std::printf("movement %d\n", ++movements); });
    {
        const qel::SmartPointer<Light> light(new Light(*door));
        door->open(); // listeners are called in the order of their connection
    }
    door->open(); // the light has died, and its connection with it

    bool isLocked = true;
    door->delegateMayOpen.connect([&] { return !isLocked; });
    door->open();
    isLocked = false;
    door->signalMoved.disconnect(counter);
    door->signalMoved.connect([](bool) { std::puts("the last listener"); });
    door->open();
}

// Prints:
// movement 1
// light: on
// movement 2
// the last listener
