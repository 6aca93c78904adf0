// Tar archives: whatever bytes the file contains, no file in it contains bytes from elsewhere, and opening
// reads no more headers than fit into the file.
#include <fuzz/memory_file.h>
#include <fuzz/require.h>
#include <qel/files/tar_archive.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/testing/faults.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string_view>

using namespace qel;

extern "C" size_t LLVMFuzzerMutate(uint8* data, size_t size, size_t maxSize);

namespace {

constexpr size_t kBlock = 512;

class ReadCounter : public seams::Faults {
public:
    ReadCounter() { seams::setFaults(this); }
    ~ReadCounter() override { seams::setFaults(nullptr); }

    platform::FileError before(platform::Operation operation, size_t&) override {
        count += operation == platform::Operation::Read;
        return {};
    }

    size_t count = 0;
};

/// Writes the checksum of the block's bytes.
void sign(uint8* block) {
    std::memset(block + 148, ' ', 8);
    unsigned sum = 0;
    for (size_t i = 0; i < kBlock; ++i) sum += block[i];
    std::snprintf(reinterpret_cast<char*>(block + 148), 8, "%06o", sum);
}

} // namespace

// Random bytes hardly ever have the right checksum, so it is written to some of the blocks.
extern "C" size_t LLVMFuzzerCustomMutator(uint8* data, size_t size, size_t maxSize, unsigned seed) {
    std::minstd_rand random(seed);
    size = LLVMFuzzerMutate(data, size, maxSize);
    if (random() % 2 == 0) size = std::min(maxSize, (size + kBlock - 1) / kBlock * kBlock);
    for (size_t at = 0; at + kBlock <= size; at += kBlock)
        if (random() % 4 != 0) sign(data + at);
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    static const MemoryFile file;
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    file.setContent(data, size);
    const SmartPointer<TarArchive> archive = new TarArchive;
    const std::string_view whole(reinterpret_cast<const char*>(data), size);
    bool isOpen = false;
    {
        const ReadCounter reads;
        isOpen = archive->open(file.path());
        require(reads.count <= size / kBlock + 2); // one more header may be cut off at the end of the file
    }
    const Vector<String> names = archive->getFileNames();
    require(isOpen == !names.empty());
    Buffer content;
    for (const String& name : names) {
        require(archive->hasFile(name) && archive->readFile(name, content));
        require(whole.find(content.getConstByteSpan().asText()) != std::string_view::npos);
    }
    require(!archive->readFile("", content));
    return 0;
}
