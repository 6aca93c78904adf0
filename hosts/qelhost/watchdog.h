// Watchdog: ends a process that does not respond to an interrupt.
#pragma once

#include <thread>

namespace qelhost {

/// While it exists, an interrupt ends the process by force unless it ends by itself within 900 ms, so that a
/// script that never yields cannot keep the user waiting.
class Watchdog {
public:
    Watchdog();

private:
    std::jthread m_thread;
};

} // namespace qelhost
