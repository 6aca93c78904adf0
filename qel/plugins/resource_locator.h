// Finds a resource in a list of providers.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/plugins/resource_provider.h>

namespace qel {

/// Asks its providers in the order of their priorities, highest first; those of equal priority in an order
/// that must not be relied on. Each System has one (System::getResourceLocator()).
/// @threads the list is changed on the main thread; resources may be asked for on any thread meanwhile, and
///          are then looked for in the list before or after the change.
class QEL_API ResourceLocator : public Object {
    QEL_CLASS(ResourceLocator, Object)

public:
    ResourceLocator();
    ~ResourceLocator() override;

    /// Adds the files of a folder, and with them a new set of translations.
    /// @return the new provider; null, with an info line, when the folder is in the list already. A folder
    ///         that doesn't exist is added too, with a warning.
    ResourceProvider* addResourceDirectory(SmartCStr path);
    /// Adds the files of an archive, and with them a new set of translations.
    /// @return the new provider; null when the archive is in the list already (an info line), when its name
    ///         doesn't end in ".tar", or when it can't be opened or holds nothing (an error line).
    ResourceProvider* addResourceArchive(SmartCStr path);
    /// Adds each folder and each archive in @p directory whose name begins with "res-".
    void addResourcePackagesFromDirectory(SmartCStr directory);
    /// Adds a host's own provider. @owner takes a reference.
    void addResourceProvider(ResourceProvider* provider);
    /// Takes a provider out of the list and drops cached translations and sprites, even when it wasn't in
    /// the list. Null is ignored.
    void removeResourceProvider(ResourceProvider* provider);

    /// Whether any provider has the resource @p name. @threads any thread.
    bool hasResource(SmartCStr name);
    /// Loads the resource @p name from the first provider that has it. @threads any thread.
    bool loadResource(SmartCStr name, Buffer& buffer);
    /// Hands the request to the first provider that loads asynchronously; false when none does.
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
