// Messages of twelve fields: ten integers, a name and 256 bytes; and the reception of a large one.
#include <qel/packet/file_packet_reader.h>
#include <qel/packet/file_packet_writer.h>
#include <qel/packet/packet.h>
#include <qel/packet/packet_view.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#if QEL_PEER_FLATBUFFERS
#include <flatbuffers/flatbuffers.h>
#endif
#if QEL_HAS_PACKET_PROTO
#include <packet.pb.h>
#endif

namespace {

using qel::int32;
using qel::Packet;
using qel::uint32;
using qel::uint8;

constexpr int kIntegers = 10;
constexpr std::array<const char*, kIntegers> kNames = {"width", "height", "depth", "format",   "series",
                                                       "index", "window", "level", "rotation", "flags"};
constexpr const char* kText = "left-hip-2026";
constexpr int64_t kSum = 10 * 1000 + 45 + 13 + 256;

struct FrameScheme : qel::PacketScheme {
    FrameScheme() : PacketScheme(900, "Benchmark", nullptr, "Frame") {
        for (int i = 0; i < kIntegers; ++i) m_integers[size_t(i)] = &Single<int32>(kNames[size_t(i)]);
        m_name = &String("name", kDynamic);
        m_data = &Buffer("data", kDynamic);
        NextVersion();
    }

    std::array<const Element*, kIntegers> m_integers;
    const Element* m_name;
    const Element* m_data;
};
const FrameScheme g_scheme;
const std::vector<uint8> g_blob(256, 0x5A);

void require(bool holds) {
    if (holds) return;
    std::fputs("a benchmark works with wrong bytes\n", stderr);
    std::abort();
}

/// @p work writes the message to bytes, or reads it; its result must be @p expected.
template <typename Work>
void measure(benchmark::State& state, int64_t expected, const Work& work) {
    require(work() == expected);
    for (auto _ : state) benchmark::DoNotOptimize(work());
}

// --- ours -------------------------------------------------------------------------------------------------

std::vector<uint8> g_bytes(1024);

void fill(Packet& packet) {
    int32 value = 1000;
    for (const auto* element : g_scheme.m_integers) packet.set(*element, value++);
    packet.setString(*g_scheme.m_name, kText);
    packet.setBuffer(*g_scheme.m_data, g_blob.data(), 256);
}

int64_t buildAndCopyQel() {
    Packet packet(&g_scheme, 1);
    fill(packet);
    return packet.copyPayloadTo(g_bytes.data());
}

constexpr int64_t kSize = 48 + 14 + 256 + 4;

void buildQel(benchmark::State& state) {
    Packet packet(&g_scheme, 1);
    measure(state, kSize, [&packet] {
        packet.clearFields();
        fill(packet);
        return static_cast<int64_t>(packet.getPayloadBytes().size);
    });
}
BENCHMARK(buildQel)->Name("Packet/Build/qel");

void buildAndCopyQel(benchmark::State& state) {
    measure(state, kSize, [] { return buildAndCopyQel(); });
}
BENCHMARK(buildAndCopyQel)->Name("Packet/BuildAndCopy/qel");

template <typename Fields>
int64_t sumByElement(const Fields& fields) {
    int64_t sum = 0;
    for (const auto* element : g_scheme.m_integers) sum += fields.template get<int32>(*element);
    return sum + fields.getBufferSize(*g_scheme.m_name) - 1 + fields.getBufferSize(*g_scheme.m_data);
}

int64_t sumByName(const qel::PacketView& view) {
    int64_t sum = view.getInteger("width") + view.getInteger("height") + view.getInteger("depth");
    sum += view.getInteger("format") + view.getInteger("series") + view.getInteger("index");
    sum += view.getInteger("window") + view.getInteger("level") + view.getInteger("rotation");
    sum += view.getInteger("flags");
    return sum + view.getBufferSize("name") - 1 + view.getBufferSize("data");
}

template <typename Read>
void readView(benchmark::State& state, const Read& read) {
    const qel::ConstByteSpan bytes(g_bytes.data(), static_cast<size_t>(buildAndCopyQel()));
    measure(state, kSum, [bytes, &read] {
        qel::PacketView view;
        require(view.fit(&g_scheme, {900, Packet::kVersioned}, bytes));
        return read(view);
    });
}

void readByElement(benchmark::State& state) {
    readView(state, sumByElement<qel::PacketView>);
}
BENCHMARK(readByElement)->Name("Packet/CheckAndRead/qel");

void readByName(benchmark::State& state) {
    readView(state, sumByName);
}
BENCHMARK(readByName)->Name("Packet/ParseAndReadByName/qel");

/// Like reading a view, but through an object that could be passed on and changed.
void fitAndRead(benchmark::State& state) {
    const auto size = static_cast<uint32>(buildAndCopyQel());
    measure(state, kSum, [size] {
        Packet packet(size, g_bytes.data(), nullptr);
        packet.setID(900);
        packet.setFlags(Packet::kVersioned);
        require(packet.fit(&g_scheme));
        return sumByElement(packet);
    });
}
BENCHMARK(fitAndRead)->Name("Packet/FitAndRead/qel");

// --- peers ------------------------------------------------------------------------------------------------

#if QEL_PEER_FLATBUFFERS
namespace fb = flatbuffers;

constexpr fb::voffset_t slot(int field) {
    return static_cast<fb::voffset_t>(4 + 2 * field);
}

/// Does what the code generated by its compiler for a table of these fields does.
fb::FlatBufferBuilder& buildFlat() {
    static fb::FlatBufferBuilder builder(1024);
    builder.Clear();
    const auto data = builder.CreateVector(g_blob.data(), g_blob.size());
    const auto name = builder.CreateString(kText);
    const auto table = builder.StartTable();
    builder.AddOffset(slot(11), data);
    builder.AddOffset(slot(10), name);
    for (int i = kIntegers; i-- > 0;) builder.AddElement<int32>(slot(i), 1000 + i, 0);
    builder.Finish(fb::Offset<fb::Table>(builder.EndTable(table)));
    return builder;
}

struct FlatFrame : fb::Table {
    bool Verify(fb::Verifier& verifier) const {
        bool isGood = VerifyTableStart(verifier);
        for (int i = 0; i < kIntegers; ++i) isGood = isGood && VerifyField<int32>(verifier, slot(i), 4);
        isGood = isGood && VerifyOffset(verifier, slot(10)) &&
                 verifier.VerifyString(GetPointer<const fb::String*>(slot(10)));
        isGood = isGood && VerifyOffset(verifier, slot(11)) &&
                 verifier.VerifyVector(GetPointer<const fb::Vector<uint8>*>(slot(11)));
        return isGood && verifier.EndTable();
    }
};

void buildFlat(benchmark::State& state) {
    const int64_t size = buildFlat().GetSize();
    measure(state, size, [] { return int64_t(buildFlat().GetSize()); });
}
BENCHMARK(buildFlat)->Name("Packet/Build/flatbuffers");

void readFlat(benchmark::State& state) {
    const fb::FlatBufferBuilder& builder = buildFlat();
    const uint8* const bytes = builder.GetBufferPointer();
    const size_t size = builder.GetSize();
    measure(state, kSum, [bytes, size] {
        fb::Verifier verifier(bytes, size);
        require(verifier.VerifyBuffer<FlatFrame>(nullptr));
        const auto* const frame = fb::GetRoot<FlatFrame>(bytes);
        int64_t sum = 0;
        for (int i = 0; i < kIntegers; ++i) sum += frame->GetField<int32>(slot(i), 0);
        return sum + frame->GetPointer<const fb::String*>(slot(10))->size() +
               frame->GetPointer<const fb::Vector<uint8>*>(slot(11))->size();
    });
}
BENCHMARK(readFlat)->Name("Packet/CheckAndRead/flatbuffers");
#endif

#if QEL_HAS_PACKET_PROTO
void fill(packet_benchmark::Frame& frame) {
    frame.set_width(1000), frame.set_height(1001), frame.set_depth(1002), frame.set_format(1003);
    frame.set_series(1004), frame.set_index(1005), frame.set_window(1006), frame.set_level(1007);
    frame.set_rotation(1008), frame.set_flags(1009);
    frame.set_name(kText);
    frame.set_data(g_blob.data(), g_blob.size());
}

std::string buildProto() {
    packet_benchmark::Frame frame;
    fill(frame);
    return frame.SerializeAsString();
}

/// The message is reused, as its authors advise.
void buildKeptProto(benchmark::State& state) {
    packet_benchmark::Frame frame;
    std::string bytes;
    measure(state, static_cast<int64_t>(buildProto().size()), [&frame, &bytes] {
        frame.Clear();
        fill(frame);
        frame.SerializeToString(&bytes);
        return static_cast<int64_t>(bytes.size());
    });
}
BENCHMARK(buildKeptProto)->Name("Packet/Build/protobuf");

void buildProto(benchmark::State& state) {
    const auto size = static_cast<int64_t>(buildProto().size());
    measure(state, size, [] { return static_cast<int64_t>(buildProto().size()); });
}
BENCHMARK(buildProto)->Name("Packet/BuildAndCopy/protobuf");

void readProto(benchmark::State& state) {
    const std::string bytes = buildProto();
    packet_benchmark::Frame frame; // reused, as its authors advise
    measure(state, kSum, [&bytes, &frame] {
        require(frame.ParseFromString(bytes));
        const int64_t sum = frame.width() + frame.height() + frame.depth() + frame.format() + frame.series() +
                            frame.index() + frame.window() + frame.level() + frame.rotation() + frame.flags();
        return sum + static_cast<int64_t>(frame.name().size() + frame.data().size());
    });
}
BENCHMARK(readProto)->Name("Packet/ParseAndReadByName/protobuf");
#endif

// --- a large field from a file ----------------------------------------------------------------------------

constexpr uint32 kLarge = 1 << 20;
constexpr int kRecords = 16;

/// A file of records with a field of 1 MiB each.
class LargeRecords {
public:
    LargeRecords() : m_path(std::filesystem::temp_directory_path() / "qel-packet-benchmark") {
        qel::FilePacketWriter writer(m_path.c_str());
        Packet packet(&g_scheme, 1);
        packet.allocateBuffer(*g_scheme.m_data, kLarge);
        for (int i = 0; i < kRecords; ++i) writer.write(&packet);
    }
    ~LargeRecords() { std::filesystem::remove(m_path); }
    const char* path() const { return m_path.c_str(); }

private:
    std::filesystem::path m_path;
};

void receiveQel(benchmark::State& state) {
    const LargeRecords records;
    measure(state, kRecords * int64_t(kLarge), [&records] {
        int64_t size = 0;
        const auto reader = qel::makeObject<qel::FilePacketReader>(records.path());
        for (int i = 0; i < kRecords; ++i) {
            const qel::SmartPointer<Packet> packet = reader->read();
            require(packet->fit(&g_scheme));
            const uint8* const data = packet->getBuffer(*g_scheme.m_data);
            require(data >= packet->getPayload() && data < packet->getPayload() + 1024); // not copied
            size += packet->getBufferSize(*g_scheme.m_data);
        }
        return size;
    });
    state.SetBytesProcessed(state.iterations() * kRecords * kLarge);
}
BENCHMARK(receiveQel)->Name("Packet/Receive1MiB/qel");

void receiveRaw(benchmark::State& state) {
    const LargeRecords records;
    std::vector<uint8> block(kLarge);
    measure(state, kRecords * int64_t(kLarge), [&records, &block] {
        qel::platform::FileHandle file;
        require(!qel::platform::openFile(file, records.path(), qel::platform::OpenMode::Read));
        size_t total = 0, done = 0;
        for (int i = 0; i < kRecords; ++i, total += done) require(!file.read(block.data(), kLarge, done));
        return static_cast<int64_t>(total);
    });
    state.SetBytesProcessed(state.iterations() * kRecords * kLarge);
}
BENCHMARK(receiveRaw)->Name("Packet/Receive1MiB/read");

} // namespace
