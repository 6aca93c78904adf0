#include <qel/foundation/base/string.h>

#include <qel/foundation/base/string_id.h>

#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <atomic>

using namespace qel;

static const char* const kNull = nullptr;

TEST(String, ConcatenationKeepsNulBytes) {
    const std::string bytes("a\0b", 3);
    const String text = bytes;
    const StringId id = bytes;
    const std::string twice = bytes + bytes;
    String appended = text;
    appended += id;
    const std::pair<String, const char*> sums[] = {{text + id, "text + id"}, {id + text, "id + text"},
                                                   {id + id, "id + id"},     {id + bytes, "id + std"},
                                                   {bytes + id, "std + id"}, {appended, "text += id"}};
    for (const auto& [sum, name] : sums) EXPECT_EQ(sum.to_std_string(), twice) << name;
}

TEST(String, AppendingNullChangesNothing) {
    String text = "a";
    text += kNull;
    text += nullptr;
    text += "b";
    text += text.c_str();
    EXPECT_EQ(text, "abab");
}

TEST(SmartCStr, IsNeverNull) {
    const SmartCStr text(kNull);
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.size(), 0u);
    EXPECT_TRUE(text == nullptr);
    EXPECT_TRUE(text.empty());
}

TEST(SmartCStr, DoesNotStepPastItsEnd) {
    SmartCStr text = "ab";
    EXPECT_EQ(text.substr(1000), "");
    EXPECT_EQ(text++, "ab");
    EXPECT_EQ(text++, "b");
    EXPECT_EQ(++text, "");
}

TEST(String, ReplaceAllDoesNotSearchReplacements) {
    String text = "aXbXX";
    EXPECT_EQ(text.replace_all("X", "XX"), 3u);
    EXPECT_EQ(text.replace_all("", "y"), 0u);
    EXPECT_EQ(text.replace_all(text, text), 1u);
    EXPECT_EQ(text, "aXXbXXXX");
}

TEST(String, SplitKeepsEmptyPieces) {
    EXPECT_EQ(String(",a,,b,").split(','), (Vector<String>{"", "a", "", "b", ""}));
    EXPECT_TRUE(String().split(',').empty());
    Vector<String> pieces = {"old"};
    String("a::b::").splitByString(pieces, "::");
    EXPECT_EQ(pieces, (Vector<String>{"a", "b", ""}));
    pieces[0].splitByString(pieces, "");
    EXPECT_EQ(pieces, Vector<String>{"a"});
}

TEST(String, HashIsFnvIn64Bits) {
    EXPECT_EQ(String().hash(), 0x811C9DC5u);
    EXPECT_EQ(String("\xFF").hash(), (uint64(0x811C9DC5) ^ 0xFF) * 0x1000193);
    EXPECT_EQ(String("ab").hash(), (String("a").hash() ^ 'b') * 0x1000193);
}

TEST(NaturalCompare, ComparesNumbersByValueAndBytesUnsigned) {
    const String longRun(100'000, '9');
    const std::tuple<String, String, int> cases[] = {{"a007", "a7", 0},
                                                     {"a7b", "a07c", -1},
                                                     {"5", "105", -100},
                                                     {"a1", "a ", -1},
                                                     {"a0", "a", 1},
                                                     {"a", "B", 'a' - 'B'},
                                                     {"\xC3\xA4", "z", 0xC3 - 'z'},
                                                     {"4294967297", "1", 0},
                                                     {"2147483647", "0", 2147483647},
                                                     {longRun, longRun, 0}};
    for (const auto& [a, b, order] : cases) EXPECT_EQ(String::natural_compare(a, b), order) << a << " " << b;
    EXPECT_GT(String::natural_compare("4294967295", "0"), 0);
    EXPECT_LT(String::natural_compare("0", "4294967295"), 0);
}

TEST(StringId, AssignsFromItsOwnText) {
    StringId id = "only one holds me";
    id.assign(id.c_str() + 5);
    EXPECT_EQ(id, "one holds me");
}

/// A pool that frees its elements, unlike the one of the process.
class ScratchPool : public StringPool {
public:
    ~ScratchPool() { clear(); }
};

static StringElement* allocate(StringPool& pool, const String& text) {
    return pool.allocate(text.data(), text.size(), text.hash());
}

TEST(StringPool, KeepsAnElementInUseAndReplacesADyingOne) {
    ScratchPool pool;
    StringElement* element = allocate(pool, "x");
    EXPECT_EQ(allocate(pool, "x"), element);
    pool.release(element);
    EXPECT_EQ(pool.getNumberOfStrings(), 1u);
    element->referenceCount = 0; // its last holder is about to call release()
    StringElement* fresh = allocate(pool, "x");
    EXPECT_NE(fresh, element);
    pool.release(element);
    EXPECT_EQ(pool.getNumberOfStrings(), 1u);
    EXPECT_EQ(allocate(pool, "x"), fresh);
}

TEST(StringPool, DistinguishesTextsWithTheSameHash) {
    ScratchPool pool;
    EXPECT_NE(pool.allocate("a", 1, 77), pool.allocate("b", 1, 77));
}

TEST(StringPool, FindsAllElementsAfterRemovals) {
    ScratchPool pool;
    std::vector<StringElement*> elements;
    for (int i = 0; i < 5000; ++i) elements.push_back(allocate(pool, std::to_string(i)));
    for (int i = 0; i < 5000; i += 3) {
        elements[i]->referenceCount = 0;
        pool.release(elements[i]);
    }
    EXPECT_EQ(pool.getNumberOfStrings(), 5000u - 1667u);
    for (int i = 1; i < 5000; i += 1 + (i % 3) / 2)
        ASSERT_EQ(allocate(pool, std::to_string(i)), elements[i]) << i;
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
