// Prepares the dump that a crash of this process would write.
#include <qel/system/core/system.h>

#include <qel/files/directory.h>
#include <qel/files/file.h>
#include <qel/foundation/locale/gregorian_date.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/crash.h>
#include <qel/system/report/build_identity_p.h>
#include <qel/system/report/version.h>

#include <algorithm>
#include <string_view>

namespace qel {

namespace {

constexpr size_t kMostOldDumps = 255;

/// Chosen now and not in the crash. Names begin with the date, so that they sort by age.
String dumpName() {
    constexpr std::string_view kRevision = QEL_REVISION_HASH;
    const GregorianDate now(Object::system()->getUTCDateTime());
    const String program = Object::system()->getExecutableFilename();
    return now.formatAsDICOMFriendlyID() + "_" + program + "_" + QEL_BUILD_DESCRIPTION + "_" +
           std::string(kRevision.substr(0, 10)) + ".dmp";
}

String buildIdentity() {
    return String(Version::getVersionString()) + ", revision " + Version::getGitHash() + ", " +
           Version::getBuildDate() + "," + Version::getBuildTags();
}

void deleteOldDumps(const String& folder) {
    Directory directory(folder);
    Vector<String> dumps;
    for (String name = directory.readNextFile(); !name.empty(); name = directory.readNextFile())
        dumps.push_back(folder + "/" + name);
    std::sort(dumps.begin(), dumps.end());
    const size_t surplus = dumps.size() - std::min(dumps.size(), kMostOldDumps);
    for (size_t i = 0; i < surplus; ++i) File::deleteFile(dumps[i]);
}

} // namespace

void System::registerCrashHandler(const char* directory) {
    const String folder = String(directory) + "/dumps";
    if (!Directory::createDirectory(folder))
        logging::error() << "can not access crash dumps directory: " << folder;
    const String path = File::pathToLongPath(folder + "/" + dumpName());
    deleteOldDumps(folder);
    if (!platform::installCrashHandler(path, buildIdentity())) {
        logging::error() << "crash handler not available, crash reporting disabled";
        return;
    }
    logging::info() << "crash handler registered successfully";
}

} // namespace qel
