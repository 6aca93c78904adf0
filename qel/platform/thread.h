// Starting threads.
#pragma once

#include <qel/platform/api.h>

#include <functional>
#include <thread>

namespace qel::platform {

/// Starts a thread that runs @p work.
/// @errors  throws std::system_error if the thread can't be started.
/// @threads any thread.
QEL_API std::thread startThread(std::function<void()> work);

} // namespace qel::platform
