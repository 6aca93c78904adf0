// Tuples of five elements: two texts, a small integer, a double and a large integer; and keys of 30 bytes.
#include <qel/store/core/item.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#if QEL_PEER_MSGPACK
#include <msgpack.hpp>
#endif
#if QEL_PEER_FLATBUFFERS
#include <flatbuffers/flexbuffers.h>
#endif

namespace {

using qel::Item;

constexpr const char* kPatient = "patient";
constexpr const char* kSeries = "series";
constexpr int kCount = 300;
constexpr double kScale = 0.75;
constexpr std::int64_t kTime = 133'456'789'012'345'678;

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "wrong result: %s\n", what);
    std::abort();
}

/// The values that a reader has found; the same for every format.
struct Values {
    std::string_view texts[2];
    std::int64_t integers[2];
    double number;

    bool isExpected() const {
        return texts[0] == kPatient && texts[1] == kSeries && integers[0] == kCount && integers[1] == kTime &&
               number == kScale;
    }
};

/// Measures @p read, which returns the values.
template <typename Read>
void measureReading(benchmark::State& state, Read read) {
    require(read().isExpected(), "tuple");
    for (auto _ : state) {
        Values values = read();
        benchmark::DoNotOptimize(values);
    }
}

void fill(Item& item) {
    item.add(kPatient).add(kSeries).add(kCount).add(kScale).add(kTime);
}

void buildQel(benchmark::State& state) {
    for (auto _ : state) {
        Item item;
        fill(item);
        benchmark::DoNotOptimize(item.getPlainBytePointer());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(buildQel)->Name("Tuple/Build/qel");

void readQel(benchmark::State& state) {
    Item item;
    fill(item);
    measureReading(state, [&] {
        benchmark::DoNotOptimize(item.getPlainBytePointer());
        Values values{};
        Item::Iterator at(item);
        values.texts[0] = at.asWeakCStr();
        values.texts[1] = at.asWeakCStr();
        at.asInteger(values.integers[0]);
        at.asFloat(values.number);
        at.asInteger(values.integers[1]);
        return values;
    });
}
BENCHMARK(readQel)->Name("Tuple/Read/qel");

#if QEL_PEER_MSGPACK
void fill(msgpack::sbuffer& buffer) {
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    packer.pack_array(5);
    for (const std::string_view text : {std::string_view(kPatient), std::string_view(kSeries)}) {
        packer.pack_str(static_cast<std::uint32_t>(text.size()));
        packer.pack_str_body(text.data(), static_cast<std::uint32_t>(text.size()));
    }
    packer.pack_int(kCount).pack_double(kScale).pack_int64(kTime);
}

/// Reuses the memory between tuples.
void buildMsgpack(benchmark::State& state) {
    msgpack::sbuffer buffer;
    for (auto _ : state) {
        buffer.clear();
        fill(buffer);
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(buildMsgpack)->Name("Tuple/Build/msgpack");

struct MsgpackVisitor : msgpack::null_visitor {
    Values values{};
    int texts = 0;
    int integers = 0;

    bool visit_str(const char* text, std::uint32_t size) {
        values.texts[texts++] = {text, size};
        return true;
    }
    bool visit_positive_integer(std::uint64_t value) {
        values.integers[integers++] = static_cast<std::int64_t>(value);
        return true;
    }
    bool visit_float64(double value) {
        values.number = value;
        return true;
    }
};

void readMsgpack(benchmark::State& state) {
    msgpack::sbuffer buffer;
    fill(buffer);
    measureReading(state, [&] {
        MsgpackVisitor visitor;
        msgpack::parse(buffer.data(), buffer.size(), visitor);
        return visitor.values;
    });
}
BENCHMARK(readMsgpack)->Name("Tuple/Read/msgpack_visitor");
#endif

#if QEL_PEER_FLATBUFFERS
void fill(flexbuffers::Builder& builder) {
    builder.Vector([&] {
        builder.String(kPatient);
        builder.String(kSeries);
        builder.Int(kCount);
        builder.Double(kScale);
        builder.Int(kTime);
    });
    builder.Finish();
}

void buildFlexBuffers(benchmark::State& state) {
    flexbuffers::Builder builder;
    for (auto _ : state) {
        builder.Clear();
        fill(builder);
        benchmark::DoNotOptimize(builder.GetBuffer().data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(buildFlexBuffers)->Name("Tuple/Build/flexbuffers");

void readFlexBuffers(benchmark::State& state) {
    flexbuffers::Builder builder;
    fill(builder);
    const auto& buffer = builder.GetBuffer();
    measureReading(state, [&] {
        const auto list = flexbuffers::GetRoot(buffer).AsVector();
        const auto text = [&](std::size_t i) {
            const auto string = list[i].AsString();
            return std::string_view(string.c_str(), string.length());
        };
        return Values{{text(0), text(1)}, {list[2].AsInt64(), list[4].AsInt64()}, list[3].AsDouble()};
    });
}
BENCHMARK(readFlexBuffers)->Name("Tuple/Read/flexbuffers");
#endif

/// Keys as in stores: the paths of two adjacent entries.
struct Keys {
    Item first = Item("options").add("display").add("brightns_a");
    Item second = Item("options").add("display").add("brightns_b");
};

template <typename Compare>
void measureComparing(benchmark::State& state, Compare compare) {
    const Keys keys;
    require(keys.first.getPlainSize() == 30 && compare(keys.first, keys.second) < 0, "order");
    for (auto _ : state) {
        benchmark::DoNotOptimize(keys.first.getPlainBytePointer());
        benchmark::ClobberMemory();
        int order = compare(keys.first, keys.second);
        benchmark::DoNotOptimize(order);
    }
}

void compareQel(benchmark::State& state) {
    measureComparing(state, &Item::compare);
}
BENCHMARK(compareQel)->Name("Key/Compare/qel");

void compareMemcmp(benchmark::State& state) {
    measureComparing(state, [](const Item& a, const Item& b) {
        return std::memcmp(a.getPlainBytePointer(), b.getPlainBytePointer(), a.getPlainSize());
    });
}
BENCHMARK(compareMemcmp)->Name("Key/Compare/memcmp");

} // namespace
