// Abstract reader of archives: many files in one file.
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
    /// Opens the archive @p path and reads its list of files. It replaces the archive that was open before.
    /// @return true if at least one file was found.
    virtual bool open(SmartCStr path) = 0;
    /// Returns true if the archive contains the file @p name. @threads any thread, but not during open().
    virtual bool hasFile(SmartCStr name) = 0;
    /// Reads the whole file @p name. @return false if it does not exist or cannot be read.
    /// @threads any thread, but not during open().
    virtual bool readFile(SmartCStr name, Buffer& buffer) = 0;
};

} // namespace qel
