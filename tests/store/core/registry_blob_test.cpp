#include <qel/store/core/memory_store.h>
#include <qel/testing/machine.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/store_dump.h>

#include <gtest/gtest.h>

using namespace qel;

TEST(RegistryBlob, LoadsTheEntriesBeforeDamage) {
    const test::ScratchFolder scratch;
    seams::setRegistryFolder(scratch.path());
    MemoryStore store, loaded;
    EXPECT_FALSE(MemoryStore::loadFromWindowsRegistry(&loaded, "A\\B", "c"));
    store.set("b", 7);
    store.set("a", 5);
    EXPECT_TRUE(MemoryStore::saveToWindowsRegistry(&store, "A\\B", "c"));
    const std::string bytes = scratch.read("A/B/c.value");
    EXPECT_EQ(String(bytes).encodeBase16(), "090300000003610009020000000805090300000003620009020000000807");
    scratch.write("A/B/c.value", bytes.substr(0, 29));
    test::LogCapture capture;
    EXPECT_TRUE(MemoryStore::loadFromWindowsRegistry(&loaded, "A\\B", "c"));
    EXPECT_EQ(test::contentOf(loaded), "036100=0805 ");
    capture.expect(3, "[STORE] 'c' in 'A\\B' is damaged, loading the part before the damage");
    seams::setRegistryFolder({});
}
