// The packets between the server and its workers, on top of ProcessProtocol.
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

/// What a job may ask for.
inline constexpr const char* kJobKinds[] = {"hash", "compress"};

/// How often a worker sends a heartbeat.
inline constexpr qel::uint32 kHeartbeatMs = 2000;

/// Server to worker: do this job.
/// Fields: "id" GUID; "attempt" int32, which answers repeat; "kind" text; "files" Item of one String for each
/// absolute path; "access" a FileAccess, without which no file is used.
qel::PacketScheme* jobScheme();
/// Worker to server, once at the start of a job and then at most ten times a second: how far a job is.
/// Fields: "id" GUID; "attempt" int32; "done" and "total" uint64, in bytes.
qel::PacketScheme* progressScheme();
/// Worker to server: a job is done.
/// Fields: "id" GUID; "attempt" int32; "bytes" uint64 read; "result" Item of one element.
qel::PacketScheme* resultScheme();
/// Worker to server: a job can't be done, and why.
/// Fields: "id" GUID; "attempt" int32; "error" text.
qel::PacketScheme* failureScheme();
/// Worker to server, at its start and every kHeartbeatMs from then on: the worker answers. A worker that has
/// never sent one is not expected to. No fields.
qel::PacketScheme* heartbeatScheme();

} // namespace qeljobs
