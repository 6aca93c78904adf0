#include <qel/process/process_protocol.h>

#include <qel/foundation/base/types.h>

namespace qel::ProcessProtocol {

namespace {

struct TerminateScheme : PacketScheme {
    TerminateScheme() : PacketScheme(1, "ProcessProtocol", nullptr, "Terminate") { NextVersion(); }
};

struct PluginsHashesScheme : PacketScheme {
    PluginsHashesScheme() : PacketScheme(1003, "ProcessProtocol", nullptr, "PluginsHashes") {
        Item("pluginsHashes", kDynamic);
        String("initScript", kDynamic);
        String("startupScript", kDynamic);
        Single<int32>("index", 0);
        NextVersion();
    }
};

} // namespace

// Never destroyed: threads may still send packets while the process ends.
PacketScheme* const Terminate = new TerminateScheme();
PacketScheme* const PluginsHashes = new PluginsHashesScheme();

} // namespace qel::ProcessProtocol
