#include <qel/foundation/base/string_id.h>

#include <tests/support/log_capture.h>
#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <atomic>

namespace qel {
namespace {

TEST(StringId, EmptyTextsAreNullAndNeverInterned) {
    const unsigned before = internal::g_stringPool.getNumberOfStrings();
    const char* null = nullptr;
    for (const StringId& empty : {StringId(), StringId(""), StringId(null), StringId("x", 0)}) {
        EXPECT_TRUE(empty.empty() && !empty && empty == StringId());
        EXPECT_STREQ(empty.c_str(), "");
        EXPECT_EQ(empty.hash(), String().hash());
    }
    EXPECT_EQ(internal::g_stringPool.getNumberOfStrings(), before);
}

TEST(StringId, EqualTextsShareOneElementWithTheirNulBytesAndMayComeFromTheirOwnId) {
    const std::string bytes("a\0b", 3);
    const StringId id = bytes;
    EXPECT_EQ(id.c_str(), StringId(String(bytes)).c_str());
    EXPECT_EQ(id.hash(), String(bytes).hash());
    EXPECT_EQ(id, bytes);
    StringId single = "only one holds me";
    single.assign(single.c_str() + 5);
    const StringId other = std::move(single);
    EXPECT_TRUE(single.empty() && other == "one holds me");
}

TEST(StringId, ComparesAsBytesWithOtherTexts) {
    const StringId id = "ab";
    const String longer = "abc";
    EXPECT_TRUE(id < longer && longer > id && id == "ab" && "ab" == id && id == String("ab") && id != longer);
    EXPECT_TRUE(id < StringId("abc") && StringId() < id && id < "\xE4" && SmartCStr("aa") < id);
    EXPECT_TRUE(StringId() == nullptr && id != nullptr);
    EXPECT_EQ("<" + id + SmartCStr(">") + String("!"), "<ab>!");
}

StringElement* allocate(StringPool& pool, const String& text) {
    return pool.allocate(text.data(), text.size(), text.hash());
}

TEST(StringPool, AnElementInUseStaysAndADyingOneIsReplacedNotRevived) {
    StringPool pool;
    StringElement* element = allocate(pool, "x");
    EXPECT_EQ(allocate(pool, "x"), element);
    EXPECT_EQ(element->referenceCount, 2u);
    pool.release(element);
    EXPECT_EQ(pool.getNumberOfStrings(), 1u);
    element->referenceCount = 0; // its last holder is on the way to release()
    StringElement* fresh = allocate(pool, "x");
    EXPECT_NE(fresh, element);
    pool.release(element);
    EXPECT_EQ(pool.getNumberOfStrings(), 1u);
    EXPECT_EQ(allocate(pool, "x"), fresh);
}

TEST(StringPool, FindsEverythingAfterRemovalsAndTellsTextsWithOneHashApart) {
    StringPool pool;
    EXPECT_NE(pool.allocate("a", 1, 77), pool.allocate("b", 1, 77));
    std::vector<StringElement*> elements;
    for (int i = 0; i < 5000; ++i) elements.push_back(allocate(pool, std::to_string(i)));
    for (int i = 0; i < 5000; i += 3) {
        elements[i]->referenceCount = 0;
        pool.release(elements[i]);
    }
    EXPECT_EQ(pool.getNumberOfStrings(), 2 + 5000u - 1667u);
    for (int i = 0; i < 5000; ++i) {
        const bool isFound = allocate(pool, std::to_string(i)) == elements[i];
        ASSERT_TRUE(isFound || i % 3 == 0) << i;
    }
}

TEST(StringPool, PrintsItsFiguresInOneLine) {
    StringPool pool;
    pool.allocate("abc", 3, 77);
    pool.allocate("abc", 3, 77);
    pool.allocate("x", 1, 77 + 0x10000);
    pool.allocate("y", 1, 78);
    test::LogCapture capture;
    pool.printStats();
    capture.expect(1, "StringId Stats numberOfHashes=2, numberOfStrings=3, numberOfStringRefs=4, "
                      "numberOfTotalBytes=5, numberOfBytesSaved=3");
}

TEST(StringPool, ThreadsMayInternCopyAndDropTheSameTexts) {
    const unsigned before = internal::g_stringPool.getNumberOfStrings();
    std::atomic<int> wrong{0};
    test::onThreads(4, [&wrong](int thread) {
        StringId kept;
        for (int i = 0; i < 20000; ++i) {
            const String text = "contended " + String(std::to_string(i % 7));
            const StringId id = text;
            if (i % (5 + thread) == 0) kept = id;
            if (id != text || StringId(text) != id || kept.empty()) ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(internal::g_stringPool.getNumberOfStrings(), before);
}

} // namespace
} // namespace qel
