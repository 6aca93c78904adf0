// The CPU benchmark of System.
#include <qel/system/core/system.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/system/tasks/task_queue.h>

#include <fmt/format.h>

#include <array>

namespace qel {

namespace {

constexpr unsigned kMultiplicationsPerRun = 65536;
constexpr unsigned kRunsOnOne = 64;
constexpr unsigned kRunsOnAll = 640;

using Matrix = std::array<std::array<float, 4>, 4>;

/// A small rotation about two axes: its powers neither grow nor vanish.
constexpr Matrix kFactor{{{0.9998f, -0.02f, 0.0f, 0.0f},
                          {0.02f, 0.9998f, 0.0f, 0.0f},
                          {0.0f, 0.0f, 0.9998f, -0.02f},
                          {0.0f, 0.0f, 0.02f, 0.9998f}}};

Matrix multiplied(const Matrix& a, const Matrix& b) {
    Matrix product{};
    for (size_t row = 0; row < 4; ++row) {
        for (size_t column = 0; column < 4; ++column) {
            for (size_t i = 0; i < 4; ++i) product[row][column] += a[row][i] * b[i][column];
        }
    }
    return product;
}

/// Does one run. The result depends on every multiplication, so none can be optimised away.
float multiplyOften() {
    Matrix matrix{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    for (unsigned i = 0; i < kMultiplicationsPerRun; ++i) matrix = multiplied(matrix, kFactor);
    return matrix[0][0] + matrix[3][3];
}

/// Receives the results; volatile, so that they count as used.
volatile float g_scratch[kRunsOnAll];

class BenchmarkTask : public TaskQueue::Task {
public:
    void execute(TaskContext& context) override {
        g_scratch[context.getIndex() % kRunsOnAll] = multiplyOften();
    }
};

double secondsSince(int64 stamp) {
    return static_cast<double>(Object::system()->getUTCDateTime() - stamp) / 10'000'000;
}

/// Returns the speed on a scale where a reference machine has about 100. @param work  the amount of work
/// done.
float speedIndex(double work, double seconds) {
    return static_cast<float>(work / seconds / 44.77 / 3.403);
}

} // namespace

void System::performCPUBenchmark() {
    int64 start = getUTCDateTime();
    for (unsigned run = 0; run < kRunsOnOne; ++run) g_scratch[run] = multiplyOften();
    double seconds = secondsSince(start);
    m_cpuSingleIndex = speedIndex(10000, seconds);
    logging::info() << fmt::format("cpu single benchmark: duration={:.3f}s index={:.0f}", seconds,
                                   m_cpuSingleIndex);

    start = getUTCDateTime();
    const SmartPointer<TaskQueue::Task> task(new BenchmarkTask);
    getGlobalParallelQueue()->pushTaskN(kRunsOnAll, task.get(), 0);
    getGlobalParallelQueue()->wait();
    seconds = secondsSince(start);
    m_cpuMultiIndex = speedIndex(100000, seconds);
    logging::info() << fmt::format("cpu multi benchmark: duration={:.3f}s index={:.0f}", seconds,
                                   m_cpuMultiIndex);
}

} // namespace qel
