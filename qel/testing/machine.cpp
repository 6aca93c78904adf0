#include <qel/testing/machine.h>

#include <qel/platform/seams_p.h>

namespace qel::seams {

void replaceRandom(RandomFunction function) {
    platform::setRandomFunction(function);
}

void replaceRunProcess(RunFunction function) {
    platform::setRunFunction(function);
}

void setProcessorCount(unsigned count) {
    platform::setProcessorCount(count);
}

void setRegistryFolder(std::string_view folder) {
    platform::setRegistryFolder(folder);
}

} // namespace qel::seams
