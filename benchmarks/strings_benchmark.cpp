// UTF-8 and interning. QEL_SIMD_TARGET_CAP=AVX2 in the environment caps the kernels.
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/string_id.h>
#include <qel/foundation/base/unicode.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#if QEL_PEER_GLIB
#include <glib.h>
#endif
#if QEL_PEER_UTFCPP
#include <utf8.h>
#endif
#if QEL_PEER_SIMDJSON
#include <simdjson.h>
#endif
#if QEL_PEER_ABSL
#include <absl/container/node_hash_set.h>
#include <mutex>
#endif
#if QEL_PEER_SIMDUTF
namespace simdutf {
bool validate_utf8(const char* text, size_t size) noexcept;
size_t count_utf8(const char* text, size_t size) noexcept;
size_t convert_utf8_to_utf32(const char* text, size_t size, char32_t* output) noexcept;
} // namespace simdutf
#endif

namespace {

using qel::String;

/// Three kinds of text: English, accented letters, and Chinese and Japanese.
const char* const kPieces[] = {"The quick brown fox jumps over it. ",
                               "Größe, naïve façade, señor: ", "日本語の文章と中文字符。"};
enum Kind { kAscii, kAccents, kCjk };

String makeText(int64_t kind, int64_t size) {
    String text;
    while (text.size() + 3 <= static_cast<std::size_t>(size))
        text +=
            String(kPieces[kind]).utf8_substr(0, text.size() + 40 < static_cast<std::size_t>(size) ? -1 : 1);
    return text;
}

/// Decodes one code point at a time; every measured operation must return the same result.
std::vector<qel::uint32> decodePlainly(const String& text) {
    std::vector<qel::uint32> codePoints;
    for (auto position = text.cbegin(); position != text.cend();)
        codePoints.push_back(text.utf8_strict_parse(position));
    return codePoints;
}

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "wrong result: %s\n", what);
    std::abort();
}

template <typename Work>
void measure(benchmark::State& state, const String& text, Work&& work) {
    for (auto _ : state) benchmark::DoNotOptimize(work(text));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void allTexts(benchmark::internal::Benchmark* benchmark) {
    for (const int64_t size : {24, 65536, 1 << 20}) {
        for (const int64_t kind : {kAscii, kAccents, kCjk}) benchmark->Args({kind, size});
    }
    benchmark->ArgNames({"kind", "bytes"});
}

void validateWith(benchmark::State& state, bool (*isValid)(const String&)) {
    const String text = makeText(state.range(0), state.range(1));
    require(isValid(text) && !isValid(text + "\xFF"), "validate");
    measure(state, text, isValid);
}

void countWith(benchmark::State& state, std::size_t (*count)(const String&)) {
    const String text = makeText(state.range(0), state.range(1));
    require(count(text) == decodePlainly(text).size(), "count");
    measure(state, text, count);
}

template <typename Sequence>
void decodeWith(benchmark::State& state, Sequence (*decode)(const String&)) {
    const String text = makeText(state.range(0), state.range(1));
    const auto expected = decodePlainly(text);
    const Sequence actual = decode(text);
    require(std::equal(actual.begin(), actual.end(), expected.begin(), expected.end()), "decode");
    measure(state, text, decode);
}

#define QEL_VALIDATE(peer, expression)                                                                       \
    BENCHMARK_CAPTURE(validateWith, peer, [](const String& text) -> bool { return expression; })             \
        ->Name("Utf8/Validate/" #peer)                                                                       \
        ->Apply(allTexts)
#define QEL_COUNT(peer, expression)                                                                          \
    BENCHMARK_CAPTURE(                                                                                       \
        countWith, peer,                                                                                     \
        [](const String& text) -> std::size_t { return static_cast<std::size_t>(expression); })              \
        ->Name("Utf8/Count/" #peer)                                                                          \
        ->Apply(allTexts)

QEL_VALIDATE(qel, qel::util::utf8_is_valid(text));
QEL_COUNT(qel, text.utf8_size());
#if QEL_PEER_GLIB
QEL_VALIDATE(glib, g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr));
QEL_COUNT(glib, g_utf8_strlen(text.data(), static_cast<gssize>(text.size())));
#endif
#if QEL_PEER_UTFCPP
QEL_VALIDATE(utfcpp, utf8::is_valid(text.begin(), text.end()));
QEL_COUNT(utfcpp, utf8::distance(text.begin(), text.end()));
#endif
#if QEL_PEER_SIMDJSON
QEL_VALIDATE(simdjson, simdjson::validate_utf8(text.data(), text.size()));
#endif
#if QEL_PEER_SIMDUTF
QEL_VALIDATE(simdutf, simdutf::validate_utf8(text.data(), text.size()));
QEL_COUNT(simdutf, simdutf::count_utf8(text.data(), text.size()));
#endif

void decodeQel(benchmark::State& state) {
    decodeWith<qel::Vector<qel::uint32>>(state, [](const String& text) { return text.utf8_to_unicode(); });
}
BENCHMARK(decodeQel)->Name("Utf8/Decode32/qel")->Apply(allTexts);

#if QEL_PEER_UTFCPP
void decodeUtfcpp(benchmark::State& state) {
    decodeWith<std::vector<qel::uint32>>(state, [](const String& text) {
        std::vector<qel::uint32> codePoints;
        codePoints.reserve(text.size());
        utf8::utf8to32(text.begin(), text.end(), std::back_inserter(codePoints));
        return codePoints;
    });
}
BENCHMARK(decodeUtfcpp)->Name("Utf8/Decode32/utfcpp")->Apply(allTexts);
#endif

#if QEL_PEER_SIMDUTF
void decodeSimdutf(benchmark::State& state) {
    decodeWith<std::u32string>(state, [](const String& text) {
        std::u32string codePoints(simdutf::count_utf8(text.data(), text.size()), U'\0');
        simdutf::convert_utf8_to_utf32(text.data(), text.size(), codePoints.data());
        return codePoints;
    });
}
BENCHMARK(decodeSimdutf)->Name("Utf8/Decode32/simdutf")->Apply(allTexts);
#endif

void utf16Qel(benchmark::State& state) {
    const String text = makeText(state.range(0), state.range(1));
    const auto expected = decodePlainly(text); // all texts are within the first plane
    const auto actual = text.utf8_to_utf16();
    require(std::equal(actual.begin(), actual.end(), expected.begin(), expected.end()), "UTF-16");
    measure(state, text, [](const String& source) { return source.utf8_to_utf16(); });
}
BENCHMARK(utf16Qel)->Name("Utf8/Utf16/qel")->Apply(allTexts);

/// 10,000 names in a random order, all of them present in the pool under test.
const std::vector<String>& names() {
    static const std::vector<String> all = [] {
        std::mt19937 random(7);
        std::vector<String> made;
        for (int i = 0; i < 10000; ++i)
            made.emplace_back("series_" + std::to_string(random() % 100000) + "_" + std::to_string(i));
        return made;
    }();
    return all;
}

template <typename Intern>
void internWith(benchmark::State& state, Intern&& intern) {
    const auto& texts = names();
    for (const String& text : texts) intern(text);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(intern(texts[i]));
        i = i + 7919 < texts.size() ? i + 7919 : i + 7919 - texts.size();
    }
}

void internQel(benchmark::State& state) {
    const std::vector<qel::StringId> keep(names().begin(), names().end());
    require(qel::StringId(names()[5]) == keep[5] && keep[5] == names()[5], "intern");
    internWith(state, [](const String& text) { return qel::StringId(text); });
}
BENCHMARK(internQel)->Name("Intern/Hit/qel");

#if QEL_PEER_GLIB
void internGlib(benchmark::State& state) {
    internWith(state, [](const String& text) { return g_intern_string(text.c_str()); });
}
BENCHMARK(internGlib)->Name("Intern/Hit/glib");
#endif

#if QEL_PEER_ABSL
void internAbsl(benchmark::State& state) {
    static std::mutex mutex;
    static absl::node_hash_set<std::string> pool;
    internWith(state, [](const String& text) {
        const std::lock_guard<std::mutex> lock(mutex);
        return &*pool.insert(text).first;
    });
}
BENCHMARK(internAbsl)->Name("Intern/Hit/absl");
#endif

void copyQel(benchmark::State& state) {
    const qel::StringId id = "name";
    for (auto _ : state) {
        qel::StringId copy = id;
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(copyQel)->Name("Intern/CopyAndDrop/qel");

} // namespace
