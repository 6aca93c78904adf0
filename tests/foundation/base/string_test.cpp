#include <qel/foundation/base/string.h>

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/string_id.h>

#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <atomic>

using namespace qel;

TEST(String, TakesNullAsTheEmptyTextAndAllOthersByteByByte) {
    const char* null = nullptr;
    String text = null;
    EXPECT_EQ(text, "");
    text = std::string("a\0\xFF", 3);
    EXPECT_EQ(text.to_std_string(), std::string("a\0\xFF", 3));
    EXPECT_EQ(text.getConstByteSpanWithNullTerminator().asText(), std::string_view("a\0\xFF\0", 4));
    const String sum = "<" + String("a") + std::string("b") + SmartCStr("c") + 'd' + nullptr;
    EXPECT_EQ(sum, "<abcd");
}

TEST(String, SeparatorStandsOnlyBetweenTexts) {
    String list;
    for (const char* text : {"a", "", static_cast<const char*>(nullptr), "b"})
        list.append_separator(", ", text);
    list.append_separator(nullptr, "c");
    list.append_separator("-", list);
    EXPECT_EQ(list, "a, bc-a, bc");
}

TEST(String, EndsAndContentsAreFoundByTextAndCharacter) {
    const String text = "study.dcm\n";
    const SmartCStr view = text;
    EXPECT_TRUE(view.begins_with('s') && view.ends_with('\n') && text.begins_with(nullptr));
    EXPECT_FALSE(text.begins_with("Study") || view.begins_with("study.dcm\n ") || view.contains('\0'));
    EXPECT_TRUE(text.ends_with_newline() && String("a\r").ends_with_newline());
    EXPECT_FALSE(String().ends_with_newline() || SmartCStr().ends_with('q'));
}

TEST(SmartCStr, IsNeverNullComparesTextsWhateverTheirKindAndStopsAtTheEnd) {
    SmartCStr text(static_cast<const char*>(nullptr));
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_TRUE(text == nullptr && text.empty() && !text);
    EXPECT_EQ(SmartCStr(std::string("a\0b", 3)).size(), 1u);
    EXPECT_LT(SmartCStr("a"), SmartCStr("\xE4"));
    EXPECT_NE(SmartCStr("a"), std::string("a\0", 2));
    text = "ab";
    EXPECT_EQ(text.substr(1000), "");
    EXPECT_EQ(text++, "ab");
    EXPECT_EQ(text++, "b");
    EXPECT_EQ(++text, "");
}

TEST(String, ReplaceAllCountsAndDoesNotLookIntoWhatItPutIn) {
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
    EXPECT_EQ(String("  \ta b\n  ").trim_spaces() + String(" \r\n a b\t\n ").trim_spaces_newlines(),
              "\ta b\na b\t");
    EXPECT_EQ(String("0010").trim_leading_zeros() + String("000").trim_leading_zeros(), "10");
}

TEST(String, HashIsFnvOfUnsignedBytesWithoutACutTo32Bits) {
    EXPECT_EQ(String("\xFF").hash(), (uint64(0x811C9DC5) ^ 0xFF) * 0x1000193);
    EXPECT_EQ(String("ab").hash(), (String("a").hash() ^ 'b') * 0x1000193);
}

TEST(String, ValidateTellsMailAddressesAndTelephoneNumbersUpTo512Bytes) {
    for (const char* good : {"a@b.c", "a@@b.c", "@@b.c", "a@b.c.", "a b@c d.e", "ä@.x.y"})
        EXPECT_TRUE(String(good).validate(0)) << good;
    for (const char* bad : {"", "a", "@b.c", "a@.c", "a@b.", "a@bc", "a.b@c", "a@b.c\n", "@a.b"})
        EXPECT_FALSE(String(bad).validate(0)) << bad;
    for (const String& good : {String("+49 (0)30/12-34"), String(512, '1')}) EXPECT_TRUE(good.validate(1));
    for (const String& bad : {String("12a"), String(), String(513, '1')}) EXPECT_FALSE(bad.validate(1));
    EXPECT_FALSE(String("1").validate(2));
}

TEST(String, HexDumpPadsItsLastLine) {
    const String bytes = std::string("0123456789abcdef\x00\xFFz", 19);
    EXPECT_EQ(String::createHexDumpFromBuffer(bytes.getConstByteSpan()),
              "00000000: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66 0123456789abcdef\n"
              "00000010: 00 FF 7A                                        ..z\n");
}

TEST(NaturalCompare, NumbersCompareByWrappedValueBeforeAnythingElseAndBytesUnsignedAndWithCase) {
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

TEST(StringId, EqualTextsShareOneElementWithTheirNulBytesAndEmptyOnesNone) {
    const std::string bytes("a\0b", 3);
    const StringId id = bytes;
    EXPECT_EQ(id.c_str(), StringId(String(bytes)).c_str());
    StringId single = "only one holds me";
    const unsigned before = internal::g_stringPool.getNumberOfStrings();
    single.assign(single.c_str() + 5);
    const StringId other = std::move(single);
    EXPECT_EQ(other, "one holds me");
    for (const StringId& empty : {single, StringId(""), StringId("x", 0)}) {
        EXPECT_TRUE(empty.empty() && !empty && empty == StringId());
        EXPECT_STREQ(empty.c_str(), "");
    }
    EXPECT_EQ(internal::g_stringPool.getNumberOfStrings(), before);
}

TEST(StringId, ComparesAsBytesWithOtherTexts) {
    const StringId id = "ab";
    EXPECT_TRUE("ab" == id && id == String("ab") && id != String("abc") && id < String("abc"));
    EXPECT_TRUE(id < StringId("abc") && StringId() < id && id < "\xE4" && SmartCStr("aa") < id);
    EXPECT_EQ("<" + id + SmartCStr(">") + String("!"), "<ab>!");
}

static StringElement* allocate(StringPool& pool, const String& text) {
    return pool.allocate(text.data(), text.size(), text.hash());
}

TEST(StringPool, AnElementInUseStaysAndADyingOneIsReplacedNotRevived) {
    StringPool pool;
    StringElement* element = allocate(pool, "x");
    EXPECT_EQ(allocate(pool, "x"), element);
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
    for (int i = 0; i < 5000; ++i)
        ASSERT_TRUE(i % 3 == 0 || allocate(pool, std::to_string(i)) == elements[i]) << i;
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
