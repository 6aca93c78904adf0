// ProcessProtocol: the packets that every supervised worker understands.
#pragma once

#include <qel/packet/packet_scheme.h>
#include <qel/platform/api.h>

namespace qel::ProcessProtocol {

/// Asks the worker to end. Id 1, no fields.
extern QEL_API PacketScheme* const Terminate;

/// Specifies which plugins and scripts the worker runs. Id 1003. Fields: "pluginsHashes" (Item),
/// "initScript" and "startupScript" (String), "index" (32-bit signed, 0 by default).
extern QEL_API PacketScheme* const PluginsHashes;

} // namespace qel::ProcessProtocol
