// Ends the process when an interrupt is not answered.
#pragma once

#include <thread>

namespace qelhost {

/// While it lives, an interrupt ends the process by force unless it ends by itself within 900 ms: a script
/// that never yields can't hold the user up.
class Watchdog {
public:
    Watchdog();

private:
    std::jthread m_thread;
};

} // namespace qelhost
