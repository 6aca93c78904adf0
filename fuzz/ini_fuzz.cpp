// INI files: whatever the text, every accessor leaves its output unchanged when it returns false, and those
// that read the same key agree on whether it exists.
#include <fuzz/memory_file.h>
#include <fuzz/require.h>
#include <qel/files/ini_parser.h>
#include <qel/files/product_package.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/item.h>

#include <cmath>
#include <set>
#include <string_view>

using namespace qel;

namespace {

/// Calls an accessor twice, with different values in its output. @return its result.
template <typename T, typename Accessor>
bool reads(T first, T second, const Accessor& accessor) {
    T a = first;
    T b = second;
    const bool found = accessor(a);
    require(accessor(b) == found);
    require(found || (a == first && b == second));
    require(!found || a == b || a != a); // a NaN differs from itself
    return found;
}

void checkKey(const INIParser& ini, const String& key) {
    const bool isThere = reads<String>("1", "2", [&](String& text) { return ini.getString(key, text); });
    const bool isNumber = reads<int>(1, 2, [&](int& value) { return ini.getInteger(key, value); });
    require(isNumber == isThere);
    require(reads<double>(1, 2, [&](double& value) { return ini.getFloat(key, value); }) == isThere);
    require(reads<float>(1, 2, [&](float& value) { return ini.getFloat(key, value); }) == isThere);
    const bool isBool = reads<int>(7, 8, [&](int& value) {
        bool read = value == 7;
        if (!ini.getBoolean(key, read)) return false;
        value = read;
        return true;
    });
    require(isThere || !isBool);
    require(isThere || !ini.hasEntry(key));
    const bool isValid = ini.isValid();
    require(reads<int>(1, 2, [&](int& value) { return ini.getInteger(key, value, 5); }) == isValid);
    require(reads<unsigned>(1, 2, [&](unsigned& value) { return ini.getInteger(key, value, 5u); }) ==
            isValid);
    require(reads<float>(1, 2, [&](float& value) { return ini.getFloat(key, value, 0.1f); }) == isValid);
    require(reads<double>(1, 2, [&](double& value) { return ini.getFloat(key, value, 0.1); }) == isValid);
}

void checkSection(const INIParser& ini, const String& name) {
    Item item("before");
    const Item before = item;
    const bool found = ini.getSection(name, item);
    require(found ? item.getDepth() % 2 == 1 && item.getDepth() > 1 : item == before);
}

/// Returns everything in the text that may be the name of a section or a key.
std::set<String> namesIn(std::string_view text) {
    std::set<String> names = {"", "test", "manifest", "product", String(std::string(2000, 'a'))};
    while (!text.empty() && names.size() < 12) {
        const size_t end = text.find_first_of("[]=:; \t\n");
        if (end != 0) names.insert(String(text.substr(0, end)));
        if (end == text.npos) break;
        text.remove_prefix(end + 1);
    }
    return names;
}

void checkManifest(const INIParser& ini, const std::string& path) {
    ProductPackage::Manifest manifest{"p", "v"};
    String product = "p";
    String version = "v";
    const bool isWhole =
        ini.getString("manifest:product", product) && ini.getString("manifest:version", version);
    require(manifest.parse(path) == isWhole);
    require(manifest.product == (isWhole ? product : "p") && manifest.version == (isWhole ? version : "v"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    static const MemoryFile file;
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    file.setContent(data, size);
    const INIParser ini(file.path().c_str());
    const auto names = namesIn({reinterpret_cast<const char*>(data), size});
    for (const String& section : names) {
        checkSection(ini, section);
        for (const String& key : names) checkKey(ini, section + ":" + key);
        checkKey(ini, section);
    }
    checkManifest(ini, file.path());
    return 0;
}
