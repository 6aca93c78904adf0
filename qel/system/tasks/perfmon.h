// PerfMon: where the main thread's time goes.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <memory>

namespace qel {

class PerfSection;

namespace internal {
struct PerfMonData;
}

/// A tree of named sections of time. Sections nest by begin and end; the report shows the time of each since
/// the last report, and a section that blocked the main loop for more than four seconds is logged.
/// @threads main thread.
class QEL_API PerfMon : public Object {
    QEL_CLASS(PerfMon, Object)

public:
    PerfMon();
    PerfMon(const PerfMon&) = delete;
    PerfMon& operator=(const PerfMon&) = delete;
    ~PerfMon() override;

    /// Opens the section @p name inside the one that is open. Allocates on the first use of a name there.
    /// @errors with 33 sections open: logged, without an effect.
    void begin(const char* name);
    /// Closes the section @p name, which must be the last one opened.
    /// @errors another name: logged, without an effect.
    void end(const char* name);
    /// As begin() at the time @p now, a UTC stamp that the caller has just read.
    /// @param literal  stays where it is, unchanged, for as long as the process runs.
    void beginLiteral(const char* literal, int64 now);
    /// As end(), for beginLiteral().
    void endLiteral(const char* literal, int64 now);

    /// Rebuilds the report and restarts the measurement, if the last time was 2001 ms ago or more.
    void updateReport();
    /// The last report: a line for each section with its share of the whole and of the section around it, its
    /// longest run in milliseconds and its name.
    const String& getReport() const;

    /// Stores whether the host wants details; the library itself makes no difference.
    void setDetailed(bool detailed) { m_detailed = detailed; }
    /// What setDetailed() stored; false at the start.
    bool detailed() const { return m_detailed; }
    /// Returns the number of runs of a section of the topmost level that took more than four seconds.
    uint64 getBlockingCount() const { return m_blockingCount; }
    /// Milliseconds of all runs that took more than four seconds, on any level.
    uint64 getBlockingTimeMillis() const { return m_blockingTimeMillis; }

private:
    bool isFull() const;
    void logFull() const;
    void open(PerfSection& section, int64 now);
    void close(int64 now);
    void noteBlocking(int64 duration);

    std::unique_ptr<internal::PerfMonData> m_data;
    bool m_detailed = false;
    uint64 m_blockingCount = 0;
    uint64 m_blockingTimeMillis = 0;
};

} // namespace qel
