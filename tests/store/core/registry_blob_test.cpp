#include <qel/platform/registry.h>
#include <qel/store/core/memory_store.h>
#include <tests/files/failing_files.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/store_dump.h>

#include <gtest/gtest.h>

using namespace qel;

namespace {

class RegistryBlob : public testing::Test {
protected:
    RegistryBlob() { platform::setRegistryFolder(m_scratch.path()); }
    ~RegistryBlob() override { platform::setRegistryFolder({}); }

    static bool save(MemoryStore& store) {
        return MemoryStore::saveToWindowsRegistry(&store, "SOFTWARE\\Vendor", "settings");
    }
    static bool load(MemoryStore& store) {
        return MemoryStore::loadFromWindowsRegistry(&store, "SOFTWARE\\Vendor", "settings");
    }
    void writeBytes(const std::string& bytes) { m_scratch.write(kFile, bytes); }

    static constexpr const char* kFile = "SOFTWARE/Vendor/settings.value";
    test::ScratchFolder m_scratch;
};

/// The pair of the key ("a") and the value (5), and the key ("b") alone.
const std::string kPair("\x09\x03\0\0\0\x03"
                        "a\0"
                        "\x09\x02\0\0\0\x08\x05",
                        15);
const std::string kOddKey("\x09\x03\0\0\0\x03"
                          "b\0",
                          8);

} // namespace

TEST_F(RegistryBlob, HoldsAKeyAndAValueForEachEntryInOrder) {
    MemoryStore store;
    EXPECT_FALSE(load(store)); // there is none
    EXPECT_TRUE(save(store));
    EXPECT_FALSE(load(store)); // an empty one
    store.set(Item("b"), Item(7));
    store.set(Item("a"), Item(5));
    EXPECT_TRUE(save(store));
    EXPECT_EQ(m_scratch.read(kFile), kPair + kOddKey + std::string("\x09\x02\0\0\0\x08\x07", 7));
    MemoryStore loaded;
    loaded.set(Item("kept"), Item(1));
    loaded.set(Item("a"), Item(1));
    EXPECT_TRUE(load(loaded));
    EXPECT_EQ(test::dumpStore(loaded),
              (std::vector<std::string>{"036100 = 0805", "036200 = 0807", "036B65707400 = 0801"}));
}

TEST_F(RegistryBlob, LoadsWhatStandsBeforeDamageAndSaysSo) {
    for (const std::string& damage : {kOddKey, kPair.substr(0, 14), std::string(1, '\0'), kOddKey + "\x0B"}) {
        writeBytes(kPair + damage);
        test::LogCapture capture;
        MemoryStore store;
        EXPECT_TRUE(load(store));
        capture.expect(
            3, "[STORE] 'settings' in 'SOFTWARE\\Vendor' is damaged, loading what stands before that");
        EXPECT_EQ(test::dumpStore(store), std::vector<std::string>{"036100 = 0805"});
    }
}

TEST_F(RegistryBlob, KeepsTheOldOneOrTheNewOneWhenTheDiskFails) {
    writeBytes(kPair);
    MemoryStore store;
    store.set(Item("a"), Item(std::string(10'000, 'x')));
    {
        test::FailingFiles faults(0, std::errc::no_space_on_device, test::FailingFiles::Duration::ForGood,
                                  platform::FileOperation::Write);
        test::LogCapture capture;
        EXPECT_FALSE(save(store));
        capture.expect(3, "[STORE] can't write 'settings' in 'SOFTWARE\\Vendor'; No space left on device");
    }
    EXPECT_EQ(m_scratch.read(kFile), kPair);
    test::FailingFiles faults(0, std::errc::io_error, test::FailingFiles::Duration::ForGood,
                              platform::FileOperation::Read);
    test::LogCapture capture;
    EXPECT_FALSE(load(store));
    capture.expect(3, "[STORE] can't read 'settings' in 'SOFTWARE\\Vendor'; Input/output error");
}
