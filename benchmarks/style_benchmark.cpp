// Stylesheets: parsing, questions that are new, and questions that are asked again.
#include <qel/foundation/log/message_stream.h>
#include <qel/style/style_data.h>
#include <qel/testing/style_search.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#if QEL_PEER_LITEHTML
#include <litehtml/litehtml.h>
#endif

namespace {

using qel::seams::StyleSearch;

constexpr qel::ClassChain kButton = {"Object", "Actor", "RectActor", "Button"};

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "wrong result: %s\n", what);
    std::abort();
}

/// Returns a stylesheet of @p rules rules, a tenth of them for the classes of kButton. Only the others state
/// a border.
std::string makeSheet(size_t rules) {
    std::string css;
    for (size_t i = 0; i < rules; ++i) {
        const bool isForButton = i % 10 == 0;
        css += isForButton ? kButton[i / 10 % 4] : "Widget" + std::to_string(i);
        css += " {\n    color: #" + std::to_string(100'000 + i) + ";\n    padding: " + std::to_string(i) +
               "px;\n";
        if (!isForButton) css += "    border-color: rgb(10, 20, 30);\n";
        css += "}\n\n";
    }
    return css;
}

/// Returns 1 MiB of the rules that web pages have: lists of selectors, comments, functions and texts.
std::string makeLargeSheet() {
    constexpr size_t kBytes = 1 << 20;
    std::string css;
    for (size_t i = 0; css.size() < kBytes; ++i) {
        const std::string number = std::to_string(i);
        css += "/* Rule " + number + " of many. */\n.col-" + number + " > .card:hover, a.button#id-" +
               number + "::before {\n  margin: 0 1.5em -" + number +
               "px auto;\n  color: #a1b2c3;\n  background: rgba(0, 0, 0, .125) url(\"image-" + number +
               ".png\") no-repeat;\n  font-family: \"Segoe UI\", Roboto, sans-serif !important;\n}\n";
    }
    return css;
}

qel::SmartPointer<qel::StyleData> parsed(const std::string& css) {
    qel::SmartPointer<qel::StyleData> data = new qel::StyleData;
    require(data->loadFromMemory(qel::ConstByteSpan::fromText(css)), "parse");
    return data;
}

void parse(benchmark::State& state) {
    const std::string css = makeLargeSheet();
    for (auto _ : state) benchmark::DoNotOptimize(parsed(css));
    state.SetBytesProcessed(static_cast<int64_t>(static_cast<size_t>(state.iterations()) * css.size()));
}
BENCHMARK(parse)->Name("Style/Parse/qel")->Unit(benchmark::kMillisecond);

#if QEL_PEER_LITEHTML
void parseWithLitehtml(benchmark::State& state) {
    const std::string css = makeLargeSheet();
    for (auto _ : state) {
        litehtml::context context;
        context.load_master_stylesheet(css.c_str());
        benchmark::DoNotOptimize(&context);
    }
    state.SetBytesProcessed(static_cast<int64_t>(static_cast<size_t>(state.iterations()) * css.size()));
}
BENCHMARK(parseWithLitehtml)->Name("Style/Parse/litehtml")->Unit(benchmark::kMillisecond);
#endif

/// Asks questions without an answer that all differ in their id, more of them than are kept.
void missWith(benchmark::State& state, StyleSearch search) {
    const auto data = parsed(makeSheet(static_cast<size_t>(state.range(0))));
    std::vector<std::string> ids;
    for (int i = 0; i < 8192; ++i) ids.push_back("id-" + std::to_string(i));
    qel::seams::setStyleSearch(search);
    qel::IVec4<float> color;
    require(data->getColor(color, kButton, "color", nullptr, nullptr, nullptr), "hit");
    size_t i = 0;
    for (auto _ : state) {
        const char* const id = ids[i++ % ids.size()].c_str();
        if (data->getColor(color, kButton, "border-color", id, nullptr, nullptr)) require(false, "miss");
    }
    qel::seams::setStyleSearch(StyleSearch::Cached);
}
void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(30)->Arg(300)->Arg(1000);
}
BENCHMARK_CAPTURE(missWith, qel, StyleSearch::Cached)->Name("Style/Miss/qel")->Apply(sizes);
BENCHMARK_CAPTURE(missWith, literal, StyleSearch::Plain)->Name("Style/Miss/literal")->Apply(sizes);

void repeated(benchmark::State& state, const char* property, bool isFound) {
    const auto data = parsed(makeSheet(300));
    qel::IVec4<float> color;
    for (auto _ : state) {
        if (data->getColor(color, kButton, property, nullptr, nullptr, nullptr) != isFound)
            require(false, "repeated question");
    }
}
BENCHMARK_CAPTURE(repeated, hit, "color", true)->Name("Style/RepeatedHit/qel");
BENCHMARK_CAPTURE(repeated, miss, "border-color", false)->Name("Style/RepeatedMiss/qel");

} // namespace
