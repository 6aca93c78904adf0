#include "job_packets.h"

#include <qel/store/core/guid.h>

namespace qeljobs {

namespace {

struct JobScheme : qel::PacketScheme {
    JobScheme() : PacketScheme(kJobId, "qeljobs", nullptr, "Job") {
        Single<qel::GUID>("id");
        Single<qel::int32>("attempt");
        String("kind", kDynamic);
        Item("files", kDynamic);
        Item("access", kDynamic);
        NextVersion();
    }
};

struct ProgressScheme : qel::PacketScheme {
    ProgressScheme() : PacketScheme(kProgressId, "qeljobs", nullptr, "Progress") {
        Single<qel::GUID>("id");
        Single<qel::int32>("attempt");
        Single<qel::uint64>("done");
        Single<qel::uint64>("total");
        NextVersion();
    }
};

struct ResultScheme : qel::PacketScheme {
    ResultScheme() : PacketScheme(kResultId, "qeljobs", nullptr, "Result") {
        Single<qel::GUID>("id");
        Single<qel::int32>("attempt");
        Single<qel::uint64>("bytes");
        Item("result", kDynamic);
        NextVersion();
    }
};

struct FailureScheme : qel::PacketScheme {
    FailureScheme() : PacketScheme(kFailureId, "qeljobs", nullptr, "Failure") {
        Single<qel::GUID>("id");
        Single<qel::int32>("attempt");
        String("error", kDynamic);
        NextVersion();
    }
};

struct HeartbeatScheme : qel::PacketScheme {
    HeartbeatScheme() : PacketScheme(kHeartbeatId, "qeljobs", nullptr, "Heartbeat") { NextVersion(); }
};

template <class Scheme>
qel::PacketScheme* instanceOf() {
    static Scheme scheme;
    return &scheme;
}

} // namespace

qel::PacketScheme* jobScheme() {
    return instanceOf<JobScheme>();
}

qel::PacketScheme* progressScheme() {
    return instanceOf<ProgressScheme>();
}

qel::PacketScheme* resultScheme() {
    return instanceOf<ResultScheme>();
}

qel::PacketScheme* failureScheme() {
    return instanceOf<FailureScheme>();
}

qel::PacketScheme* heartbeatScheme() {
    return instanceOf<HeartbeatScheme>();
}

} // namespace qeljobs
