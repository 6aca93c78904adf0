// Many files in one: the abstract reader.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/platform/api.h>

namespace qel {

class Buffer;

/// A read-only tree of files inside one file.
class QEL_API Archive : public Object {
    QEL_CLASS(Archive, Object)

public:
    /// Opens the archive @p path and reads what it holds, in place of what was open before.
    /// @return whether at least one file was found.
    virtual bool open(SmartCStr path) = 0;
    /// Whether there is a file @p name. @threads any thread, but not beside open().
    virtual bool hasFile(SmartCStr name) = 0;
    /// Reads the file @p name whole. @return false when there is none or it can't be read.
    /// @threads any thread, but not beside open().
    virtual bool readFile(SmartCStr name, Buffer& buffer) = 0;
};

} // namespace qel
