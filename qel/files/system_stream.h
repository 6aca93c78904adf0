// Reads content in pieces from a source that has a name and a size.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

class Buffer;

/// Returns content piece by piece, such as a document that the user has selected outside the program. Hosts
/// derive classes for their own sources.
/// @threads an object is used by one thread at a time.
class QEL_API SystemStream : public Object {
    QEL_CLASS(SystemStream, Object)

public:
    /// The result of read().
    enum ReadResult : int {
        kChunk = 0,  ///< the buffer holds the next piece
        kEnd = 1,    ///< there is nothing more
        kFailed = 2, ///< the source cannot be read
    };

    /// Reads the next piece into @p buffer and replaces its content. @return a ReadResult.
    virtual int read(Buffer& buffer) = 0;
    /// Stops reading early and releases the source.
    virtual void cancel() = 0;

    /// Returns the name of the source, without a folder.
    const String& getName() const { return m_name; }
    /// Returns the bytes in the source; 0 while that is not known.
    uint64 getTotalSize() const { return m_totalSize; }
    /// Appends all pieces to @p target. @return the first result of read() that is not kChunk: kEnd if the
    /// source was read to its end.
    int readAll(Buffer& target);

protected:
    String m_name;          ///< the result of getName()
    uint64 m_totalSize = 0; ///< the result of getTotalSize()
};

} // namespace qel
