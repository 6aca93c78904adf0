#include <qel/foundation/base/string.h>

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/string_id.h>

#include <tests/support/log_capture.h>
#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <atomic>
#include <type_traits>

using namespace qel;

static const char* const kNull = nullptr;

TEST(String, NullIsTheEmptyText) {
    String text = kNull;
    EXPECT_EQ(text, "");
    text = "x";
    text = kNull;
    EXPECT_EQ(text, "");
}

TEST(String, KeepsBytesUnchanged) {
    const std::string bytes("a\0\xFF", 3);
    const String text = bytes;
    EXPECT_EQ(text.to_std_string(), bytes);
    EXPECT_EQ(text.getConstByteSpan().asText(), bytes);
    EXPECT_EQ(text.getConstByteSpanWithNullTerminator().asText(), std::string_view("a\0\xFF\0", 4));
}

TEST(String, ConcatenatesTextsOfEveryKind) {
    const String sum = "<" + String("a") + std::string("b") + SmartCStr("c") + 'd' + nullptr + StringId("e");
    EXPECT_EQ(sum, "<abcde");
}

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

TEST(String, ComparesWithNullAsWithTheEmptyText) {
    EXPECT_TRUE(String() == kNull);
    EXPECT_TRUE(kNull == String());
    EXPECT_TRUE(String() == nullptr);
    EXPECT_TRUE(String("a") != kNull);
    EXPECT_TRUE(String("a") > kNull);
    EXPECT_FALSE(String() < kNull);
}

TEST(String, OrdersLiteralsByUnsignedBytes) {
    EXPECT_TRUE(String("a") < "\xE4");
    EXPECT_TRUE("a" < String("ab"));
    EXPECT_TRUE(String("ab") == "ab");
    EXPECT_TRUE(String("a\0", 2) != "a");
}

TEST(String, PutsSeparatorsOnlyBetweenTexts) {
    String list;
    for (const char* text : {"a", "", kNull, "b"}) list.append_separator(", ", text);
    list.append_separator(nullptr, "c");
    list.append_separator("-", list);
    EXPECT_EQ(list, "a, bc-a, bc");
}

/// The forms of String, SmartCStr and StringId that search for texts and characters.
template <typename Text>
class TextSearch : public testing::Test {
protected:
    const String m_owner = "study.dcm\n"; // a SmartCStr borrows
    const String m_emptyOwner = "";
    const Text m_text = Text(m_owner);
    const Text m_empty = Text(m_emptyOwner);
};
using SearchedTexts = testing::Types<String, SmartCStr, StringId>;
TYPED_TEST_SUITE(TextSearch, SearchedTexts);

TYPED_TEST(TextSearch, FindsTheBeginning) {
    EXPECT_TRUE(this->m_text.begins_with('s'));
    EXPECT_TRUE(this->m_text.begins_with("study"));
    EXPECT_TRUE(this->m_text.begins_with(nullptr));
    EXPECT_FALSE(this->m_text.begins_with('S'));
    EXPECT_FALSE(this->m_text.begins_with("study.dcm\n "));
    EXPECT_FALSE(this->m_empty.begins_with('s'));
}

TYPED_TEST(TextSearch, FindsTheEnd) {
    EXPECT_TRUE(this->m_text.ends_with('\n'));
    EXPECT_TRUE(this->m_text.ends_with("dcm\n"));
    EXPECT_FALSE(this->m_text.ends_with('m'));
    EXPECT_FALSE(this->m_empty.ends_with('\n'));
}

TYPED_TEST(TextSearch, FindsCharactersAndTextsInside) {
    EXPECT_TRUE(this->m_text.contains('.'));
    EXPECT_TRUE(this->m_text.contains("y.d"));
    EXPECT_FALSE(this->m_text.contains('D'));
    EXPECT_FALSE(this->m_text.contains('\0'));
    EXPECT_FALSE(this->m_empty.contains('.'));
}

/// The texts that convert to bool.
template <typename Text>
class TextAsBool : public TextSearch<Text> {};
using BoolTexts = testing::Types<SmartCStr, StringId>;
TYPED_TEST_SUITE(TextAsBool, BoolTexts);

TYPED_TEST(TextAsBool, IsFalseOnlyIfEmpty) {
    for (const auto& [text, expected] : {std::pair(this->m_text, true), {this->m_empty, false}}) {
        const bool initialised = text;
        EXPECT_EQ(initialised, expected);
        EXPECT_EQ(!text, !expected);
    }
}

TEST(SmartCStr, ConvertsToNoOtherNumberThanBool) {
    static_assert(!std::is_convertible_v<SmartCStr, int>);
    static_assert(!std::is_convertible_v<StringId, char>);
    static_assert(std::is_convertible_v<StringId, const char*>);
}

TEST(SmartCStr, IsNeverNull) {
    const SmartCStr text(kNull);
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.size(), 0u);
    EXPECT_TRUE(text == nullptr);
    EXPECT_TRUE(text.empty());
}

TEST(SmartCStr, EndsAtTheFirstNul) {
    EXPECT_EQ(SmartCStr(std::string("a\0b", 3)).size(), 1u);
    EXPECT_NE(SmartCStr("a"), std::string("a\0", 2));
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

TEST(String, TrimsOnlyWhatEachFormNames) {
    EXPECT_EQ(String("  \ta b\n  ").trim_spaces(), "\ta b\n");
    EXPECT_EQ(String(" \r\n a b\t\n ").trim_spaces_newlines(), "a b\t");
    EXPECT_EQ(String("0010").trim_leading_zeros(), "10");
    EXPECT_EQ(String("000").trim_leading_zeros(), "");
}

TEST(String, HashIsFnvIn64Bits) {
    EXPECT_EQ(String().hash(), 0x811C9DC5u);
    EXPECT_EQ(String("\xFF").hash(), (uint64(0x811C9DC5) ^ 0xFF) * 0x1000193);
    EXPECT_EQ(String("ab").hash(), (String("a").hash() ^ 'b') * 0x1000193);
}

TEST(String, ValidatesMailAddresses) {
    for (const char* good : {"a@b.c", "a@@b.c", "@@b.c", "a@b.c.", "a b@c d.e", "ä@.x.y"})
        EXPECT_TRUE(String(good).validate(0)) << good;
    for (const char* bad : {"", "a", "@b.c", "a@.c", "a@b.", "a@bc", "a.b@c", "a@b.c\n", "@a.b"})
        EXPECT_FALSE(String(bad).validate(0)) << bad;
}

TEST(String, ValidatesTelephoneNumbersUpTo512Bytes) {
    for (const String& good : {String("+49 (0)30/12-34"), String(512, '1')}) EXPECT_TRUE(good.validate(1));
    for (const String& bad : {String("12a"), String(), String(513, '1')}) EXPECT_FALSE(bad.validate(1));
    EXPECT_FALSE(String("1").validate(2)) << "no such kind";
}

TEST(String, HexDumpPadsItsLastLine) {
    const String bytes = std::string("0123456789abcdef\x00\xFFz", 19);
    EXPECT_EQ(String::createHexDumpFromBuffer(bytes.getConstByteSpan()),
              "00000000: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 0123456789abcdef\n"
              "00000010: 00 FF 7A                                        ..z\n");
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

TEST(StringId, EqualTextsShareOneElement) {
    const std::string bytes("a\0b", 3);
    const StringId id = bytes;
    EXPECT_EQ(id.c_str(), StringId(String(bytes)).c_str());
    EXPECT_EQ(id.string().to_std_string(), bytes);
}

TEST(StringId, AssignsFromItsOwnText) {
    StringId id = "only one holds me";
    id.assign(id.c_str() + 5);
    EXPECT_EQ(id, "one holds me");
}

TEST(StringId, EmptyTextsTakeNoElement) {
    const unsigned before = internal::g_stringPool.getNumberOfStrings();
    StringId moved = "moved away";
    const StringId other = std::move(moved);
    for (const StringId& empty : {moved, StringId(""), StringId("x", 0), StringId(kNull)}) {
        EXPECT_TRUE(empty.empty());
        EXPECT_EQ(empty, StringId());
        EXPECT_STREQ(empty.c_str(), "");
    }
    EXPECT_EQ(internal::g_stringPool.getNumberOfStrings(), before + 1);
}

TEST(StringId, ComparesAsBytesWithOtherTexts) {
    const StringId id = "ab";
    EXPECT_TRUE("ab" == id);
    EXPECT_TRUE(id == String("ab"));
    EXPECT_TRUE(id != String("abc"));
    EXPECT_TRUE(id < String("abc"));
    EXPECT_TRUE(id < StringId("abc"));
    EXPECT_TRUE(StringId() < id);
    EXPECT_TRUE(id < "\xE4");
    EXPECT_TRUE(SmartCStr("aa") < id);
    EXPECT_TRUE(id != kNull);
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

TEST(StringPool, StatisticsLeaveOutDyingElements) {
    ScratchPool pool;
    for (const char* text : {"shared", "shared", "shared", "x"}) allocate(pool, text);
    allocate(pool, "dying")->referenceCount = 0;
    test::LogCapture log;
    pool.printStats();
    log.expect(1, "StringId Stats numberOfHashes=2, numberOfStrings=2, numberOfStringRefs=4, "
                  "numberOfTotalBytes=7, numberOfBytesSaved=12");
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
