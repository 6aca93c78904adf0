// ProcessProtocol: the packets that every supervised worker understands.
#pragma once

#include <qel/packet/packet_scheme.h>
#include <qel/platform/api.h>

namespace qel::ProcessProtocol {

/// A scheme that is created when it is first used, so that loading the library costs nothing, and is never
/// destroyed, because threads may still send packets while the process ends. It converts to a pointer.
/// @threads any thread.
class SchemeConstant {
public:
    /// @param get  returns the scheme, the same one each time.
    explicit constexpr SchemeConstant(PacketScheme* (*get)()) : m_get(get) {}

    /// Returns the scheme; never null.
    operator PacketScheme*() const { return m_get(); }
    /// Accesses a member of the scheme.
    PacketScheme* operator->() const { return m_get(); }
    /// Returns the scheme.
    PacketScheme& operator*() const { return *m_get(); }

private:
    PacketScheme* (*m_get)();
};

/// Asks the worker to end. Id 1, no fields.
extern QEL_API const SchemeConstant Terminate;

/// Specifies which plugins and scripts the worker runs. Id 1003. Fields: "pluginsHashes" (Item),
/// "initScript" and "startupScript" (String), "index" (32-bit signed, 0 by default).
extern QEL_API const SchemeConstant PluginsHashes;

} // namespace qel::ProcessProtocol
