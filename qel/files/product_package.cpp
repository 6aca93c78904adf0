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

// The name follows a switch that includes names, so nothing in it can be interpreted as a switch or a list
// file.
bool ProductPackage::unpackFile(SmartCStr name, SmartCStr target) {
    if (run(target, {std::string("-ir!") + name.c_str()})) return true;
    logging::error() << "failed to unzip file from archive";
    return false;
}

// The switch "-spd" prevents asterisks in the names of archives and files from being patterns. In the target
// an asterisk would always be replaced with the archive's name.
bool ProductPackage::run(SmartCStr target, const Vector<std::string>& selection) const {
    const String folder = internal::absolutePath(target);
    if (folder.contains('*')) return false;
    Vector<std::string> arguments = {m_unpackerPath, "x",  internal::absolutePath(m_archivePath),
                                     "-o" + folder,  "-y", "-spd"};
    arguments.insert(arguments.end(), selection.begin(), selection.end());
    const platform::RunResult result = platform::runProcess(arguments, {.quiet = true});
    return result.started && result.exitCode == 0;
}

} // namespace qel
