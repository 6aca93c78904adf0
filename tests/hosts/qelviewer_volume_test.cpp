#include <hosts/qelviewer/volume/histogram.h>
#include <hosts/qelviewer/volume/phantom.h>
#include <hosts/qelviewer/volume/volume_file.h>

#include <tests/hosts/qelviewer_files.h>
#include <tests/support/failing_files.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/source_dir.h>
#include <tests/support/system_fixture.h>

#include <qel/software3d/software_renderer_3d.h>
#include <qel/software3d/software_volume_texture.h>
#include <qel/volume/volume_loader.h>
#include <qel/volume/volume_material.h>

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <set>
#include <system_error>

namespace qelviewer {
namespace {

using namespace qel;
using test::gzip;
using test::NiftiFile;
using test::voxelBytes;
using testing::HasSubstr;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const std::vector<double> kOneToEight = {1, 2, 3, 4, 5, 6, 7, 8};

/// Returns a header of eight voxels up to the line before the empty one.
std::string nrrd(const std::string& type, const std::string& more = "") {
    return "NRRD0004\ntype: " + type + "\ndimension: 3\nsizes: 2 2 2\nencoding: raw\nendian: little\n" + more;
}

/// Returns the system's words for a missing file, in the language of the process.
std::string missing() {
    return std::make_error_code(std::errc::no_such_file_or_directory).message();
}

class VolumeFileTest : public qel::test::SystemFixture {
protected:
    void TearDown() override {
        loader.reset();
        renderer = nullptr;
        SystemFixture::TearDown();
    }
    void SetUp() override {
        SystemFixture::SetUp();
        renderer = makeObject<SoftwareRenderer3D>();
        loader = std::make_unique<VolumeLoader>(renderer.get());
    }

    /// Writes a file and loads it. @return what went wrong, without the path.
    std::string load(const std::string& content, const std::string& name = "volume") {
        const std::string path = folder.write(name, content);
        const std::string problem = loadVolume(path, *loader, header, progress);
        if (problem.empty()) return problem;
        EXPECT_TRUE(problem.starts_with(path + ": ")) << problem;
        return problem.substr(std::min(problem.size(), path.size() + 2));
    }
    const SoftwareVolumeTexture& volume() const {
        return static_cast<const SoftwareVolumeTexture&>(*loader->getScalarTexture());
    }
    double value(int x, int y, int z) const { return valueAt(volume(), header.scaleBias, {x, y, z}); }
    /// Returns the values of all eight voxels, x first.
    std::vector<double> values() const {
        std::vector<double> all;
        for (int i = 0; i < 8; ++i) all.push_back(value(i & 1, i >> 1 & 1, i >> 2));
        return all;
    }

    qel::test::ScratchFolder folder;
    SmartPointer<SoftwareRenderer3D> renderer;
    std::unique_ptr<VolumeLoader> loader;
    VolumeHeader header;
    LoadProgress progress;
};

/// A type of voxels, in the words of the formats.
struct TypeCase {
    const char* name;
    const char* nrrdName; ///< one of its names
    int niftiNumber;
    std::string (*bytes)(const std::vector<double>&, bool isBigEndian);
    double smallest, largest; ///< values that the type has
};

const TypeCase kTypes[] = {
    {"int8", "signed char", 256, &voxelBytes<int8>, -128, 127},
    {"uint8", "uint8_t", 2, &voxelBytes<uint8>, 0, 255},
    {"int16", "short", 4, &voxelBytes<int16>, -32768, 32767},
    {"uint16", "unsigned short", 512, &voxelBytes<uint16>, 0, 65535},
    {"int32", "int", 8, &voxelBytes<int32>, -2147483648.0, -2147423648.0},
    {"uint32", "uint32", 768, &voxelBytes<uint32>, 0, 65535},
    {"int64", "longlong", 1024, &voxelBytes<int64>, -9223372036854775808.0, 9223372036854774784.0},
    {"uint64", "unsigned long long int", 1280, &voxelBytes<uint64>, 0, 18446744073709549568.0},
    {"float32", "float", 16, &voxelBytes<float>, -0.25, 0.75},
    {"float64", "double", 64, &voxelBytes<double>, -1e300, 1.5e300},
};

TEST_F(VolumeFileTest, LoadsAllTypesInBothByteOrders) {
    for (const TypeCase& type : kTypes) {
        for (const bool isBigEndian : {false, true}) {
            SCOPED_TRACE(type.name);
            const std::string voxels = type.bytes(kOneToEight, isBigEndian);
            NiftiFile file;
            file.isBigEndian = isBigEndian;
            file.datatype = type.niftiNumber;
            const std::string order = isBigEndian ? "endian: big\n" : "";
            for (const std::string& content :
                 {nrrd(type.nrrdName, order) + "\n" + voxels, file.bytes(voxels), gzip(file.bytes(voxels))}) {
                EXPECT_EQ(load(content), "");
                EXPECT_EQ(values(), kOneToEight);
                EXPECT_EQ(header.voxelType, type.name);
            }
        }
    }
    EXPECT_EQ(progress.share, 1);
}

TEST_F(VolumeFileTest, KeepsTheEndsOfEachRange) {
    for (const TypeCase& type : kTypes) {
        SCOPED_TRACE(type.name);
        std::vector<double> ends = {type.smallest, type.largest};
        ends.resize(8, type.smallest);
        EXPECT_EQ(load(nrrd(type.nrrdName) + "\n" + type.bytes(ends, false)), "");
        const double largest = static_cast<double>(std::numeric_limits<float>::max());
        EXPECT_NEAR(value(0, 0, 0), std::max(type.smallest, -largest), std::abs(type.smallest) * 1e-7);
        if (type.largest < largest) {
            EXPECT_NEAR(value(1, 0, 0), type.largest, (type.largest - type.smallest) * 1e-7);
        }
    }
}

TEST_F(VolumeFileTest, NumbersThatAreNotFiniteBecomeTheEndsOfTheRange) {
    const std::vector<double> odd = {2, kNan, kInfinity, -kInfinity, 5, 3, 4, 5};
    ASSERT_EQ(load(nrrd("float") + "\n" + voxelBytes<float>(odd)), "");
    EXPECT_EQ(values(), (std::vector<double>{2, 2, 5, 2, 5, 3, 4, 5}));
    const std::vector<double> nothing(8, kNan);
    ASSERT_EQ(load(nrrd("double") + "\n" + voxelBytes<double>(nothing)), "");
    EXPECT_EQ(values(), std::vector<double>(8, 0));
}

TEST_F(VolumeFileTest, AppliesTheScaleOfNifti) {
    NiftiFile file;
    file.slope = -0.5f;
    file.intercept = 100;
    ASSERT_EQ(load(file.bytes(voxelBytes<int16>({0, 2, 4, 6, 8, 10, 12, -2}))), "");
    EXPECT_EQ(values(), (std::vector<double>{100, 99, 98, 97, 96, 95, 94, 101}));
    for (const float slope : {0.0f, NAN, INFINITY}) {
        file.slope = slope;
        ASSERT_EQ(load(file.bytes(voxelBytes<int16>(kOneToEight))), "");
        EXPECT_EQ(values(), kOneToEight);
    }
}

/// A header and the orientation that it states.
struct PlaceCase {
    const char* rule;
    std::string lines;
    std::array<IVec3<double>, 4> axesAndOrigin;
    bool isPatient;
};

void expectPlace(const Orientation& place, const std::array<IVec3<double>, 4>& expected, bool isPatient) {
    for (int column = 0; column < 4; ++column)
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR((column < 3 ? place.axis[column] : place.origin)[c],
                        expected[static_cast<size_t>(column)][c], 1e-5)
                << "column " << column << ", component " << c;
    EXPECT_EQ(place.isPatient, isPatient);
}

TEST_F(VolumeFileTest, ReadsTheOrientationOfNrrd) {
    const std::string directions = "space directions: (0,2,0) (-1,0,0) (0,0,4)\nspace origin: (5,6,7)\n";
    const PlaceCase cases[] = {
        {"LPS",
         "space: left-posterior-superior\n" + directions,
         {{{0, 2, 0}, {-1, 0, 0}, {0, 0, 4}, {5, 6, 7}}},
         true},
        {"RAS", "space: RAS\n" + directions, {{{0, -2, 0}, {1, 0, 0}, {0, 0, 4}, {-5, -6, 7}}}, true},
        {"no space", directions, {{{0, 2, 0}, {-1, 0, 0}, {0, 0, 4}, {5, 6, 7}}}, false},
        {"units",
         "space: LPS\nspace units: \"cm\" \"mm\" \"um\"\n" + directions,
         {{{0, 2, 0}, {-10, 0, 0}, {0, 0, 0.004}, {50, 6, 0.007}}},
         true},
        {"spacings", "spacings: 0.5 nan -3\n", {{{0.5, 0, 0}, {0, 1, 0}, {0, 0, 3}, {}}}, false},
        {"dependent",
         "space: LPS\nspace directions: (0,2,0) (0,3,0) (0,0,4)\n",
         {{{2, 0, 0}, {0, 3, 0}, {0, 0, 4}, {}}},
         false},
    };
    for (const PlaceCase& test : cases) {
        SCOPED_TRACE(test.rule);
        EXPECT_EQ(load(nrrd("uchar", test.lines) + "\n12345678"), "");
        expectPlace(header.orientation, test.axesAndOrigin, test.isPatient);
    }
}

TEST_F(VolumeFileTest, ReadsTheOrientationOfNifti) {
    const std::string voxels = voxelBytes<int16>(kOneToEight);
    NiftiFile file;
    file.pixdim = {-1, 2, 3, 4};
    ASSERT_EQ(load(file.bytes(voxels)), "");
    expectPlace(header.orientation, {{{2, 0, 0}, {0, 3, 0}, {0, 0, 4}, {}}}, false);
    file.qform = 1;
    file.quaternion = {0, 0, std::sqrt(0.5f)}; // a quarter turn about the axis to the head: x to the front
    file.offset = {10, 20, 30};
    ASSERT_EQ(load(file.bytes(voxels)), "");
    expectPlace(header.orientation, {{{0, -2, 0}, {3, 0, 0}, {0, 0, -4}, {-10, -20, 30}}}, true);
    file.quaternion = {0, 1.0001f, 0}; // half a turn, a little too long
    ASSERT_EQ(load(file.bytes(voxels)), "");
    expectPlace(header.orientation, {{{2, 0, 0}, {0, -3, 0}, {0, 0, 4}, {-10, -20, 30}}}, true);
    file.sform = 2;
    file.rows = {{{0, 5, 0, 1}, {6, 0, 0, 2}, {0, 0, -7, 3}}};
    ASSERT_EQ(load(file.bytes(voxels)), "");
    expectPlace(header.orientation, {{{0, -6, 0}, {-5, 0, 0}, {0, 0, -7}, {-1, -2, 3}}}, true);
    file.units = 3 + 8; // micrometres and seconds
    ASSERT_EQ(load(file.bytes(voxels)), "");
    expectPlace(header.orientation,
                {{{0, -0.006, 0}, {-0.005, 0, 0}, {0, 0, -0.007}, {-0.001, -0.002, 0.003}}}, true);
    file.rows = {};
    file.qform = 0;
    ASSERT_EQ(load(file.bytes(voxels)), "");
    expectPlace(header.orientation, {{{0.002, 0, 0}, {0, 0.003, 0}, {0, 0, 0.004}, {}}}, false);
}

TEST_F(VolumeFileTest, ReadsTheFirstOfSeveralNiftiVolumes) {
    NiftiFile file;
    file.dim = {5, 2, 2, 2, 3, 2};
    EXPECT_EQ(load(file.bytes(voxelBytes<int16>({1, 2, 3, 4, 5, 6, 7, 8, 9}))), "");
    EXPECT_EQ(values(), kOneToEight);
    file.dim = {2, 2, 4};
    EXPECT_EQ(load(file.bytes(voxelBytes<int16>(kOneToEight))), "");
    EXPECT_EQ(header.size, IVec3<int>(2, 4, 1));
    EXPECT_EQ(value(1, 3, 0), 8);
    file.voxOffset = 400; // after an extension
    EXPECT_EQ(load(file.bytes(std::string(48, 'x') + voxelBytes<int16>(kOneToEight))), "");
    EXPECT_EQ(value(0, 0, 0), 1);
}

TEST_F(VolumeFileTest, ReadsCompressedAndSkippedVoxels) {
    const std::string voxels = voxelBytes<int16>(kOneToEight);
    const std::string gz = nrrd("short", "encoding: gzip\n");
    const struct {
        const char* rule;
        std::string content;
    } cases[] = {
        {"gzip", gz + "\n" + gzip(voxels)},
        {"two members", gz + "\n" + gzip(voxels.substr(0, 5)) + gzip(voxels.substr(5))},
        {"padding", gz + "\n" + gzip(voxels) + std::string(100, '\0')},
        {"skip in gzip", gz + "byte skip: 3\n\n" + gzip("abc" + voxels)},
        {"skip", nrrd("short", "byteskip: 3\n") + "\nabc" + voxels},
        {"at the end", nrrd("short", "byte skip: -1\n") + "\nabcde" + voxels},
        {"carriage returns", "NRRD0005\r\ntype: short\r\nsizes: 2 2 2\r\n# c\r\n\r\n" + voxels},
        {"only what the library needs", "NRRD0001\ntype: short\nsizes: 2 2 2\n\n" + voxels},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(load(test.content), "") << test.rule;
        EXPECT_EQ(values(), kOneToEight) << test.rule;
    }
}

TEST_F(VolumeFileTest, ReadsDetachedDataFromTheSameFolderOnly) {
    const std::string voxels = voxelBytes<int16>(kOneToEight);
    folder.write("data.raw", voxels);
    folder.write("data.raw.gz", gzip("ab" + voxels));
    folder.write("sub/data.raw", voxels);
    std::filesystem::create_symlink("data.raw", folder.path("link.raw"));
    EXPECT_EQ(load(nrrd("short", "data file: data.raw\n"), "v.nhdr"), "");
    EXPECT_EQ(values(), kOneToEight);
    EXPECT_EQ(load(nrrd("short", "encoding: gz\nbyte skip: 2\ndatafile: data.raw.gz\n"), "v.nhdr"), "");
    EXPECT_EQ(values(), kOneToEight);
    const std::string outside = "its data file is not in the same folder";
    const std::string several = "its voxels are in several files, which is not supported";
    const std::pair<std::string, std::string> cases[] = {
        {folder.path("data.raw"), outside},
        {"sub/data.raw", outside},
        {"../data.raw", outside},
        {"./../data.raw", outside},
        {"LIST", several},
        {"data%03d.raw 1 9 1", several},
        {"link.raw", "its data file cannot be read: it is a link"},
        {"sub", "it is not a file"},
        {"missing.raw", "its data file cannot be read"},
    };
    for (const auto& [name, problem] : cases)
        EXPECT_THAT(load(nrrd("short", "data file: " + name + "\n"), "v.nhdr"), HasSubstr(problem)) << name;
}

TEST_F(VolumeFileTest, FollowsALinkToAHeaderIntoItsFolder) {
    folder.write("sub/data.raw", "12345678");
    folder.write("sub/v.nhdr", nrrd("uchar", "data file: data.raw\n"));
    std::filesystem::create_symlink("sub/v.nhdr", folder.path("v.nhdr"));
    EXPECT_EQ(loadVolume(folder.path("v.nhdr"), *loader, header, progress), "");
    EXPECT_EQ(value(1, 1, 1), '8');
    EXPECT_EQ(header.path, folder.path("v.nhdr"));
}

TEST_F(VolumeFileTest, RefusesHeadersThatCannotBeRead) {
    const std::string unknown = "it is neither an NRRD nor a NIfTI-1 file";
    const std::string sizes = "its sizes cannot be read", tooShort = "it ends before its last voxel";
    const auto sized = [](const std::string& text) {
        return nrrd("uchar", "sizes: " + text + "\n") + "\n12345678";
    };
    const auto with = [](const std::string& line) { return nrrd("uchar", line + "\n") + "\n12345678"; };
    const std::pair<std::string, std::string> cases[] = {
        {"", unknown},
        {"NRRD0006\n", unknown},
        {nrrd("block") + "\n", "its voxels are of a type that is not supported: block"},
        {nrrd("uchar") + "a line\n\n", "its header has a line without a colon: a line"},
        {with("dimension: 4"), "it does not have 3 dimensions"},
        {sized("2 2"), sizes},
        {sized("2 -2 2"), sizes},
        {sized("2 2 2147483648"), sizes},
        {sized("2 2 3"), tooShort},
        {sized("2147483647 2147483647 2147483647"), tooShort},
        {with("encoding: hex"), "its voxels have an encoding that is not supported: hex"},
        {with("endian: middle"), "its byte order cannot be read"},
        {with("line skip: 1"), "it has lines before its voxels, which is not supported"},
        {with("byte skip: 9223372036854775807"), tooShort},
        {with("byte skip: -1\nsizes: 300 300 300"), tooShort},
        {with("space directions: none (0,1,0) (0,0,1)"), "its space directions cannot be read"},
        {with("space origin: 1 2 3"), "its space origin cannot be read"},
        {with("spacings: 1 2"), "its spacings cannot be read"},
        {"NRRD0004\n" + std::string(2 << 20, 'x'), "its header is longer than 1 MiB"},
    };
    for (const auto& [content, problem] : cases) EXPECT_EQ(load(content), problem) << content.substr(0, 300);
    EXPECT_FALSE(loader->getScalarTexture());
    EXPECT_EQ(header.path, "");
}

TEST_F(VolumeFileTest, RefusesNiftiHeadersThatCannotBeRead) {
    const auto changed = [](const std::function<void(NiftiFile&)>& change) {
        NiftiFile file;
        change(file);
        return file.bytes(voxelBytes<int16>(kOneToEight));
    };
    const std::pair<std::string, std::string> cases[] = {
        {changed([](NiftiFile& f) { f.headerSize = 540; }), "it is a NIfTI-2 file, which is not supported"},
        {changed([](NiftiFile& f) { f.magic = "ni1"; }),
         "its voxels are in another file, which is not supported"},
        {changed([](NiftiFile& f) { f.datatype = 128; }),
         "its voxels are of a type that is not supported: number 128, colours"},
        {changed([](NiftiFile& f) { f.dim[0] = 8; }), "its number of dimensions cannot be read"},
        {changed([](NiftiFile& f) { f.dim[2] = -5; }), "its sizes cannot be read"},
        {changed([](NiftiFile& f) {
             f.dim = {3, 32767, 32767, 32767};
         }),
         "it ends before its last voxel"},
        {changed([](NiftiFile& f) { f.voxOffset = NAN; }), "the position of its voxels cannot be read"},
        {changed([](NiftiFile& f) { f.voxOffset = 1e12f; }), "it ends before its last voxel"},
    };
    for (const auto& [content, problem] : cases) {
        EXPECT_EQ(load(content), problem);
        EXPECT_EQ(load(gzip(content)), problem);
    }
}

TEST_F(VolumeFileTest, ReportsDamagedCompressedData) {
    NiftiFile file;
    file.dim = {3, 20, 20, 20};
    std::vector<double> ramp;
    for (int i = 0; i < 8000; ++i) ramp.push_back(i * 7919 % 4001);
    const std::string good = gzip(file.bytes(voxelBytes<int16>(ramp)));
    ASSERT_EQ(load(good), "");
    for (const size_t size : {size_t{3}, size_t{30}, good.size() / 2, good.size() - 1})
        EXPECT_EQ(load(good.substr(0, size)), "its compressed data end too early") << size;
    std::string flipped = good;
    flipped[good.size() - 6] = static_cast<char>(flipped[good.size() - 6] ^ 1); // in the check sum
    EXPECT_EQ(load(flipped), "its compressed data are damaged");
    EXPECT_EQ(load(gzip("short")), "it is neither an NRRD nor a NIfTI-1 file");
}

TEST_F(VolumeFileTest, RefusesSizesThatNoCompressedDataCanHave) {
    NiftiFile file;
    file.dim = {3, 2000, 2000, 2000};
    EXPECT_EQ(load(gzip(file.bytes(""))), "it ends before its last voxel");
    EXPECT_EQ(load(nrrd("short", "encoding: gzip\nsizes: 100 100 100\n") + "\n" + gzip("")),
              "it ends before its last voxel");
}

TEST_F(VolumeFileTest, ReportsFilesThatCannotBeOpened) {
    EXPECT_EQ(loadVolume(folder.path("none"), *loader, header, progress),
              folder.path("none") + ": " +
                  std::make_error_code(std::errc::no_such_file_or_directory).message());
    EXPECT_EQ(loadVolume(folder.path(), *loader, header, progress), folder.path() + ": it is not a file");
    EXPECT_EQ(loadVolume("/dev/zero", *loader, header, progress), "/dev/zero: it is not a file");
}

TEST_F(VolumeFileTest, ReportsReadsThatFailAtAnyTime) {
    const std::string raw = nrrd("float") + "\n" + voxelBytes<float>(kOneToEight);
    for (const std::string& content :
         {raw, nrrd("float", "encoding: gzip\n") + "\n" + gzip(voxelBytes<float>(kOneToEight))}) {
        const std::string path = folder.write("volume", content);
        int failures = 0;
        for (bool hasFailed = true; hasFailed; ++failures) {
            qel::test::FailingFiles faults(failures, std::errc::io_error,
                                           qel::test::FailingFiles::Duration::Once,
                                           platform::Operation::Read);
            const std::string problem = loadVolume(path, *loader, header, progress);
            hasFailed = faults.hasFailed();
            EXPECT_EQ(problem.empty(), !hasFailed) << "read " << failures << ": " << problem;
        }
        EXPECT_GE(failures, 3);
        EXPECT_EQ(values(), kOneToEight);
    }
}

TEST_F(VolumeFileTest, CanBeCancelled) {
    progress.isCancelled = true;
    EXPECT_EQ(load(nrrd("short") + "\n" + voxelBytes<int16>(kOneToEight)), "cancelled");
    EXPECT_FALSE(loader->getScalarTexture());
    EXPECT_EQ(writePhantom(folder.path("head.nrrd"), 8, progress), folder.path("head.nrrd") + ": cancelled");
    EXPECT_FALSE(folder.has("head.nrrd"));
}

TEST_F(VolumeFileTest, ShowsTheLinesOfHeaders) {
    using Lines = Vector<std::pair<std::string, std::string>>;
    ASSERT_EQ(load("NRRD0004\n# c\ntype: uchar\nsizes: 1 1 1\npatient:=M\xFC\x01ller\n\n1"), "");
    EXPECT_EQ(header.lines, (Lines{{"type", "uchar"}, {"sizes", "1 1 1"}, {"patient", "M\u00FC ller"}}));
}

TEST_F(VolumeFileTest, ThePhantomIsWrittenWholeOrNotAtAll) {
    const std::string path = folder.path("missing/head.nrrd");
    EXPECT_EQ(writePhantom(path, 4, progress), path + ": " + missing());
    ASSERT_EQ(writePhantom(folder.path("head.nrrd"), 4, progress), "");
    EXPECT_EQ(folder.countEntries(), 1);
    const Buffer voxels = createPhantom(4, progress);
    EXPECT_EQ(voxels.getSize(), 128u);
}

TEST_F(VolumeFileTest, HistogramsCountValuesInEqualBins) {
    ASSERT_EQ(load(nrrd("short") + "\n" + voxelBytes<int16>({-10, -9, 0, 1, 5, 9, 10, 10})), "");
    const Histogram histogram = countValues(volume(), header.scaleBias, 4, progress);
    EXPECT_EQ(histogram.smallest, -10);
    EXPECT_EQ(histogram.largest, 10);
    EXPECT_EQ(histogram.counts, (Vector<uint64>{2, 0, 2, 4}));
    progress.isCancelled = true;
    EXPECT_TRUE(countValues(volume(), header.scaleBias, 4, progress).counts.empty());
}

TEST_F(VolumeFileTest, HistogramsOfEqualVoxelsHaveOneBin) {
    ASSERT_EQ(load(nrrd("uchar") + "\nxxxxxxxx"), "");
    const Histogram histogram = countValues(volume(), header.scaleBias, 2, progress);
    EXPECT_EQ(histogram.counts, (Vector<uint64>{8, 0}));
    EXPECT_EQ(histogram.largest, 'x');
    EXPECT_TRUE(std::isnan(value(2, 0, 0)));
    EXPECT_TRUE(std::isnan(value(0, -1, 0)));
}

/// Expects values from 0 to 1, because tables wrap others.
template <typename Value>
void expectShares(const Curve<Value>& curve) {
    for (const auto& [offset, value] : curve) {
        const auto* const components = reinterpret_cast<const float*>(&value);
        for (size_t i = 0; i < sizeof value / sizeof(float); ++i) {
            EXPECT_GE(components[i], 0) << "at " << offset;
            EXPECT_LE(components[i], 1) << "at " << offset;
        }
    }
}

TEST(Materials, AllShippedOnesAreValid) {
    std::set<std::string> names;
    for (const auto& entry :
         std::filesystem::directory_iterator(qel::test::sourceDir() + "/resources/materials")) {
        SCOPED_TRACE(entry.path().filename());
        const std::string path = "resources/materials/" + entry.path().filename().string();
        const auto materials = VolumeMaterial::fromJSON(qel::test::sourceText(path));
        ASSERT_EQ(materials.size(), 1u);
        const VolumeMaterial& material = materials.front();
        EXPECT_TRUE(material.isValid());
        EXPECT_NE(material.getModalityFilter(), "");
        EXPECT_TRUE(names.insert(material.getName()).second) << "the name is used twice";
        expectShares(material.getColorCurve());
        expectShares(material.getOpacityCurve());
        expectShares(material.getGradientCurve());
    }
    EXPECT_GE(names.size(), 3u);
}

} // namespace
} // namespace qelviewer
