// The lines that System writes about the build and about itself.
#include <qel/system/core/system.h>

#include <qel/foundation/base/number_format.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/clock.h>
#include <qel/platform/machine.h>
#include <qel/system/report/report_generator.h>
#include <qel/system/report/version.h>
#include <qel/system/tasks/perfmon.h>

namespace qel {

namespace {

std::string localTimeOf(int64 stamp) {
    constexpr int64 kTicksPerSecond = 10'000'000;
    constexpr int64 kSecondsFrom1601To1970 = 11'644'473'600;
    return platform::localTimeText(stamp / kTicksPerSecond - kSecondsFrom1601To1970);
}

void reportMemory(ReportGenerator& report) {
    platform::ProcessMemory memory;
    if (!platform::readProcessMemory(memory)) {
        report.add("process memory: N/A");
        return;
    }
    report.add("process memory: workingset=%s private=%s",
               util::stringFormatWithBytesUnit1000(memory.workingSet).c_str(),
               util::stringFormatWithBytesUnit1000(memory.privateBytes).c_str());
}

} // namespace

void System::printInformation() {
    logging::info() << "[SYSTEM] build version: " << Version::getVersionString();
    logging::info() << "[SYSTEM] build githash: " << Version::getGitHash();
    logging::info() << "[SYSTEM] build tags:" << Version::getBuildTags();
    if (*Version::getBuildDate()) logging::info() << "[SYSTEM] build date: " << Version::getBuildDate();
    logging::info() << "[SYSTEM] system tags: memory-"
                    << util::stringFormatWithBytesUnit1024(getPhysicalMemorySize()) << " pagesize-"
                    << getPageSize();
}

void System::report(ReportGenerator* report) {
    if (!report) return;
    report->begin("system:");
    report->add("current time: %s", localTimeOf(getUTCDateTime()).c_str());
    report->add("build version: %s", Version::getVersionString());
    report->add("build tags:%s", Version::getBuildTags());
    if (*Version::getBuildDate()) report->add("build date: %s", Version::getBuildDate());
    if (!m_executablePath.empty()) report->add("executable path: %s", m_executablePath.c_str());
    reportMemory(*report);
    report->add("performance monitoring:");
    report->addText(getPerfMon()->getReport().c_str());
    report->end();
}

} // namespace qel
