// The cost of a log line: disabled, only formatted, and delivered to a console that discards it.
#include <qel/foundation/log/log_backend.h>
#include <qel/foundation/log/message_stream.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <sstream>
#include <string>

#if QEL_PEER_SPDLOG
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#endif
#if QEL_PEER_FMT
#include <fmt/format.h>
#endif
#if QEL_PEER_GLOG
#include <glog/logging.h>
#endif
#if QEL_PEER_BOOSTLOG
#define BOOST_LOG_DYN_LINK 1
#include <boost/log/core.hpp>
#include <boost/log/sinks.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/trivial.hpp>
#include <boost/make_shared.hpp>
#include <fstream>
#endif

namespace {

constexpr char kNowhere[] = "/dev/null";

/// The line of all contenders: two integers and one number with decimals.
template <typename Stream>
void writeLine(Stream& stream, int i) {
    stream << "took " << i << " of " << 4711 << " frames in " << 0.25 * i << " ms";
}

/// Like the library's own console writer, with the null device as its file.
template <bool isFlushed>
void discard(const qel::logging::ConsoleLine& line) {
    static std::FILE* const nowhere = std::fopen(kNowhere, "w");
    std::fwrite(line.time.data(), 1, line.time.size(), nowhere);
    std::fwrite(line.text.data(), 1, line.text.size(), nowhere);
    std::fputc('\n', nowhere);
    if (isFlushed) std::fflush(nowhere);
}

void dropLine(const qel::logging::ConsoleLine& line) {
    benchmark::DoNotOptimize(line.text.data());
}

void deliver(benchmark::State& state, qel::logging::ConsoleWriter writer) {
    qel::LogBackend::registerBackend(false);
    qel::logging::setConsoleWriter(writer);
    int i = 0;
    for (auto _ : state) {
        qel::logging::MessageStream stream(1, 2);
        writeLine(stream, ++i);
    }
    qel::logging::setConsoleWriter(nullptr);
    qel::LogBackend::unregisterBackend();
}

void switchedOffQel(benchmark::State& state) {
    int i = 0;
    for (auto _ : state) {
        qel::logging::MessageStream stream(1, -1);
        writeLine(stream, ++i);
    }
}

void hiddenVerboseQel(benchmark::State& state) {
    qel::logging::g_hideVerboseOutputInConsole = true;
    int i = 0;
    for (auto _ : state) {
        qel::logging::MessageStream stream(0, 2);
        writeLine(stream, ++i);
    }
    qel::logging::g_hideVerboseOutputInConsole = false;
}

/// Lines that are built and then dropped, the nearest equivalent of formatting alone.
void formatQel(benchmark::State& state) {
    qel::logging::setConsoleWriter(dropLine);
    int i = 0;
    for (auto _ : state) {
        qel::logging::MessageStream stream(1, 2);
        writeLine(stream, ++i);
    }
    qel::logging::setConsoleWriter(nullptr);
}

void formatOstringstream(benchmark::State& state) {
    int i = 0;
    for (auto _ : state) {
        std::ostringstream stream;
        writeLine(stream, ++i);
        benchmark::DoNotOptimize(stream.str());
    }
}

BENCHMARK(switchedOffQel)->Name("Log/SwitchedOff/qel");
BENCHMARK(hiddenVerboseQel)->Name("Log/HiddenVerbose/qel");
BENCHMARK(formatQel)->Name("Log/Format/qel");
BENCHMARK(formatOstringstream)->Name("Log/Format/ostringstream");
BENCHMARK_CAPTURE(deliver, null, dropLine)->Name("Log/NullSink/qel");
BENCHMARK_CAPTURE(deliver, file, discard<false>)->Name("Log/File/qel");
BENCHMARK_CAPTURE(deliver, flushed, discard<true>)->Name("Log/FlushedFile/qel");

#if QEL_PEER_FMT
void formatFmt(benchmark::State& state) {
    fmt::memory_buffer line;
    int i = 0;
    for (auto _ : state) {
        ++i;
        line.clear();
        fmt::format_to(std::back_inserter(line), "took {} of {} frames in {} ms", i, 4711, 0.25 * i);
        benchmark::DoNotOptimize(line.data());
    }
}
BENCHMARK(formatFmt)->Name("Log/Format/fmt");
#endif

#if QEL_PEER_SPDLOG
template <typename Sink, typename... Arguments>
void logSpdlog(benchmark::State& state, spdlog::level::level_enum level, bool isFlushed,
               Arguments... arguments) {
    spdlog::logger logger("benchmark", std::make_shared<Sink>(arguments...));
    if (isFlushed) logger.flush_on(spdlog::level::info);
    int i = 0;
    for (auto _ : state) {
        ++i;
        logger.log(level, "took {} of {} frames in {} ms", i, 4711, 0.25 * i);
    }
}
void offSpdlog(benchmark::State& state) {
    logSpdlog<spdlog::sinks::null_sink_mt>(state, spdlog::level::debug, false);
}
void nullSpdlog(benchmark::State& state) {
    logSpdlog<spdlog::sinks::null_sink_mt>(state, spdlog::level::info, false);
}
void fileSpdlog(benchmark::State& state) {
    logSpdlog<spdlog::sinks::basic_file_sink_mt>(state, spdlog::level::info, false, kNowhere);
}
void flushedSpdlog(benchmark::State& state) {
    logSpdlog<spdlog::sinks::basic_file_sink_mt>(state, spdlog::level::info, true, kNowhere);
}
BENCHMARK(offSpdlog)->Name("Log/SwitchedOff/spdlog");
BENCHMARK(offSpdlog)->Name("Log/HiddenVerbose/spdlog");
BENCHMARK(nullSpdlog)->Name("Log/NullSink/spdlog");
BENCHMARK(fileSpdlog)->Name("Log/File/spdlog");
BENCHMARK(flushedSpdlog)->Name("Log/FlushedFile/spdlog");
#endif

#if QEL_PEER_GLOG
void fileGlog(benchmark::State& state, bool isFlushed) {
    google::SetLogDestination(google::GLOG_INFO, "");
    FLAGS_logtostderr = false;
    FLAGS_alsologtostderr = false;
    struct Nowhere : google::base::Logger {
        void Write(bool, time_t, const char* message, size_t length) override {
            std::fwrite(message, 1, length, file);
            if (flush) std::fflush(file);
        }
        void Flush() override { std::fflush(file); }
        google::uint32 LogSize() override { return 0; }
        std::FILE* file = std::fopen(kNowhere, "w");
        bool flush = false;
    };
    static Nowhere nowhere;
    nowhere.flush = isFlushed;
    google::base::SetLogger(google::GLOG_INFO, &nowhere);
    int i = 0;
    for (auto _ : state) writeLine(LOG(INFO), ++i);
}
BENCHMARK_CAPTURE(fileGlog, file, false)->Name("Log/File/glog");
BENCHMARK_CAPTURE(fileGlog, flushed, true)->Name("Log/FlushedFile/glog");
#endif

#if QEL_PEER_BOOSTLOG
void fileBoost(benchmark::State& state, bool isFlushed) {
    using Backend = boost::log::sinks::text_ostream_backend;
    using Sink = boost::log::sinks::synchronous_sink<Backend>;
    const auto backend = boost::make_shared<Backend>();
    backend->add_stream(boost::make_shared<std::ofstream>(kNowhere));
    backend->auto_flush(isFlushed);
    const auto sink = boost::make_shared<Sink>(backend);
    boost::log::core::get()->add_sink(sink);
    boost::log::sources::severity_logger<boost::log::trivial::severity_level> logger;
    int i = 0;
    for (auto _ : state) {
        ++i;
        BOOST_LOG_SEV(logger, boost::log::trivial::info)
            << "took " << i << " of " << 4711 << " frames in " << 0.25 * i << " ms";
    }
    boost::log::core::get()->remove_sink(sink);
}
BENCHMARK_CAPTURE(fileBoost, file, false)->Name("Log/File/boost.log");
BENCHMARK_CAPTURE(fileBoost, flushed, true)->Name("Log/FlushedFile/boost.log");
#endif

#if QEL_PEER_GLOG
[[maybe_unused]] const bool g_isGlogReady = [] {
    google::InitGoogleLogging("bench_log");
    FLAGS_minloglevel = google::GLOG_INFO;
    FLAGS_stderrthreshold = google::GLOG_FATAL;
    return true;
}();
#endif

} // namespace
