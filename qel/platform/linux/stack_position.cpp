#include <qel/platform/stack_position.h>

namespace qel::platform {

// The frame address itself, because a sanitizer may keep local variables elsewhere.
[[gnu::noinline]] std::uintptr_t stackPosition() {
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

} // namespace qel::platform
