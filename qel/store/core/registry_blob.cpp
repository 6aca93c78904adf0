// Stores a MemoryStore as one value in the machine's registry.
#include <qel/store/core/memory_store.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/registry.h>
#include <qel/platform/system_error.h>
#include <qel/store/core/item.h>

#include <string>
#include <system_error>

namespace qel {

namespace {

/// Returns true if a blob consists only of pairs of a key and a value, so that nothing was cut off.
bool isWhole(const Item& blob) {
    Item::Iterator position = blob.getIterator();
    bool isPair = true;
    while (position.getType() == ValueType::SubItem) {
        position.skip();
        isPair = !isPair;
    }
    return isPair && position.getOffset() == static_cast<int64>(blob.getPlainSize());
}

} // namespace

bool MemoryStore::saveToWindowsRegistry(MemoryStore* store, const String& keyName, const String& valueName) {
    Item blob;
    store->writeBlob(blob);
    const auto error = platform::writeRegistryValue(keyName, valueName, blob.getConstByteSpan().asText());
    if (error)
        logging::error() << "[STORE] can't write '" << valueName << "' in '" << keyName << "'; "
                         << platform::errorText(error.value());
    return !error;
}

bool MemoryStore::loadFromWindowsRegistry(MemoryStore* store, const String& keyName,
                                          const String& valueName) {
    std::string bytes;
    const auto error = platform::readRegistryValue(bytes, keyName, valueName);
    if (error && error != std::errc::no_such_file_or_directory)
        logging::error() << "[STORE] can't read '" << valueName << "' in '" << keyName << "'; "
                         << platform::errorText(error.value());
    if (error || bytes.empty()) return false;
    const Item blob(Item::ExternalBufferMode, ConstByteSpan::fromText(bytes));
    if (!isWhole(blob))
        logging::error() << "[STORE] '" << valueName << "' in '" << keyName
                         << "' is damaged, loading the part before the damage";
    store->readBlob(blob);
    return true;
}

} // namespace qel
