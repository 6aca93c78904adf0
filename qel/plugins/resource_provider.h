// A source of named resources.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <functional>

namespace qel {

class Buffer;

/// Answers requests for a resource by its relative name. Hosts derive from it for sources of their own.
/// @threads a ResourceLocator asks from whichever thread asks it; hasResource() and loadResource() of this
///          library's providers may run on several at once, and a host's must too if its threads load.
class QEL_API ResourceProvider : public Object {
    QEL_CLASS(ResourceProvider, Object)

public:
    /// A provider of priority 0 with an empty base path.
    ResourceProvider() = default;
    /// A provider of priority 0.
    explicit ResourceProvider(SmartCStr basePath) : m_basePath(basePath.c_str()) {}

    /// Whether there is a resource @p name.
    virtual bool hasResource(SmartCStr name) = 0;
    /// Loads the resource @p name. @return false when there is none.
    virtual bool loadResource(SmartCStr name, Buffer& buffer) = 0;
    /// Starts to load the resource @p name and calls @p callback with it later.
    /// @return whether the provider does so; this one never does.
    virtual bool loadResourceAsync(SmartCStr name, const std::function<void(const Buffer&)>& callback);

    /// The place in the search order: the highest is asked first.
    int32 getPriority() const { return m_priority; }
    /// Sets the place in the search order; it counts from the next change of the locator's list on.
    void setPriority(int32 priority) { m_priority = priority; }
    /// Where the resources come from; what it means is the provider's own matter.
    const String& getBasePath() const { return m_basePath; }
    /// Takes the priority from the number "priority" in the provider's own resource "resources.json".
    /// Without such a number it stays as it is, without a word.
    void fetchPriorityFromResource();

private:
    int32 m_priority = 0;
    String m_basePath;
};

} // namespace qel
