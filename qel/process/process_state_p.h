// The private part of Process.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/platform/file_system.h>
#include <qel/process/process.h>
#include <qel/process/process_packet_reader.h>
#include <qel/process/process_packet_writer.h>
#include <qel/process/stream_queues_p.h>

#include <utility>

namespace qel::internal {

/// This side's end of a stream, and the child's, which is kept open too: so the child's end alone closes
/// nothing, and a write never meets a pipe without a reader, which would raise a signal.
struct ChildStream {
    platform::FileHandle ownEnd;
    platform::FileHandle childEnd;
    bool wasClosed = false;

    bool isOpen() const { return ownEnd.isOpen(); }
    void close() {
        ownEnd.close();
        childEnd.close();
        wasClosed = true;
    }
};

/// A stream from the child and what has come out of it.
struct ChildOutput : ChildStream {
    LineQueue lines;

    /// Reads while there is room. @return the failure that ended it, if any.
    platform::FileError read(bool& gotData);
    /// Takes a line that is there, were it the unfinished last one of a closed stream.
    bool takeLine(String& line) { return lines.takeLine(line) || (!isOpen() && lines.takeRest(line)); }
    bool isAtEnd() const { return !isOpen() && lines.empty(); }
};

/// A stream to the child and what waits to go into it.
struct ChildInput : ChildStream {
    ByteQueue bytes;

    /// Writes as much as fits. @return the failure that ended it, if any.
    platform::FileError write();
};

} // namespace qel::internal

namespace qel {

struct Process::State {
    internal::ChildInput input;
    internal::ChildOutput output;
    internal::ChildOutput error;
    int64 id = 0;
    bool isRunning = false;
    int64 lastError = 0;
    int exitStatus = 0;
    SmartPointer<ProcessPacketReader> reader;
    SmartPointer<ProcessPacketWriter> writer;

    internal::ChildOutput& outputOf(Output which) { return which == Output::Stdout ? output : error; }
};

} // namespace qel
