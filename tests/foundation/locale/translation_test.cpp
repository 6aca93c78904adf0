#include <qel/foundation/base/object.h>

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/locale/translation_p.h>
#include <qel/plugins/resource_locator.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>
#include <tests/support/threads.h>

#include <gtest/gtest.h>

#include <map>

namespace qel {
namespace {

using test::LogCapture;

class TextsInMemory : public ResourceProvider {
public:
    bool hasResource(SmartCStr name) override { return texts.count(name.c_str()) > 0; }
    bool loadResource(SmartCStr name, Buffer& buffer) override {
        if (!hasResource(name)) return false;
        buffer.set(ConstByteSpan::fromText(texts.at(name.c_str())));
        return true;
    }

    std::map<std::string, std::string> texts;
};

class Translation : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        m_provider = new TextsInMemory;
        system().getResourceLocator()->addResourceProvider(m_provider);
        system().setLanguage("de");
    }
    auto& texts() { return m_provider->texts; }
    static String apply(const String& text) { return text.applyTrOnlyControlCodes(nullptr); }
    static std::string repeated(size_t count, const char* text) {
        std::string all;
        while (count-- > 0) all += text;
        return all;
    }

private:
    TextsInMemory* m_provider = nullptr;
};

TEST_F(Translation, OwnLanguageComesBeforeEnglishAndEnglishBeforeNone) {
    LogCapture log;
    texts() = {{"tr-a.txt", "neutral"}};
    EXPECT_STREQ(Object::tr("a"), "neutral");
    texts()["tr-a.en.txt"] = "english";
    EXPECT_STREQ(Object::tr("a"), "neutral") << "cached";
    Object::clearTrCache();
    for (int call = 0; call < 2; ++call) EXPECT_STREQ(Object::tr("a"), "english");
    log.expect(2, "[TR] missing >de< translation of 'a', using >en< version"); // told once
    texts()["tr-a.de.txt"] = "deutsch";
    Object::clearTrCache();
    EXPECT_STREQ(Object::tr("a"), "deutsch");
    EXPECT_EQ(Object::tr_l("en", "a"), "english");
    EXPECT_EQ(Object::tr_l(nullptr, "b", nullptr) + Object::tr_l("de", "b", "fallback"), "fallback");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(Translation, AMissingTextIsToldOnceAndMarkedUntilNewResourcesBringIt) {
    LogCapture log;
    EXPECT_STREQ(Object::tr("a"), "NOTR:a");
    EXPECT_FALSE(Object::isTrValid("a"));
    EXPECT_STREQ(Object::tr("a", "fallback"), "fallback");
    log.expect(2, "[TR] missing translation of 'a'");
    EXPECT_EQ(apply("{tr:b}{tr:b}"), "NOTR:bNOTR:b");
    for (int piece = 0; piece < 2; ++piece) log.expect(2, "[TR] missing translation of 'b'");
    Object::clearTrCache();
    EXPECT_STREQ(Object::tr("a", "fallback"), "fallback");
    EXPECT_STREQ(Object::tr("a"), "NOTR:a") << "first tried quietly, so a later plain call is quiet too";
    auto* more = new TextsInMemory;
    more->texts["tr-a.txt"] = "here";
    system().getResourceLocator()->addResourceProvider(more);
    EXPECT_STREQ(Object::tr("a"), "here");
    texts()["tr-empty.txt"] = "";
    EXPECT_TRUE(Object::isTrValid("empty"));
    texts()["tr-empty.txt"] = "now";
    EXPECT_STREQ(Object::tr("empty"), "now") << "an empty text is looked for again";
}

TEST_F(Translation, PointersStayValidBesideOtherThreads) {
    for (int i = 0; i < 50; i++) texts()["tr-" + std::to_string(i) + ".txt"] = std::to_string(i);
    const char* first = Object::tr("0");
    test::onThreads(4, [](int) {
        for (int i = 0; i < 50; i++) EXPECT_EQ(Object::tr(std::to_string(i).c_str()), std::to_string(i));
    });
    EXPECT_EQ(Object::tr("0"), first);
}

// --- pieces in a text ---------------------------------------------------------------------------------

TEST_F(Translation, PiecesAreTheShortestOnOneLineAndMayHoldPiecesForSixteenRounds) {
    texts() = {{"tr-a.txt", "A"}, {"tr-.txt", "EMPTY"}, {"tr-b{tr:a.txt", "NESTED"}};
    EXPECT_EQ(apply("{ tr:a} {TR:a}{tr:a}}-{tr:}"), "{ tr:a} {TR:a}A}-EMPTY");
    EXPECT_EQ(apply("{tr:b{tr:a}{tr:a\n}{tr:a}{tr:\ra}{tr:a"), "NESTED{tr:a\n}A{tr:\ra}{tr:a");
    texts() = {{"tr-b.txt", "<{tr:c}>"}, {"tr-c.txt", "C"}, {"tr-self.txt", "x{tr:self}"}};
    EXPECT_EQ(apply("{tr:b}{tr:self}"), "<C>" + repeated(16, "x") + "{tr:self}");
}

TEST_F(Translation, ThePiecesOfOneTextAreCountedAndOpeningsWithoutAnEndAreLeft) {
    const std::string openings = repeated(262'144, "{tr:") + "\n{tr:";
    EXPECT_EQ(apply(openings), openings);
    texts()["tr-k.txt"] = "K";
    const std::string codes = repeated(internal::kMaximumTranslatedPieces, "{tr:k}");
    EXPECT_EQ(apply(codes), repeated(internal::kMaximumTranslatedPieces, "K"));
    LogCapture log;
    EXPECT_EQ(apply(codes + "{tr:k}"), codes + "{tr:k}");
    log.expect(
        3, "[TR] text with more than 1048576 translated pieces or 67108864 bytes of them, the rest is left");
}

TEST_F(Translation, TextsThatHoldEachOtherTwiceEnd) {
    for (int i = 0; i < 16; i++) {
        const std::string next = "{tr:" + std::to_string(i + 1) + "}";
        texts()["tr-" + std::to_string(i) + ".txt"] = next + next;
    }
    texts()["tr-grow.txt"] = std::string(1 << 20, 'x') + "{tr:grow}{tr:grow}";
    EXPECT_EQ(apply("{tr:0}").size(), 65'536 * std::string("{tr:16}").size()) << "sixteen rounds, and honest";
    LogCapture log;
    EXPECT_LT(apply("{tr:grow}").size(), internal::kMaximumTranslatedBytes);
    EXPECT_EQ(log.take().size(), 1u);
}

} // namespace
} // namespace qel
