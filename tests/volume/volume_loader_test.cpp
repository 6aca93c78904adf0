#include <qel/volume/volume_loader.h>

#include <tests/support/comma_locale.h>
#include <tests/support/failing_files.h>
#include <tests/support/formats_page.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>
#include <tests/volume/noting_volume.h>

#include <qel/foundation/base/buffer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/testing/simd.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace qel {
namespace {

constexpr int kInfo = 1, kWarning = 2, kError = 3;
const std::string kStart = "NRRD0004\n";
const std::string kShort = kStart + "type: short\ndimension: 3\n";

/// Returns the message of a failed read in the language of the process.
std::string ioError() {
    return std::make_error_code(std::errc::io_error).message();
}

/// Returns the bytes of some values.
template <typename T>
std::string bytesOf(const std::vector<T>& values) {
    std::string bytes(values.size() * sizeof(T), '\0');
    if (!values.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

template <typename T>
Buffer bufferOf(const std::vector<T>& values) {
    const std::string bytes = bytesOf(values);
    return Buffer(reinterpret_cast<const uint8*>(bytes.data()), bytes.size());
}

class VolumeLoaderTest : public ::testing::Test {
protected:
    bool load(const std::string& content) {
        return loader.loadFromNRRD(folder.write("volume.nrrd", content).c_str());
    }
    std::string path() const { return folder.path("volume.nrrd"); }
    /// Returns the texture loaded last.
    test::NotingVolume& volume() { return static_cast<test::NotingVolume&>(*loader.getScalarTexture()); }
    template <typename T>
    bool loadRow(FormatID format, const std::vector<T>& values) {
        return loader.loadFromVoxels(format, {static_cast<int>(values.size()), 1, 1}, {}, {},
                                     bufferOf(values));
    }

    test::ScratchFolder folder;
    test::VolumeRenderer renderer;
    VolumeLoader loader{&renderer};
};

TEST_F(VolumeLoaderTest, LoadsShortVoxels) {
    test::LogCapture log;
    std::vector<int16> values(24);
    std::iota(values.begin(), values.end(), int16{-10});
    ASSERT_TRUE(load(kShort +
                     "sizes: 2 3 4\nspace directions: (2,0,0) (0,3,0) (0,0,4)\n"
                     "space origin: (-1,-2.5,7)\n\n" +
                     bytesOf(values)));
    EXPECT_EQ(loader.getScaleBias(), IVec2<float>(1, -10));
    EXPECT_EQ(loader.getSpaceDirections(), Float3x3(2, 0, 0, 0, 3, 0, 0, 0, 4));
    EXPECT_EQ(loader.getOrigin(), IVec3<float>(-1, -2.5f, 7));
    EXPECT_EQ(volume().getFormat(), UInt16);
    EXPECT_EQ(volume().uploadedFormat, UInt16);
    EXPECT_EQ(volume().slices, (std::vector<int>{3, 2, 1, 0}));
    std::vector<uint16> stored(24);
    std::iota(stored.begin(), stored.end(), uint16{0});
    EXPECT_EQ(volume().voxels, stored);
    log.expect(kInfo, "nrrd Reader complete");
}

/// A file and what the loader does with it.
struct HeaderCase {
    const char* rule;
    std::string content;
    bool result;
    IVec3<int> size;   ///< after the load
    size_t zeros = 0;  ///< of the uploaded voxels, all of which are 0
    int trailing = -1; ///< bytes that the warning states
};

TEST_F(VolumeLoaderTest, ReadsHeadersAsSpecified) {
    const std::string voxels(16, '\0');
    const std::string sizes = "sizes: 2 2 2\n";
    const HeaderCase cases[] = {
        {"last version", "NRRD0005\ntype: short\nsizes: 2 2 2\n\n" + voxels, true, {2, 2, 2}, 8},
        {"version 6", "NRRD0006\n" + sizes + "\n", false, {}},
        {"empty file", "", false, {}},
        {"comment after the magic", "NRRD0004#x\ntype: short\nsizes: 2 2 2\n\n" + voxels, true, {2, 2, 2}, 8},
        {"carriage returns", "NRRD0004\r\n" + sizes + "\n", false, {}},
        {"any line without a colon ends the header", kShort + sizes + "end\n" + voxels, true, {2, 2, 2}, 8},
        {"unknown keys", kShort + sizes + "encoding: gzip\nx:=y\n\n" + voxels, true, {2, 2, 2}, 8},
        {"two sizes", kShort + "sizes: 4 4\n\n", true, {}},
        {"runs of spaces", kShort + "sizes: 2  2   2 \n\n" + voxels, true, {2, 2, 2}, 8},
        {"numbers end at other characters", kShort + "sizes: 2x 2. 2)\n\n" + voxels, true, {2, 2, 2}, 8},
        {"type after two spaces", kStart + "type:  short\n" + sizes + "\n" + voxels, true, {2, 2, 2}, 8, 16},
        {"other types", kStart + "type: ushort\n" + sizes + "\n" + voxels, true, {2, 2, 2}, 8, 16},
        {"trailing bytes", kShort + sizes + "\n" + voxels + "abcd", true, {2, 2, 2}, 8, 4},
        {"no voxels on an axis", kShort + "sizes: 2 0 2\n\n" + voxels, true, {2, 0, 2}, 0, 16},
        {"negative sizes", kShort + "sizes: -1 -1 4\n\n", true, {-1, -1, 4}},
    };
    for (const HeaderCase& one : cases) {
        SCOPED_TRACE(one.rule);
        test::LogCapture log;
        VolumeLoader fresh(&renderer);
        folder.write("volume.nrrd", one.content);
        EXPECT_EQ(fresh.loadFromNRRD(path().c_str()), one.result);
        EXPECT_EQ(fresh.getSize(), one.size);
        EXPECT_EQ(static_cast<bool>(fresh.getScalarTexture()), one.result);
        if (!one.result) continue;
        const auto& stored = static_cast<test::NotingVolume&>(*fresh.getScalarTexture());
        EXPECT_EQ(stored.voxels, std::vector<uint16>(one.zeros));
        EXPECT_EQ(stored.getSize(), one.zeros == 0 ? IVec3<int>() : one.size);
        if (one.trailing >= 0)
            log.expect(kWarning, "nrrd has unused trailing bytes: " + std::to_string(one.trailing));
        log.expect(kInfo, "nrrd Reader complete");
    }
}

TEST_F(VolumeLoaderTest, ReadsTheDocumentedHeader) {
    test::LogCapture log;
    ASSERT_TRUE(load(test::documentedText("volume/header") + "\n" + bytesOf<int16>({1, 2, 3, 4})));
    EXPECT_EQ(loader.getOrigin(), IVec3<float>(-10, 0, 5.5f));
    EXPECT_EQ(loader.getSpaceDirections(), Float3x3(0.5f, 0, 0, 0, 0.5f, 0, 0, 0, 2));
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{0, 1, 2, 3}));
}

TEST_F(VolumeLoaderTest, ReadsVectors) {
    const std::pair<std::string, Float3x3> cases[] = {
        {"space directions: (1, 2, 3) (4,5,6)  (7,8,9)", {1, 2, 3, 4, 5, 6, 7, 8, 9}},
        {"space directions: (1,2) (3) (4,5,6,x) none", {1, 2, 0, 3, 1, 0, 4, 5, 6}},
        {"space directions: [1e2,0x10,-.5)", {100, 16, -.5f, 0, 1, 0, 0, 0, 1}},
        {"space directions: (1e-50,1e-40,1)", {0, 1e-40f, 1, 0, 1, 0, 0, 0, 1}},
    };
    for (const auto& [line, directions] : cases) {
        SCOPED_TRACE(line);
        test::LogCapture log;
        EXPECT_TRUE(load(kShort + line + "\nspace origin: (1, 2,3)\n\n"));
        EXPECT_EQ(loader.getSpaceDirections(), directions);
        EXPECT_EQ(loader.getOrigin(), IVec3<float>(1, 2, 3));
    }
}

TEST_F(VolumeLoaderTest, NumbersThatCannotBeReadThrow) {
    const std::pair<std::string, std::string> cases[] = {
        {"dimension: x", "invalid stoi argument"},
        {"sizes: 1 - 1", "invalid stoi argument"},
        {"sizes: 1 2147483648 1", "stoi argument out of range"},
        {"space directions: none (1,0,0) (0,1,0)", "invalid stof argument"},
        {"space origin: ()", "invalid stof argument"},
        {"space origin: (1,2,1e39)", "stof argument out of range"},
    };
    for (const auto& [line, message] : cases) {
        std::string thrown;
        try {
            load(kShort + "sizes: 7 8 9\n" + line + "\n\n");
        } catch (const std::invalid_argument& error) {
            thrown = error.what();
        } catch (const std::out_of_range& error) {
            thrown = error.what();
        }
        EXPECT_EQ(thrown, message) << line;
        EXPECT_FALSE(loader.getScalarTexture()) << line;
    }
}

TEST_F(VolumeLoaderTest, ReadsNumbersUnderEveryLocale) {
    const test::CommaLocale locale;
    if (!locale.isSet()) GTEST_SKIP() << "the system cannot build a locale";
    test::LogCapture log;
    EXPECT_TRUE(load(kShort + "space origin: (1.5,2.25,3)\n\n"));
    EXPECT_EQ(loader.getOrigin(), IVec3<float>(1.5f, 2.25f, 3));
}

TEST_F(VolumeLoaderTest, AFailedOpenChangesNothing) {
    test::LogCapture log;
    ASSERT_TRUE(load(kShort + "space origin: (1,2,3)\nsizes: 1 1 1\n\nab"));
    const VolumeTexture* const before = loader.getScalarTexture().get();
    for (const std::string& name : {folder.path("missing"), folder.path()}) {
        EXPECT_FALSE(loader.loadFromNRRD(name.c_str()));
        log.expect(kError, "Failed to open volume: " + name);
    }
    EXPECT_FALSE(loader.loadFromNRRD(nullptr));
    log.expect(kError, "Failed to open volume:");
    EXPECT_EQ(loader.getOrigin(), IVec3<float>(1, 2, 3));
    EXPECT_EQ(loader.getScalarTexture().get(), before);
}

TEST_F(VolumeLoaderTest, ALoaderCanBeUsedAgain) {
    test::LogCapture log;
    ASSERT_TRUE(load(kShort + "sizes: 1 1 2\nspace origin: (1,2,3)\nspace directions: (2,0,0)\n\nabcd"));
    ASSERT_TRUE(load(kStart + "type: double\n\nefgh")) << "type and sizes of the last file";
    EXPECT_EQ(loader.getOrigin(), IVec3<float>());
    EXPECT_EQ(loader.getSpaceDirections(), Float3x3());
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{0, 0x202}));
}

TEST_F(VolumeLoaderTest, MissingVoxelsAreZero) {
    test::LogCapture log;
    ASSERT_TRUE(load(kShort + "sizes: 5 1 1\n\n" + bytesOf<int16>({300, 200}) + "x"));
    EXPECT_EQ(loader.getScaleBias(), IVec2<float>(1, 0));
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{300, 200, 'x', 0, 0}));
    EXPECT_EQ(log.take().size(), 1u) << "no warning";
}

TEST_F(VolumeLoaderTest, SizesAreComparedWithTheFile) {
    for (const char* const sizes : {"sizes: 67108865 1 1", "sizes: 2147483647 2147483647 2147483647",
                                    "sizes: 4194304 4194304 4194304"}) {
        for (const char* const type : {"type: short\n", ""}) {
            test::LogCapture log;
            VolumeLoader fresh(&renderer);
            folder.write("volume.nrrd", kStart + type + sizes + "\n\n");
            EXPECT_FALSE(fresh.loadFromNRRD(path().c_str())) << sizes;
            EXPECT_FALSE(fresh.getScalarTexture());
            log.expect(kError, "nrrd sizes exceed the file: " + path());
        }
    }
    test::LogCapture log;
    EXPECT_TRUE(load(kShort + "sizes: 32 1024 1024\n\n")) << "exactly as many bytes as may be missing";
    EXPECT_EQ(volume().voxels, std::vector<uint16>(32 << 20));
    EXPECT_EQ(log.take().size(), 1u);
}

TEST_F(VolumeLoaderTest, LinesHaveALimit) {
    test::LogCapture log;
    EXPECT_TRUE(load("NRRD0004#" + std::string(4096 - 9, 'x') + "\n\n"));
    EXPECT_FALSE(load("NRRD0004#" + std::string(4096 - 8, 'x') + "\n\n"));
    EXPECT_TRUE(load(kStart + std::string((1 << 20) - 1, 'x') + ":\nsizes: 1 1 1\n\n"));
    EXPECT_EQ(log.take().size(), 2u);
    EXPECT_FALSE(load(kStart + "sizes: 1 1 7\n" + std::string(1 << 20, 'x') + ":\n\n"));
    EXPECT_EQ(loader.getSize().z, 7);
    log.expect(kError, "nrrd sizes exceed the file: " + path());
}

TEST_F(VolumeLoaderTest, BytesThatCannotBeReadAreMissing) {
    const std::string file = kShort + "sizes: 2 1 1\n\n" + bytesOf<int16>({-5, 5});
    folder.write("volume.nrrd", file);
    for (const int at : {1, 2}) { // the header is one read, and each pass another
        test::LogCapture log;
        test::FailingFiles faults(at, std::errc::io_error, test::FailingFiles::Duration::ForGood,
                                  platform::Operation::Read);
        EXPECT_TRUE(loader.loadFromNRRD(path().c_str()));
        log.expect(kError, "cant read all of volume: " + path() + "; " + ioError());
        EXPECT_EQ(volume().voxels, (at == 1 ? std::vector<uint16>{0, 0} : std::vector<uint16>{5, 5}));
    }
    test::LogCapture log;
    test::FailingFiles faults(0, std::errc::io_error, test::FailingFiles::Duration::Once,
                              platform::Operation::Read);
    EXPECT_FALSE(loader.loadFromNRRD(path().c_str()));
    log.expect(kError, "cant read header of volume: " + path() + "; " + ioError());
}

TEST_F(VolumeLoaderTest, AHeaderThatCannotBeReadIsRefused) {
    const std::string longLine = "x:" + std::string(16384 - kShort.size() - 9, 'x') + "\n";
    folder.write("volume.nrrd", kShort + longLine + "sizes: 12 1 1\n\n" + bytesOf<int16>({1, 2}));
    test::LogCapture log;
    test::FailingFiles faults(1, std::errc::io_error, test::FailingFiles::Duration::Once,
                              platform::Operation::Read); // in the middle of the sizes
    EXPECT_FALSE(loader.loadFromNRRD(path().c_str()));
    EXPECT_FALSE(loader.getScalarTexture());
    EXPECT_EQ(loader.getSize(), IVec3<int>());
    log.expect(kError, "cant read header of volume: " + path() + "; " + ioError());
}

TEST_F(VolumeLoaderTest, ConvertsEveryFormat) {
    const std::vector<uint16> expected{0, 100, 3};
    const auto check = [&](FormatID format, auto lowest) {
        using T = decltype(lowest);
        SCOPED_TRACE(format);
        EXPECT_TRUE(loadRow<T>(format, {lowest, static_cast<T>(lowest + 100), static_cast<T>(lowest + 3)}));
        EXPECT_EQ(volume().voxels, expected);
        EXPECT_EQ(loader.getScaleBias(), IVec2<float>(1, static_cast<float>(lowest)));
    };
    check(Int8, int8{-50});
    check(UInt8, uint8{50});
    check(L8, uint8{155});
    check(A8, uint8{0});
    check(Int16, int16{-30000});
    check(UInt16, uint16{60000});
    check(Int32, int32{-2'000'000'000});
    check(UInt32, uint32{4'000'000'000});
    check(Int64, int64{-1} << 50);
    check(UInt64, uint64{1} << 50);
    check(Flt32, -20.0f);
    check(Flt64, 1e9);
}

TEST_F(VolumeLoaderTest, LargeRangesAreCompressed) {
    ASSERT_TRUE(loadRow<int32>(Int32, {0, 100000, 50000, 1}));
    EXPECT_EQ(loader.getScaleBias(), IVec2<float>(static_cast<float>(100000.0 / 65535), 0));
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{0, 65535, 32768, 1}));
    ASSERT_TRUE(loadRow<int32>(Int32, {-1, 65534})) << "a range of 65535 is not compressed";
    EXPECT_EQ(loader.getScaleBias(), IVec2<float>(1, -1));
    ASSERT_TRUE(loadRow<float>(Flt32, {0.0f, 0.4f, 0.5f, 1.4f})) << "small ranges are not expanded";
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{0, 0, 1, 1}));
}

TEST_F(VolumeLoaderTest, ConvertsNumbersThatAreNotFinite) {
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    ASSERT_TRUE(loadRow<double>(Flt64, {nan, 7, inf, 9, -inf}));
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{0, 0, 65535, 2, 0}));
    EXPECT_EQ(loader.getScaleBias(), IVec2<float>(1, 7));
    ASSERT_TRUE(loadRow<double>(Flt64, {nan, inf}));
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{0, 65535}));
    EXPECT_EQ(loader.getScaleBias(), IVec2<float>(1, 0));
    ASSERT_TRUE(loadRow<double>(Flt64, {-DBL_MAX, DBL_MAX / 2, DBL_MAX})) << "the difference overflows";
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{0, 49151, 65535}));
    EXPECT_EQ(loader.getScaleBias(), IVec2<float>(FLT_MAX, -FLT_MAX));
}

TEST_F(VolumeLoaderTest, ManyVoxelsConvertLikeSingleOnes) {
    test::LogCapture log;
    for (const std::string& target : seams::simdTargets()) {
        SCOPED_TRACE(target);
        seams::setSimdTarget(target);
        for (const int width : {1, 7, 8, 15, 31, 33, 63, 64, 65, 67, 129}) {
            std::vector<int16> values(static_cast<size_t>(width) * 3);
            for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int16>(i * i * 7919 + i);
            const int16 lowest = *std::min_element(values.begin(), values.end());
            std::vector<uint16> expected(values.size());
            for (size_t i = 0; i < values.size(); ++i) expected[i] = static_cast<uint16>(values[i] - lowest);
            ASSERT_TRUE(loader.loadFromVoxels(Int16, {width, 3, 1}, {}, {}, bufferOf(values)));
            EXPECT_EQ(volume().voxels, expected) << width;
        }
    }
    seams::setSimdTarget("");
}

TEST_F(VolumeLoaderTest, VoxelsInMemoryMustFitTheirSize) {
    const Buffer voxels = bufferOf<uint16>({1, 2, 3});
    EXPECT_FALSE(loader.loadFromVoxels(UInt16, {2, 2, 1}, {}, {}, voxels));
    EXPECT_FALSE(loader.loadFromVoxels(RGBA8, {1, 1, 1}, {}, {}, voxels));
    EXPECT_FALSE(loader.loadFromVoxels(UInt16, {1 << 30, 1 << 30, 1 << 30}, {}, {}, voxels));
    EXPECT_EQ(loader.getSize(), IVec3<int>());
    EXPECT_TRUE(loader.loadFromVoxels(UInt16, {0, 3, 1}, {}, {}, {}));
    EXPECT_EQ(volume().getSize(), IVec3<int>());
}

TEST_F(VolumeLoaderTest, WithoutATextureNothingIsLoaded) {
    test::LogCapture log;
    renderer.hasMemory = false;
    EXPECT_FALSE(load(kShort + "sizes: 1 1 1\n\nab"));
    log.expect(kError, "no renderer for a volume");
    VolumeLoader lost(nullptr);
    EXPECT_FALSE(lost.loadFromNRRD(path().c_str()));
    log.expect(kError, "no renderer for a volume");
    EXPECT_FALSE(lost.getScalarTexture());
}

TEST_F(VolumeLoaderTest, TheTestImageIsACuboid) {
    loader.generateTestImage({30, 40, 20});
    EXPECT_EQ(loader.getSize(), IVec3<int>(30, 40, 20));
    const auto inside = std::count(volume().voxels.begin(), volume().voxels.end(), uint16{65535});
    EXPECT_EQ(inside, 7 * 9 * 5);
}

class ThreadedVolumeLoaderTest : public test::SystemFixture {};

TEST_F(ThreadedVolumeLoaderTest, LargeVolumesConvertOnAllWorkers) {
    test::LogCapture log;
    const test::ScratchFolder folder;
    std::vector<int16> values(300 * 200 * 60);
    for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int16>(i * 31 % 4001) - 2000;
    const std::string file = folder.write("a", kShort + "sizes: 300 200 60\n\n" + bytesOf(values));
    const auto renderer = makeObject<test::VolumeRenderer>();
    VolumeLoader loader(renderer.get());
    ASSERT_TRUE(loader.loadFromNRRD(file.c_str()));
    const auto& volume = static_cast<test::NotingVolume&>(*loader.getScalarTexture());
    size_t wrong = 0;
    for (size_t i = 0; i < values.size(); ++i) wrong += volume.voxels[i] != values[i] + 2000;
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(volume.slices.front(), 59);
    EXPECT_EQ(volume.slices.back(), 0);
}

TEST_F(ThreadedVolumeLoaderTest, UploadsOnTheCallingThreadAndReportsWhatItThrows) {
    struct FullVolume : test::NotingVolume {
        using NotingVolume::NotingVolume;
        void uploadData(int zBegin, int zEnd, FormatID format, const void* data) override {
            wasElsewhere |= std::this_thread::get_id() != thread;
            if (zBegin < 30) throw std::bad_alloc();
            NotingVolume::uploadData(zBegin, zEnd, format, data);
        }
        const std::thread::id thread = std::this_thread::get_id();
        bool wasElsewhere = false;
    };
    struct FullRenderer : test::VolumeRenderer {
        VolumeTexture* createVolumeTextureInternal() override {
            return (texture = new FullVolume(this)).get();
        }
        SmartPointer<FullVolume> texture;
    };
    test::LogCapture log;
    const auto renderer = makeObject<FullRenderer>();
    VolumeLoader loader(renderer.get());
    const Buffer voxels = bufferOf(std::vector<uint16>(300 * 200 * 60, 1));
    EXPECT_FALSE(loader.loadFromVoxels(UInt16, {300, 200, 60}, {}, {}, voxels));
    log.expect(kError, "not enough memory for a volume of 3600000 voxels");
    EXPECT_FALSE(loader.getScalarTexture());
    ASSERT_TRUE(renderer->texture);
    EXPECT_EQ(renderer->texture->slices.size(), 30u) << "none after the one that failed";
    EXPECT_FALSE(renderer->texture->wasElsewhere);
}

TEST_F(VolumeLoaderTest, ReportsProgressAndCanBeEnded) {
    const std::vector<int16> values(64, 7);
    std::vector<float> shares;
    loader.setProgress([&](float share) {
        shares.push_back(share);
        return true;
    });
    EXPECT_TRUE(loadRow(Int16, values));
    EXPECT_EQ(shares, (std::vector<float>{0.5f, 1}));
    const SmartPointer<VolumeTexture> before = loader.getScalarTexture();
    for (const float last : {0.5f, 1.0f}) {
        loader.setProgress([last](float share) { return share < last; });
        EXPECT_FALSE(loadRow(Int16, values)) << last;
        EXPECT_EQ(loader.getScalarTexture(), before) << last;
    }
    loader.setProgress({});
    EXPECT_TRUE(loadRow(Int16, values));
}

TEST_F(VolumeLoaderTest, ReadsVoxelsThroughAFunction) {
    const std::string bytes = bytesOf(std::vector<float>{1, 2, 3, 5, 4, 3});
    const auto read = [&](uint64 offset, void* out, size_t size) {
        std::memcpy(out, bytes.data() + offset, size);
        return true;
    };
    ASSERT_TRUE(loader.loadFromReader(Flt32, {1, 2, 3}, {}, {}, read));
    EXPECT_EQ(volume().voxels, (std::vector<uint16>{0, 1, 2, 4, 3, 2}));
    const SmartPointer<VolumeTexture> before = loader.getScalarTexture();
    for (const int failing : {1, 2}) { // the pass for the range, then that for the values
        int calls = 0;
        EXPECT_FALSE(loader.loadFromReader(Flt32, {1, 2, 2}, {}, {}, [&](uint64 offset, void* out, size_t n) {
            return ++calls < failing && read(offset + 8, out, n);
        })) << failing;
        EXPECT_EQ(loader.getScalarTexture(), before) << failing;
        EXPECT_EQ(loader.getScaleBias(), IVec2<float>(1, 1)) << failing;
    }
}

TEST_F(VolumeLoaderTest, AFailedReadEndsTheLoadAtOnce) {
    int steps = 0;
    loader.setProgress([&](float) { return ++steps > 0; });
    EXPECT_FALSE(loader.loadFromReader(Int8, {1024, 1024, 8}, {}, {}, [](auto...) { return false; }));
    EXPECT_EQ(steps, 0);
}

} // namespace
} // namespace qel
