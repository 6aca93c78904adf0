// The script class of signals.
#pragma once

#include <qel/foundation/base/signal.h>
#include <qel/platform/api.h>
#include <qel/script/native_class.h>

namespace qelSq {

/// The script class "_Signal", which has only the members that every object has.
template <>
struct QEL_API ScriptClass<qel::Signal<void()>> {
    static constexpr bool kConstructible = false;   ///< signals belong to native code
    static constexpr bool kCopyable = false;        ///< a signal is not copied
    static const char* name() { return "_Signal"; } ///< the same name for all signals
    static void bind(Object* cls);                  ///< binds the members of Object
};

} // namespace qelSq
