// Reading of texts into tokens, without layout. The peer only looks up the advance of each byte and remembers
// where a line could break: the least that any layout does.
#include <qel/foundation/base/string.h>
#include <qel/system/core/system.h>
#include <qel/testing/text_reading.h>
#include <qel/text/engine/markdown.h>
#include <qel/text/engine/text_actor.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>

namespace {

using Parser = qel::TextActor::Parser;

/// Returns @p piece repeated up to about 64 KiB.
std::string repeated(const std::string& piece) {
    std::string text;
    while (text.size() < 64 << 10) text += piece;
    return text;
}

const std::string kSentence =
    "A series that is still arriving is shown as far as it has come, and its progress is drawn at the edge. ";
const std::string kPlain = repeated(kSentence);
const std::string kCodes = repeated("A {color:red}series {color:white}that is {fontstyle:bold}still {eol}");
const std::string kOnlyCodes = repeated("{bold_on}{bold_off}{tab}{optional_eol}");
const std::string kMarkdown =
    repeated("Heading\n===\n- a series that is *still arriving*\n# is **shown**\n\n");
const std::string kCyrillic = repeated("серия ещё загружается и видна лишь отчасти ");
const std::string kHebrew = repeated("הסדרה עדיין נטענת 12 series ");

void countBytes(benchmark::State& state, const std::string& text) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void read(benchmark::State& state, const std::string& text, Parser parser) {
    qel::System::initialize({});
    {
        qel::TextActor actor;
        actor.setParser(parser).setText(text.c_str());
        for (auto _ : state) {
            qel::seams::readTokens(actor);
            benchmark::DoNotOptimize(actor.getTokens().data());
        }
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(actor.getTokens().size()));
    }
    qel::System::deinitialize();
    countBytes(state, text);
}

void walkTable(benchmark::State& state, const std::string& text) {
    std::array<int, 256> advances{};
    for (size_t i = 0; i < advances.size(); ++i) advances[i] = static_cast<int>(5 + i % 7);
    for (auto _ : state) {
        int x = 0, lastBreak = 0, lines = 0;
        for (const char c : text) {
            if (c == ' ') lastBreak = x;
            x += advances[static_cast<unsigned char>(c)];
            if (x < 600) continue;
            x -= lastBreak;
            ++lines;
        }
        benchmark::DoNotOptimize(lines);
    }
    countBytes(state, text);
}

void compileMarkdown(benchmark::State& state) {
    qel::String out;
    for (auto _ : state) {
        qel::util::parseMarkdown(out, kMarkdown);
        benchmark::DoNotOptimize(out.data());
    }
    countBytes(state, kMarkdown);
}

void convertToPlainText(benchmark::State& state) {
    const qel::String text(kCodes);
    for (auto _ : state) benchmark::DoNotOptimize(text.transformControlCodesToPlainText("en"));
    countBytes(state, text);
}

void add(const char* name, const std::string& text, Parser parser) {
    const std::string topic = std::string("Markup/") + name;
    benchmark::RegisterBenchmark((topic + "/qel").c_str(),
                                 [&text, parser](benchmark::State& state) { read(state, text, parser); });
    benchmark::RegisterBenchmark((topic + "/table_walk").c_str(),
                                 [&text](benchmark::State& state) { walkTable(state, text); });
}

const bool g_areAdded = [] {
    add("Plain", kPlain, Parser::Plain);
    add("Flowing", kPlain, Parser::Flowing);
    add("Codes", kCodes, Parser::ControlCodes);
    add("OnlyCodes", kOnlyCodes, Parser::ControlCodes);
    add("Markdown", kMarkdown, Parser::Markdown);
    add("Cyrillic", kCyrillic, Parser::Flowing);
    add("Hebrew", kHebrew, Parser::Flowing);
    benchmark::RegisterBenchmark("Markup/CompileMarkdown/qel", compileMarkdown);
    benchmark::RegisterBenchmark("Markup/PlainText/qel", convertToPlainText);
    return true;
}();

} // namespace
