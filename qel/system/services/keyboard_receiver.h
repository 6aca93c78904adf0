// What gets the input of a keyboard that the host shows.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>

namespace qel {

/// An object that edits text, on whose behalf the host shows its keyboard: see System::showKeyboard. System
/// keeps a weak pointer to the current one. A host derives from it and adds the calls by which its platform
/// layer delivers what is typed to System::getKeyboardReceiver().
/// @threads main thread.
class QEL_API KeyboardReceiver : public Object {
    QEL_CLASS(KeyboardReceiver, Object)
};

} // namespace qel
