// Volumes: reading 256^3 shorts from a file in the system's cache and converting them, and the preintegrated
// table of a material.
//
// The texture keeps its memory from one load to the next, as that of a viewer does, and copies every slice.
// The peer reads into memory of its own, without a range or a conversion.
#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image.h>
#include <qel/system/core/system.h>
#include <qel/volume/volume_loader.h>
#include <tests/support/idle_renderer_3d.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#if QEL_PEER_TEEM
#include <teem/nrrd.h>
#endif

namespace {

constexpr int kSide = 256;

/// A file of 256^3 shorts, which is removed at the end of the program.
class SampleFile {
public:
    SampleFile() : m_path(std::filesystem::temp_directory_path() / "qel_volume_benchmark.nrrd") {
        std::vector<int16_t> voxels(size_t{kSide} * kSide * kSide);
        for (size_t i = 0; i < voxels.size(); ++i) voxels[i] = static_cast<int16_t>(i * 7919 % 4001 - 1000);
        std::ofstream file(m_path, std::ios::binary);
        file << "NRRD0004\ntype: short\ndimension: 3\nsizes: 256 256 256\nendian: little\nencoding: raw\n\n";
        file.write(reinterpret_cast<const char*>(voxels.data()),
                   static_cast<std::streamsize>(voxels.size() * sizeof(int16_t)));
    }
    ~SampleFile() { std::filesystem::remove(m_path); }
    const char* path() const { return m_path.c_str(); }

private:
    std::filesystem::path m_path;
};

const char* samplePath() {
    static const SampleFile file;
    return file.path();
}

std::vector<uint16_t>& textureMemory() {
    static std::vector<uint16_t> memory(size_t{kSide} * kSide * kSide);
    return memory;
}

/// Copies slices to the shared memory.
class CopyingVolume : public qel::VolumeTexture {
public:
    using VolumeTexture::uploadData;
    using VolumeTexture::VolumeTexture;
    void initialize(qel::FormatID format, const qel::IVec3<int>& size) override { setContent(format, size); }
    void uploadData(int zBegin, int zEnd, qel::FormatID, const void* data) override {
        constexpr size_t kSlice = size_t{kSide} * kSide;
        std::memcpy(textureMemory().data() + kSlice * static_cast<size_t>(zBegin), data,
                    kSlice * static_cast<size_t>(zEnd - zBegin) * sizeof(uint16_t));
    }
};

struct CopyingRenderer : qel::test::IdleRenderer3D {
    qel::VolumeTexture* createVolumeTextureInternal() override { return new CopyingVolume(this); }
};

void loadSample(benchmark::State& state) {
    const char* const path = samplePath();
    qel::logging::setConsoleWriter([](const qel::logging::ConsoleLine&) {});
    textureMemory();
    for ([[maybe_unused]] auto _ : state) {
        CopyingRenderer renderer;
        qel::VolumeLoader loader(&renderer);
        if (!loader.loadFromNRRD(path)) state.SkipWithError("cannot load the sample");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kSide * kSide * kSide * 2);
}

/// With a System, whose workers take part.
void loadSampleOnAllProcessors(benchmark::State& state) {
    qel::System::initialize({});
    loadSample(state);
    qel::System::deinitialize();
}

#if QEL_PEER_TEEM
void loadSampleByTeem(benchmark::State& state) {
    const char* const path = samplePath();
    for ([[maybe_unused]] auto _ : state) {
        Nrrd* const volume = nrrdNew();
        if (nrrdLoad(volume, path, nullptr) != 0) state.SkipWithError("cannot load the sample");
        benchmark::DoNotOptimize(volume->data);
        nrrdNuke(volume);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kSide * kSide * kSide * 2);
}
#endif

qel::IVec4<float> transfer(float x) {
    return {x, 1 - x, x * x, x < 0.3f ? 0.0f : 0.8f};
}

void buildTable(benchmark::State& state) {
    const auto steps = static_cast<unsigned>(state.range(0));
    qel::Image image;
    for ([[maybe_unused]] auto _ : state) {
        image.createPreintegrationForTexture(steps, 0, 1, transfer);
        benchmark::DoNotOptimize(image.getBytePointer());
    }
}

/// The same table texel by texel, as its formula is written.
void buildTableByTheFormula(benchmark::State& state) {
    const auto steps = static_cast<size_t>(state.range(0));
    std::vector<uint8_t> table(steps * steps * 4);
    for ([[maybe_unused]] auto _ : state) {
        std::vector<qel::IVec4<float>> values(steps), sum(steps);
        for (size_t i = 0; i < steps; ++i) {
            values[i] = transfer(static_cast<float>(i) / static_cast<float>(steps - 1));
            for (int c = 0; c < 4; ++c) sum[i][c] = i == 0 ? values[0][c] : sum[i - 1][c] + values[i][c];
        }
        for (size_t a = 0; a < steps; ++a) {
            for (size_t b = 0; b < steps; ++b) {
                const size_t low = a < b ? a : b, high = a < b ? b : a;
                for (int c = 0; c < 4; ++c) {
                    const float mean =
                        a == b ? values[a][c] : (sum[high][c] - sum[low][c]) / static_cast<float>(high - low);
                    table[(a * steps + b) * 4 + static_cast<size_t>(c)] =
                        static_cast<uint8_t>(std::lroundf(mean * 255));
                }
            }
        }
        benchmark::DoNotOptimize(table.data());
    }
}

BENCHMARK(loadSample)->Name("Volume/Load/qel")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(loadSampleOnAllProcessors)
    ->Name("Volume/LoadOnAllProcessors/qel")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
#if QEL_PEER_TEEM
BENCHMARK(loadSampleByTeem)->Name("Volume/Load/teem")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(loadSampleByTeem)
    ->Name("Volume/LoadOnAllProcessors/teem")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
#endif
BENCHMARK(buildTable)->Name("Volume/Table256/qel")->Arg(256);
BENCHMARK(buildTableByTheFormula)->Name("Volume/Table256/formula")->Arg(256);
BENCHMARK(buildTable)->Name("Volume/Table1024/qel")->Arg(1024);
BENCHMARK(buildTableByTheFormula)->Name("Volume/Table1024/formula")->Arg(1024);

} // namespace
