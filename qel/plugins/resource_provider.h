// ResourceProvider: a source of named resources.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <functional>

namespace qel {

class Buffer;

/// Serves resources by their relative names. Hosts derive from it for their own sources.
/// @threads a ResourceLocator calls a provider on the thread that requests the resource. hasResource() and
/// loadResource() of this library's providers may run on several threads at once; those of a host must
/// support this too if its threads load resources.
class QEL_API ResourceProvider : public Object {
    QEL_CLASS(ResourceProvider, Object)

public:
    /// Creates a provider of priority 0 with an empty base path.
    ResourceProvider() = default;
    /// Creates a provider of priority 0 with the base path @p basePath.
    explicit ResourceProvider(SmartCStr basePath) : m_basePath(basePath.c_str()) {}

    /// Returns true if the resource @p name exists.
    virtual bool hasResource(SmartCStr name) = 0;
    /// Loads the resource @p name. @return false if it does not exist.
    virtual bool loadResource(SmartCStr name, Buffer& buffer) = 0;
    /// Starts to load the resource @p name and calls @p callback with it later.
    /// @return true if the provider supports this; the base class never does.
    virtual bool loadResourceAsync(SmartCStr name, const std::function<void(const Buffer&)>& callback);

    /// Returns the priority in the search order; the provider with the highest is asked first.
    int32 getPriority() const { return m_priority; }
    /// Sets the priority in the search order; it takes effect at the next change of the locator's list.
    void setPriority(int32 priority) { m_priority = priority; }
    /// Returns where the resources come from; each provider defines the meaning.
    const String& getBasePath() const { return m_basePath; }
    /// Sets the priority to the number "priority" in the provider's own resource "resources.json". If there
    /// is no such number, the priority stays unchanged and nothing is logged.
    void fetchPriorityFromResource();

private:
    int32 m_priority = 0;
    String m_basePath;
};

} // namespace qel
