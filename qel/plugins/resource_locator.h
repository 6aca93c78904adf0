// ResourceLocator: finds a resource in a list of providers.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/plugins/resource_provider.h>

namespace qel {

/// Asks its providers in the order of their priorities, highest first. The order of providers with equal
/// priority is unspecified. Each System has one locator (System::getResourceLocator()).
/// @threads the list is changed on the main thread. Resources may be requested on any thread at the same
/// time; such a request uses the list from before or after the change.
class QEL_API ResourceLocator : public Object {
    QEL_CLASS(ResourceLocator, Object)

public:
    ResourceLocator();
    ~ResourceLocator() override;

    /// Adds the files of a folder and drops cached translations.
    /// @return the new provider; null, with an info line, if the folder is already in the list. A folder that
    /// does not exist is added too, with a warning.
    ResourceProvider* addResourceDirectory(SmartCStr path);
    /// Adds the files of an archive and drops cached translations.
    /// @return the new provider; null if the archive is already in the list (logged as info), if its name
    /// does not end in ".tar", or if it cannot be opened or is empty (logged as errors).
    ResourceProvider* addResourceArchive(SmartCStr path);
    /// Adds each folder and each archive in @p directory whose name starts with "res-".
    void addResourcePackagesFromDirectory(SmartCStr directory);
    /// Adds a host's own provider. @owner takes a reference.
    void addResourceProvider(ResourceProvider* provider);
    /// Removes a provider from the list and drops cached translations and sprites, even if the provider was
    /// not in the list. Null is ignored.
    void removeResourceProvider(ResourceProvider* provider);

    /// Returns true if any provider has the resource @p name. @threads any thread.
    bool hasResource(SmartCStr name);
    /// Loads the resource @p name from the first provider that has it. @threads any thread.
    bool loadResource(SmartCStr name, Buffer& buffer);
    /// Passes the request to the first provider that loads asynchronously. @return false if none does.
    bool loadResourceAsync(SmartCStr name, const std::function<void(const Buffer&)>& callback);

private:
    using Providers = Vector<SmartPointer<ResourceProvider>>;

    template <typename Provider>
    bool holds(const String& path) const;
    Providers sortedProviders();

    mutable Mutex m_mutex;
    bool m_sorted QEL_GUARDED_BY(m_mutex) = true;
    Providers m_providers QEL_GUARDED_BY(m_mutex);
};

} // namespace qel
