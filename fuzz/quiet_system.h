// A System for targets that need one.
#pragma once

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

/// Starts the System, with a clock that does not move and without output, unless it runs already.
inline void startQuietSystem() {
    static qel::ManualClock clock(1'000'000'000);
    if (qel::internal::g_system != nullptr) return;
    qel::logging::setConsoleWriter([](const qel::logging::ConsoleLine&) {});
    qel::Clock::install(&clock);
    qel::System::initialize({});
}
