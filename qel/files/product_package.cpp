#include <qel/files/product_package.h>

#include <qel/files/absolute_path_p.h>
#include <qel/files/file.h>
#include <qel/files/ini_parser.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/process_run.h>

namespace qel {

bool ProductPackage::Manifest::parse(SmartCStr path) {
    const INIParser ini(path.c_str());
    Manifest read;
    if (!ini.isValid()) {
        logging::error() << "manifest is not valid, filePath=" << path.c_str();
        return false;
    }
    if (!ini.getString("manifest:product", read.product)) {
        logging::error() << "manifest has no product identifier";
        return false;
    }
    if (!ini.getString("manifest:version", read.version)) {
        logging::error() << "manifest has no version number";
        return false;
    }
    *this = read;
    return true;
}

ProductPackage::ProductPackage(SmartCStr archivePath, SmartCStr unpackerPath)
    : m_archivePath(archivePath), m_unpackerPath(unpackerPath) {}

bool ProductPackage::getManifest(Manifest& manifest) {
    const String folder = File::stripFilenameFromPath(internal::absolutePath(m_archivePath));
    return unpackFile("manifest.ini", folder) && manifest.parse(folder + "/manifest.ini");
}

bool ProductPackage::unpack(SmartCStr target) {
    if (run(target, {})) return true;
    logging::error() << "failed to unzip archive";
    return false;
}

// The name stands behind a switch that includes names, where nothing in it can be taken for a switch or a
// file of names; the other keeps its asterisks from being patterns.
bool ProductPackage::unpackFile(SmartCStr name, SmartCStr target) {
    if (run(target, {"-spd", std::string("-ir!") + name.c_str()})) return true;
    logging::error() << "failed to unzip file from archive";
    return false;
}

bool ProductPackage::run(SmartCStr target, const Vector<std::string>& selection) const {
    Vector<std::string> arguments = {m_unpackerPath, "x", internal::absolutePath(m_archivePath),
                                     "-o" + internal::absolutePath(target), "-y"};
    arguments.insert(arguments.end(), selection.begin(), selection.end());
    const platform::RunResult result = platform::runProcess(arguments, {.quiet = true});
    return result.started && result.exitCode == 0;
}

} // namespace qel
