#include <qel/plugins/resource_locator.h>

#include <qel/files/directory.h>
#include <qel/files/tar_archive.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/plugins/archive_resource_provider.h>
#include <qel/plugins/directory_resource_provider.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qel {

namespace {

constexpr const char* kArchiveExtension = ".tar";

// A path that exists is left unchanged: a backslash in it is part of a name.
String hostPath(SmartCStr path) {
    String host = path;
    if (!File::existsFile(host)) File::pathSeparatorToHost(host);
    return host;
}

} // namespace

ResourceLocator::ResourceLocator() = default;

// Translations from these resources must not outlive them.
ResourceLocator::~ResourceLocator() {
    clearTrCache();
}

template <typename Provider>
bool ResourceLocator::holds(const String& path) const {
    const MutexLock lock(m_mutex);
    return std::any_of(m_providers.begin(), m_providers.end(), [&](const auto& provider) {
        return dynamic_cast<Provider*>(provider.get()) && provider->getBasePath() == path;
    });
}

ResourceProvider* ResourceLocator::addResourceDirectory(SmartCStr path) {
    const String host = hostPath(path);
    if (!File::existsFile(host)) logging::warning() << "resource directory '" << host << "' does not exist";
    SmartPointer<ResourceProvider> provider = new DirectoryResourceProvider(host);
    if (holds<DirectoryResourceProvider>(provider->getBasePath())) {
        logging::info() << "resource locator already contains resource directory '" << host << "'";
        return nullptr;
    }
    addResourceProvider(provider.get());
    return provider.get();
}

ResourceProvider* ResourceLocator::addResourceArchive(SmartCStr path) {
    const String host = hostPath(path);
    if (holds<ArchiveResourceProvider>(host)) {
        logging::info() << "resource locator already contains resource archive '" << host << "'";
        return nullptr;
    }
    if (!host.ends_with(kArchiveExtension)) {
        logging::error() << "unknown archive type: " << host;
        return nullptr;
    }
    SmartPointer<Archive> archive = new TarArchive;
    if (!archive->open(host)) {
        logging::error() << "cant open archive: " << host;
        return nullptr;
    }
    SmartPointer<ResourceProvider> provider = new ArchiveResourceProvider(host, archive.get());
    addResourceProvider(provider.get());
    return provider.get();
}

void ResourceLocator::addResourcePackagesFromDirectory(SmartCStr directory) {
    Directory entries(directory);
    File::FileInfo entry;
    while (entries.read(entry)) {
        if (!entry.name.begins_with("res-")) continue;
        const String path = entries.getPathWithSlash() + entry.name;
        if (entry.isDirectory)
            addResourceDirectory(path);
        else if (!entry.isSpecial && entry.name.ends_with(kArchiveExtension))
            addResourceArchive(path);
    }
}

// The priority is fetched before the list is locked, because a host's provider may request resources itself.
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
    SmartPointer<ResourceProvider> removed; // destroyed after the list is unlocked
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
    if (system() != nullptr) system()->clearSpriteCache();
}

// Returns a copy, so that providers are called without the lock and stay alive if they are removed meanwhile.
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
