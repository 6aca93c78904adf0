#include <qel/foundation/base/buffer.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>

namespace qel {

bool Buffer::loadFromResource(const char* name, bool silent) {
    if (Object::system()->loadResource(name, *this)) return true;
    if (!silent) logging::error() << "cant fetch resource '" << name << "'";
    return false;
}

} // namespace qel
