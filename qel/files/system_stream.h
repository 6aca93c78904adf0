// A chunked reader of something that has a name and a size.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

class Buffer;

/// Gives content piece by piece, such as a document that the user has picked outside the program. Hosts
/// derive from it for sources of their own.
/// @threads an object is used by one thread at a time.
class QEL_API SystemStream : public Object {
    QEL_CLASS(SystemStream, Object)

public:
    /// What read() tells.
    enum ReadResult : int {
        kChunk = 0,  ///< the buffer holds the next piece
        kEnd = 1,    ///< there is no more
        kFailed = 2, ///< it can't be read
    };

    /// Puts the next piece into @p buffer, in place of what it held. @return a ReadResult.
    virtual int read(Buffer& buffer) = 0;
    /// Ends the reading early and lets go of the source.
    virtual void cancel() = 0;

    /// What the source is called, without a folder.
    const String& getName() const { return m_name; }
    /// Bytes in the source; 0 until that is known.
    uint64 getTotalSize() const { return m_totalSize; }
    /// Appends all pieces to @p target. @return the first result of read() that isn't kChunk: kEnd when the
    ///         source was read to its end.
    int readAll(Buffer& target);

protected:
    String m_name;          ///< what getName() gives
    uint64 m_totalSize = 0; ///< what getTotalSize() gives
};

} // namespace qel
