#include <qel/plugins/resource_locator.h>

#include <qel/files/directory.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/plugins/directory_resource_provider.h>

#include <algorithm>

namespace qel {

ResourceLocator::ResourceLocator() = default;

// What was translated from these resources is not to outlive them.
ResourceLocator::~ResourceLocator() {
    clearTrCache();
}

bool ResourceLocator::holdsDirectory(const String& path) const {
    const MutexLock lock(m_mutex);
    return std::any_of(m_providers.begin(), m_providers.end(), [&](const auto& provider) {
        return dynamic_cast<DirectoryResourceProvider*>(provider.get()) && provider->getBasePath() == path;
    });
}

ResourceProvider* ResourceLocator::addResourceDirectory(SmartCStr path) {
    String host = path;
    if (!File::existsFile(host)) File::pathSeparatorToHost(host);
    if (!File::existsFile(host)) logging::warning() << "resource directory '" << host << "' does not exist";
    SmartPointer<ResourceProvider> provider = new DirectoryResourceProvider(host);
    if (holdsDirectory(provider->getBasePath())) {
        logging::info() << "resource locator already contains resource directory '" << host << "'";
        return nullptr;
    }
    addResourceProvider(provider.get());
    return provider.get();
}

void ResourceLocator::addResourcePackagesFromDirectory(SmartCStr directory) {
    Directory entries(directory);
    String name;
    bool isDirectory = false;
    while (entries.read(name, isDirectory))
        if (isDirectory && name.starts_with("res-")) addResourceDirectory(entries.getPathWithSlash() + name);
}

// The priority is fetched before the list is locked: a host's provider may ask for resources itself.
void ResourceLocator::addResourceProvider(ResourceProvider* provider) {
    if (!provider) return;
    const SmartPointer<ResourceProvider> held = provider;
    provider->fetchPriorityFromResource();
    {
        const MutexLock lock(m_mutex);
        m_providers.push_back(held);
        m_sorted = false;
    }
    clearTrCache();
}

void ResourceLocator::removeResourceProvider(ResourceProvider* provider) {
    if (!provider) return;
    SmartPointer<ResourceProvider> removed; // dies after the list is unlocked
    {
        const MutexLock lock(m_mutex);
        const auto place = std::find_if(m_providers.begin(), m_providers.end(),
                                        [&](const auto& held) { return held.get() == provider; });
        if (place != m_providers.end()) {
            removed = *place;
            m_providers.erase(place);
        }
        m_sorted = false;
    }
    clearTrCache();
}

// A copy, so that providers work without the lock and outlive their removal while they do.
ResourceLocator::Providers ResourceLocator::sortedProviders() {
    const MutexLock lock(m_mutex);
    if (!m_sorted) {
        std::stable_sort(m_providers.begin(), m_providers.end(),
                         [](const auto& a, const auto& b) { return a->getPriority() > b->getPriority(); });
        m_sorted = true;
    }
    return m_providers;
}

bool ResourceLocator::hasResource(SmartCStr name) {
    const Providers providers = sortedProviders();
    return std::any_of(providers.begin(), providers.end(),
                       [&](const auto& provider) { return provider->hasResource(name); });
}

bool ResourceLocator::loadResource(SmartCStr name, Buffer& buffer) {
    const Providers providers = sortedProviders();
    return std::any_of(providers.begin(), providers.end(),
                       [&](const auto& provider) { return provider->loadResource(name, buffer); });
}

bool ResourceLocator::loadResourceAsync(SmartCStr name, const std::function<void(const Buffer&)>& callback) {
    const Providers providers = sortedProviders();
    return std::any_of(providers.begin(), providers.end(),
                       [&](const auto& provider) { return provider->loadResourceAsync(name, callback); });
}

} // namespace qel
