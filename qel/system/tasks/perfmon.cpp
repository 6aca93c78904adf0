#include <qel/system/tasks/perfmon.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/perf_section_p.h>

#include <fmt/printf.h>

#include <algorithm>

namespace qel {

namespace {

constexpr int kMaxOpenSections = 33;
constexpr int64 kTicksPerMs = 10'000;
constexpr int64 kBlockingTicks = 4000 * kTicksPerMs;
constexpr uint32 kReportPeriodMs = 2001;

void appendReport(const PerfSection& parent, double factor, const std::string& indent, std::string& report) {
    const double whole = static_cast<double>(parent.totalTime);
    for (const auto& [name, section] : parent.children) {
        const double share = parent.totalTime == 0 ? 1.0 : static_cast<double>(section->totalTime) / whole;
        report += fmt::sprintf("%s * %5.2f%% %5.2f%% %4.1fms %s\n", indent, factor * share * 100.0,
                               share * 100.0, static_cast<double>(section->maxTime) / kTicksPerMs,
                               static_cast<const std::string&>(name));
        appendReport(*section, factor * share, indent + " ", report);
    }
}

void resetSums(PerfSection& section) {
    section.totalTime = section.maxTime = section.count = 0;
    for (auto& [name, child] : section.children) resetSums(*child);
}

} // namespace

struct internal::PerfMonData {
    PerfSection root{""};
    PerfSection* top = &root; // the last section opened
    int openCount = 0;
    String report;
    uint32 lastReportTime = 0;
};

PerfMon::PerfMon() : m_data(std::make_unique<internal::PerfMonData>()) {}

PerfMon::~PerfMon() = default;

void PerfMon::begin(const char* name) {
    if (isFull()) return logFull();
    open(m_data->top->child(name), system()->getUTCDateTime());
}

void PerfMon::beginLiteral(const char* literal, int64 now) {
    if (isFull()) return logFull();
    open(m_data->top->childOfLiteral(literal), now);
}

inline bool PerfMon::isFull() const {
    return m_data->openCount == kMaxOpenSections;
}

void PerfMon::logFull() const {
    logging::error() << "[PERFMON] too much recursion at begin";
}

inline void PerfMon::open(PerfSection& section, int64 now) {
    section.startTime = now;
    m_data->top = &section;
    ++m_data->openCount;
}

void PerfMon::end(const char* name) {
    const PerfSection& top = *m_data->top;
    if (&top == &m_data->root || top.name != name) {
        logging::error() << "[PERFMON] mismatch begin(" << top.name << ") to end(" << name << ")";
        return;
    }
    close(system()->getUTCDateTime());
}

void PerfMon::endLiteral(const char* literal, int64 now) {
    (m_data->top->literal == literal) ? close(now) : end(literal);
}

inline void PerfMon::close(int64 now) {
    PerfSection& top = *m_data->top;
    const int64 duration = std::max(now - top.startTime, int64{0}); // the wall clock may be set back
    if (duration > kBlockingTicks) noteBlocking(duration);
    top.add(static_cast<uint64>(duration));
    m_data->top = top.parent;
    --m_data->openCount;
}

void PerfMon::noteBlocking(int64 duration) {
    if (m_data->openCount == 1) ++m_blockingCount;
    const float milliseconds = static_cast<float>(duration) / static_cast<float>(kTicksPerMs);
    m_blockingTimeMillis += static_cast<uint64>(milliseconds);
    std::string path = m_data->top->name;
    for (const PerfSection* section = m_data->top->parent; section != &m_data->root;
         section = section->parent) {
        path = section->name + "/" + path;
    }
    logging::warning() << "[PERFMON] blocking section '" << path << "' time=" << milliseconds
                       << "ms #total=" << m_blockingCount;
}

void PerfMon::updateReport() {
    const uint32 now = system()->getTimeFast();
    if (now - m_data->lastReportTime < kReportPeriodMs) return;
    m_data->lastReportTime = now;
    std::string report;
    appendReport(m_data->root, 1.0, "", report);
    m_data->report = report;
    resetSums(m_data->root);
}

const String& PerfMon::getReport() const {
    return m_data->report;
}

} // namespace qel
