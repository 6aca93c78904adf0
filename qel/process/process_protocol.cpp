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

template <typename Scheme>
PacketScheme* theOnly() {
    static Scheme* const scheme = new Scheme();
    return scheme;
}

} // namespace

constinit const SchemeConstant Terminate(&theOnly<TerminateScheme>);
constinit const SchemeConstant PluginsHashes(&theOnly<PluginsHashesScheme>);

} // namespace qel::ProcessProtocol
