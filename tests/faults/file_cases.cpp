#include <tests/faults/fault_case.h>

#include <qel/files/file.h>
#include <qel/files/file_stream.h>
#include <qel/files/hex_source_writer.h>
#include <qel/files/ini_parser.h>
#include <qel/files/memory_map.h>
#include <qel/files/tar_archive.h>
#include <qel/foundation/base/buffer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/packet/file_packet_reader.h>
#include <qel/packet/file_packet_writer.h>
#include <qel/volume/volume_loader.h>
#include <tests/files/tar_sample.h>
#include <tests/volume/noting_volume.h>

namespace qel::test {

namespace {

const std::string kOld = "old content";
const std::string kNew(200'000, 'n');
const uint8 kBytes[] = {1, 2, 3, 4};

void prepareOld(Folder folder) {
    folder.write("file", kOld);
}
void prepareTwo(Folder folder) {
    folder.write("from", kNew);
    folder.write("to", kOld);
}
void prepareSame(Folder folder) {
    folder.write("a", kNew);
    folder.write("b", kNew);
}
void prepareCompressed(Folder folder) {
    File::writeFileCompressed(folder.path("file"), ConstByteSpan::fromText(kNew));
}
void prepareTar(Folder folder) {
    folder.write("x.tar", tarEntry("a", kOld) + tarEntry("b", kNew) + tarEnd());
}
void prepareIni(Folder folder) {
    folder.write("x.ini", "[section]\nkey = value\nnumber = 7\n");
}
void prepareMapped(Folder folder) {
    folder.write("file", std::string(10'000, 'm'));
}
void writePackets(Folder folder) {
    FilePacketWriter writer(folder.path("packets").c_str());
    for (const unsigned size : {3u, 70'000u, 5u}) {
        const SmartPointer<Packet> packet(new Packet(size));
        std::fill_n(packet->getPayload(), size, uint8{7});
        writer.write(packet.get());
    }
}

Outcome readPackets(Folder folder) {
    const auto reader = makeObject<FilePacketReader>(folder.path("packets").c_str());
    Outcome outcome;
    for (SmartPointer<Packet> packet = reader->read(); packet; packet = reader->read())
        outcome.value += std::to_string(packet->getPayloadSize()) + " ";
    outcome.worked = outcome.value == "3 70000 5 ";
    return outcome;
}

/// A picture of noise that is too large for one write of a few bytes.
Image samplePicture() {
    Image image(RGB8, {40, 30});
    for (size_t i = 0; i < image.getByteSize(); ++i)
        image.getBytePointer()[i] = static_cast<uint8>(i * i >> 3);
    return image;
}

void preparePictures(Folder folder) {
    samplePicture().saveTo(folder.path("a.png").c_str());
    samplePicture().saveTo(folder.path("a.webp").c_str());
}

bool savePicture(SmartCStr path) {
    return samplePicture().saveTo(path.c_str());
}

template <const char* Name>
Outcome loadPicture(Folder folder) {
    Image image;
    const bool worked = image.loadFromFile(folder.path(Name).c_str());
    return {worked, worked ? std::to_string(image.getBytePointer()[100]) : ""};
}

constexpr char kPng[] = "a.png";
constexpr char kWebP[] = "a.webp";

template <bool Decompress>
Outcome load(Folder folder) {
    Buffer buffer;
    const bool worked = buffer.loadFromFile(folder.path("file").c_str(), false, Decompress);
    return {worked, worked ? std::string(buffer.getConstByteSpan().asText()) : ""};
}

Outcome readTar(Folder folder) {
    TarArchive archive;
    Buffer buffer;
    if (!archive.open(folder.path("x.tar")) || !archive.readFile("b", buffer)) return {};
    return {true, std::string(buffer.getConstByteSpan().asText())};
}

Outcome readIni(Folder folder) {
    const INIParser parser(folder.path("x.ini").c_str());
    String value;
    const bool worked = parser.isValid() && parser.getString("section:key", value);
    return {worked, value};
}

Outcome readStream(Folder folder) {
    FileStream stream(folder.path("file").c_str(), true);
    Buffer buffer;
    const bool worked = stream.readAll(buffer) == SystemStream::kEnd;
    return {worked, worked ? std::string(buffer.getConstByteSpan().asText()) : ""};
}

Outcome writeHexSource(Folder folder) {
    HexSourceWriter writer(folder.path("table.c").c_str());
    const std::vector<uint8> bytes(20'000, 9);
    writer.process(StreamType::Plain, bytes.data(), 20'000);
    writer.close();
    return {true};
}

Outcome writeMapped(Folder folder) {
    MemoryMap map(folder.path("file").c_str(), MemoryMap::ReadWrite);
    uint8* const window = map.map(5000, 100);
    if (!window) return {};
    const std::string seen(reinterpret_cast<char*>(window), 100);
    const bool isFlushed = map.flush(window, 100);
    map.unmap(window, 5000, 100);
    return {isFlushed, seen};
}

Outcome writeStandardFile(Folder folder) {
    std::FILE* const file = File::openFileHandle(folder.path("file"), "wb");
    if (!file) return {};
    const bool isWritten = std::fwrite(kNew.data(), 1, kNew.size(), file) == kNew.size();
    return {std::fclose(file) == 0 && isWritten};
}

Outcome writeStandardStream(Folder folder) {
    const auto stream = File::openStdFileStream(folder.path("file"), std::ios::out | std::ios::binary);
    if (!stream) return {};
    *stream << kNew << std::flush;
    return {stream->good()};
}

Outcome queryFile(Folder folder) {
    File::FileInfo info;
    const bool worked = File::getFileInfo(folder.path("file"), info);
    return {worked, std::to_string(info.size)};
}

void prepareVolume(Folder folder) {
    folder.write("a.nrrd", "NRRD0004\ntype: short\nsizes: 2 2 1\n\nabcdefgh");
}

/// The value is what is stored of the volume: voxels that could not be read are only logged.
Outcome loadVolume(Folder folder) {
    VolumeRenderer renderer;
    VolumeLoader loader(&renderer);
    Outcome outcome{loader.loadFromNRRD(folder.path("a.nrrd").c_str())};
    if (!outcome.worked) return outcome;
    for (const uint16 voxel : static_cast<NotingVolume&>(*loader.getScalarTexture()).voxels)
        outcome.value += std::to_string(voxel) + " ";
    return outcome;
}

} // namespace

std::vector<FaultCase> fileCases() {
    // The result reports whether the file could be opened; the log reports whether it could be written.
    constexpr int kWriteFlags = kSilent | kLoggedOnly | kMayTear;
    const auto write =
        on([](SmartCStr path) { return File::writeFile(path, ConstByteSpan::fromText(kNew)); }, "file");
    const auto writeCompressed = [](SmartCStr path) {
        return File::writeFileCompressed(path, ConstByteSpan::fromText(kNew));
    };
    const auto hash = [](Folder folder) {
        const uint32 hashed = File::getFileHash(folder.path("file"), 0, 5);
        return Outcome{hashed != ~uint32{0}, std::to_string(hashed)};
    };
    return {
        {"File::writeFile, new", prepareNothing, write, kWriteFlags},
        {"File::writeFile, existing", prepareOld, write, kWriteFlags},
        {"File::writeFileCompressed", prepareOld, on(writeCompressed, "file"), kWriteFlags},
        {"File::copyFile", prepareTwo, on(File::copyFile, "from", "to")},
        {"File::moveFile", prepareTwo, on(File::moveFile, "from", "to")},
        {"File::moveFile, to another disk", prepareTwo, on(File::moveFile, "from", "to"), kCrossesDisks},
        {"File::createEmptyFile, sparse", prepareNothing,
         on([](SmartCStr path) { return File::createEmptyFile(path, 5000, true); }, "file")},
        {"File::createEmptyFile, allocated", prepareNothing,
         on([](SmartCStr path) { return File::createEmptyFile(path, 5000, false); }, "file")},
        {"File::createSymLink", prepareOld,
         on([](SmartCStr path) { return File::createSymLink(path, "file", false); }, "link")},
        {"File::deleteSymLink",
         [](Folder folder) { File::createSymLink(folder.path("link"), "nowhere", false); },
         on(File::deleteSymLink, "link"), kSilent},
        {"File::touchFile", prepareOld, on(File::touchFile, "file"), kSilent},
        {"File::truncateFile", prepareOld,
         on([](SmartCStr path) { return File::truncateFile(path, 3); }, "file")},
        {"File::deleteFile", prepareOld, on([](SmartCStr path) { return File::deleteFile(path); }, "file")},
        {"File::openFileHandle", prepareNothing, writeStandardFile, kSilent | kMayTear},
        {"File::openStdFileStream", prepareNothing, writeStandardStream, kSilent | kMayTear},
        {"File::getFileInfo", prepareOld, queryFile, kSilent},
        {"File::getFileHash", prepareOld, hash, kSilent},
        {"File::compareFiles", prepareSame,
         on([](SmartCStr a, SmartCStr b) { return File::compareFiles(a, b, false); }, "a", "b")},
        {"Buffer::loadFromFile", prepareOld, load<false>},
        {"Buffer::loadFromFile, compressed", prepareCompressed, load<true>},
        {"Buffer::saveToFile", prepareOld,
         on([](SmartCStr path) { return Buffer(kBytes, 4).saveToFile(path.c_str()); }, "file"), kWriteFlags},
        {"TarArchive::readFile", prepareTar, readTar, kSilent},
        {"INIParser", prepareIni, readIni, kSilent},
        {"FileStream::readAll", prepareOld, readStream},
        {"HexSourceWriter", prepareNothing, writeHexSource, kLoggedOnly | kMayTear},
        {"FilePacketWriter", prepareNothing,
         [](Folder folder) { return writePackets(folder), Outcome{true}; }, kLoggedOnly | kMayTear},
        {"FilePacketReader", writePackets, readPackets},
        {"MemoryMap", prepareMapped, writeMapped},
        {"Image::saveTo, PNG", prepareNothing, on(savePicture, "a.png")},
        {"Image::saveTo, existing", preparePictures, on(savePicture, "a.png")},
        {"Image::saveTo, WebP", prepareNothing, on(savePicture, "a.webp")},
        {"Image::saveTo, BMP", prepareNothing, on(savePicture, "a.bmp")},
        {"Image::loadFromFile, PNG", preparePictures, loadPicture<kPng>},
        {"Image::loadFromFile, WebP", preparePictures, loadPicture<kWebP>},
        {"VolumeLoader::loadFromNRRD", prepareVolume, loadVolume, kLoggedOnly},
    };
}

} // namespace qel::test
