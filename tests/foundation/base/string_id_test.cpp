#include <qel/foundation/base/string_id.h>

#include <tests/support/log_capture.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <unordered_map>

namespace qel {
namespace {

TEST(StringId, EmptyTextsAreNullAndNeverInterned) {
    const unsigned before = internal::g_stringPool.getNumberOfStrings();
    const char* null = nullptr;
    for (const StringId& empty :
         {StringId(), StringId(""), StringId(null), StringId(String()), StringId("x", 0)}) {
        EXPECT_TRUE(empty.empty());
        EXPECT_FALSE(empty);
        EXPECT_STREQ(empty.c_str(), "");
        EXPECT_EQ(empty, StringId());
        EXPECT_EQ(empty.hash(), String().hash());
    }
    EXPECT_EQ(internal::g_stringPool.getNumberOfStrings(), before);
}

TEST(StringId, EqualTextsShareOneElement) {
    const StringId a = "shared text";
    const StringId b = String("shared text");
    EXPECT_EQ(a.c_str(), b.c_str());
    EXPECT_EQ(a, b);
    EXPECT_NE(a, StringId("other text"));
    EXPECT_EQ(a.hash(), String("shared text").hash());
}

TEST(StringId, KeepsNulBytes) {
    const std::string bytes("a\0b", 3);
    const StringId id = bytes;
    EXPECT_EQ(id.size(), 3u);
    EXPECT_NE(id, StringId("a"));
    EXPECT_EQ(String(id), bytes);
    EXPECT_EQ(id, bytes);
}

TEST(StringId, ComparesAsBytesWithOtherTexts) {
    const StringId id = "ab";
    const String longer = "abc";
    EXPECT_TRUE(id < longer && longer > id && id == "ab" && "ab" == id && id == String("ab") && id != longer);
    EXPECT_TRUE(id < StringId("abc") && StringId() < id && id < "\xE4" && SmartCStr("aa") < id);
    EXPECT_TRUE(StringId() == nullptr && id != nullptr);
}

TEST(StringId, ForwardsReadingToTheText) {
    const StringId id = " 007{ä ";
    EXPECT_TRUE(id.begins_with(" 0") && id.ends_with("ä ") && id.contains("7{"));
    EXPECT_EQ(id.find_first_of("{7"), 3u);
    EXPECT_EQ(id.trim_spaces(), "007{ä");
    EXPECT_EQ(StringId("007").trim_leading_zeros(), "7");
    EXPECT_EQ(id.substr(1, 3), "007");
    EXPECT_EQ(StringId("\xE4").utf8_fix(), "ä");
    EXPECT_EQ(StringId("ÄB").utf8_lowercase(), "äb");
    const auto sum = "<" + id + SmartCStr(">") + String("!");
    static_assert(std::is_same_v<decltype(sum), const String>);
    EXPECT_EQ(sum, "< 007{ä >!");
}

TEST(StringId, AssignFromItsOwnTextIsSafe) {
    StringId id = "only one holds me";
    id.assign(id.c_str());
    EXPECT_EQ(id, "only one holds me");
    id.assign(id.c_str() + 5);
    EXPECT_EQ(id, "one holds me");
    StringId other = std::move(id);
    EXPECT_TRUE(id.empty());
    EXPECT_EQ(other, "one holds me");
}

TEST(StringId, IsAKeyOfUnorderedContainers) {
    const std::unordered_map<StringId, int> map = {{"a", 1}, {"b", 2}};
    EXPECT_EQ(map.at("b"), 2);
}

TEST(StringPool, CountsReferencesOfOneElement) {
    StringPool pool;
    const String text = "pooled";
    StringElement* first = pool.allocate(text.data(), text.size(), text.hash());
    StringElement* second = pool.allocate(text.data(), text.size(), text.hash());
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->referenceCount, 2u);
    pool.release(first); // has no effect on an element that is in use
    EXPECT_EQ(pool.getNumberOfStrings(), 1u);
    first->referenceCount = 0;
    pool.release(first);
    EXPECT_EQ(pool.getNumberOfStrings(), 0u);
}

TEST(StringPool, TextsWithOneHashStayApart) {
    StringPool pool;
    StringElement* a = pool.allocate("a", 1, 77);
    StringElement* b = pool.allocate("b", 1, 77);
    EXPECT_NE(a, b);
    EXPECT_EQ(pool.allocate("b", 1, 77), b);
}

TEST(StringPool, ADyingElementIsReplacedNotRevived) {
    StringPool pool;
    StringElement* dying = pool.allocate("x", 1, 5);
    dying->referenceCount = 0; // its last holder is on the way to release()
    StringElement* fresh = pool.allocate("x", 1, 5);
    EXPECT_NE(fresh, dying);
    pool.release(dying);
    EXPECT_EQ(pool.allocate("x", 1, 5), fresh);
}

TEST(StringPool, FindsEverythingAfterAnyOrderOfRemovals) {
    StringPool pool;
    std::vector<StringElement*> elements;
    const auto nameOf = [](int i) { return String("name " + std::to_string(i)); };
    const auto allocate = [&](const String& name) {
        return pool.allocate(name.data(), name.size(), name.hash());
    };
    for (int i = 0; i < 5000; ++i) elements.push_back(allocate(nameOf(i)));
    for (int i = 0; i < 5000; i += 3) {
        elements[i]->referenceCount = 0;
        pool.release(elements[i]);
    }
    EXPECT_EQ(pool.getNumberOfStrings(), 5000u - 1667u);
    for (int i = 0; i < 5000; ++i) {
        if (i % 3 != 0) ASSERT_EQ(allocate(nameOf(i)), elements[i]);
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
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&wrong, t] {
            StringId kept;
            for (int i = 0; i < kRounds; ++i) {
                const String text = "contended " + String(std::to_string(i % 7));
                const StringId id = text;
                if (i % (5 + t) == 0) kept = id;
                if (id != text || StringId(text) != id || kept.empty()) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(internal::g_stringPool.getNumberOfStrings(), before);
}

} // namespace
} // namespace qel
