// The packets between the server and its workers, in addition to those of ProcessProtocol.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/packet/packet_scheme.h>

namespace qeljobs {

/// The ids of the packets.
enum PacketId : qel::int16 {
    kJobId = 2001,
    kProgressId = 2002,
    kResultId = 2003,
    kFailureId = 2004,
    kHeartbeatId = 2005
};

/// The kinds of jobs.
inline constexpr const char* kJobKinds[] = {"hash", "compress"};

/// The interval at which a worker sends heartbeats.
inline constexpr qel::uint32 kHeartbeatMs = 2000;

/// Returns the scheme of a job, sent by the server.
/// Fields: "id" GUID; "attempt" int32, which reports repeat; "kind" String; "files" Item of one String for
/// each absolute path; "access" Item of a FileAccess, without which the job fails.
qel::PacketScheme* jobScheme();
/// Returns the scheme of the progress of a job, sent by the worker when the job starts and then at most ten
/// times a second. Fields: "id" GUID; "attempt" int32; "done" and "total" uint64, in bytes.
qel::PacketScheme* progressScheme();
/// Returns the scheme of the result of a job, sent by the worker.
/// Fields: "id" GUID; "attempt" int32; "bytes" uint64 read; "result" Item of one element.
qel::PacketScheme* resultScheme();
/// Returns the scheme of the failure of a job, sent by the worker.
/// Fields: "id" GUID; "attempt" int32; "error" String.
qel::PacketScheme* failureScheme();
/// Returns the scheme of a heartbeat, sent by the worker when it starts and every kHeartbeatMs from then on,
/// except while its job makes no progress.
/// A worker that has never sent one is not expected to. It has no fields.
qel::PacketScheme* heartbeatScheme();

} // namespace qeljobs
