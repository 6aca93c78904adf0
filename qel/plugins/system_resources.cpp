#include <qel/plugins/resource_locator.h>
#include <qel/system/core/system.h>

namespace qel {

void System::addResourcePackagesFromDirectory(SmartCStr directory) {
    getResourceLocator()->addResourcePackagesFromDirectory(directory);
}

bool System::hasResource(SmartCStr name) {
    return getResourceLocator()->hasResource(name);
}

bool System::loadResource(SmartCStr name, Buffer& buffer) {
    return getResourceLocator()->loadResource(name, buffer);
}

bool System::loadResourceAsync(SmartCStr name, const std::function<void(const Buffer&)>& callback) {
    return getResourceLocator()->loadResourceAsync(name, callback);
}

} // namespace qel
