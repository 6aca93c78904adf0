// The directories of System.
#include <qel/system/core/system.h>

#include <qel/files/directory.h>
#include <qel/files/file.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/known_folders.h>

#include <filesystem>
#include <string>

namespace qel {

namespace {

/// The folder of this product family below the folders for program data.
constexpr const char* kProductFolder = "ORLANE";

void warnUnlessAccessible(const char* what, const String& path) {
    if (!File::isAccessible(path, false)) logging::warning() << what << " '" << path << "' is not accessible";
}

/// Returns @p folder, or logs @p error and returns an empty string if it is unknown.
String known(const std::string& folder, const char* error) {
    if (folder.empty()) logging::error() << error;
    return folder;
}

bool isSet(const String& base, SmartCStr product) {
    if (base.empty()) logging::error() << "application base directory is not set, product=" << product;
    return !base.empty();
}

String productPath(const String& base, SmartCStr product) {
    return product.empty() ? base : String(base + File::getPathSeparatorForHost() + product.c_str());
}

} // namespace

void System::setApplicationDirectory(SmartCStr path) {
    m_applicationDirectory = path.c_str();
    warnUnlessAccessible("application data directory", m_applicationDirectory);
}

void System::setCacheDirectory(SmartCStr path) {
    m_cacheDirectory = path.c_str();
    warnUnlessAccessible("cache directory", m_cacheDirectory);
}

String System::getApplicationDirectory(SmartCStr product) {
    if (!isSet(m_applicationDirectory, product)) return ".";
    if (!Directory::createDirectoryRecursively(m_applicationDirectory)) {
        logging::error() << "can not access application directory";
        return ".";
    }
    const String path = productPath(m_applicationDirectory, product);
    if (!product.empty() && !Directory::createDirectoryRecursively(path)) {
        logging::error() << "can not access application product directory";
        return ".";
    }
    return path;
}

String System::getApplicationDirectoryNoCreate(SmartCStr product) {
    if (!isSet(m_applicationDirectory, product)) return ".";
    return productPath(m_applicationDirectory, product);
}

const String& System::getCacheDirectory() {
    if (m_cacheDirectory.empty()) logging::error() << "cache directory is not set";
    return m_cacheDirectory;
}

String System::getPluginsDirectory() const {
    return getExecutableDirectory() + "/Plugins";
}

String System::getUpdatePackageDirectory(SmartCStr product) {
    String path = getApplicationDirectoryNoCreate(product);
    File::pathEndWithSeparator(path);
    path += "bin/";
    File::pathCanonicalize(path, "");
    return path;
}

String System::getTmpDirectoryPath() {
    if (m_tmpDirectory.empty()) {
        String base(std::filesystem::temp_directory_path().string());
        File::pathStripEndingSeparator(base);
        m_tmpDirectory = Directory::createTemporaryDirectory(base);
    }
    return m_tmpDirectory;
}

bool System::trySetApplicationDirectoryToGlobal() {
    setDefaultDirectories(getProgramDataPath(true));
    return true;
}

void System::setDefaultDirectories(const String& dataFolder) {
    const String base = dataFolder.empty() ? dataFolder : productPath(dataFolder, kProductFolder);
    m_applicationDirectory = base;
    m_cacheDirectory = base;
    m_secureKeyDirectory = base;
}

String System::getProgramDataPath(bool common) {
    return known(common ? platform::commonDataFolder() : platform::userLocalDataFolder(),
                 "failed to retrieve program data path");
}

String System::getProgramsPath() {
    return known(platform::programsFolder(), "failed to retrieve programs path");
}

String System::getProgramsStartmenuPath(bool common) {
    return known(common ? platform::commonStartMenuFolder() : platform::userStartMenuFolder(),
                 "failed to retrieve startmenu programs path");
}

String System::getExecutableDirectory() const {
    return File::stripFilenameFromPath(m_executablePath);
}

String System::getExecutableFilename() const {
    return File::getFilenameFromPath(m_executablePath);
}

const char* System::getExecutableExtension() {
    return "";
}

} // namespace qel
