#include <qel/foundation/base/object.h>

#include <qel/foundation/base/string.h>
#include <qel/foundation/locale/markup_expansion.h>
#include <qel/plugins/resource_locator.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>
#include <tests/support/threads.h>

namespace qel {
namespace {

using test::LogCapture;

class Translation : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        system().getResourceLocator()->addResourceDirectory(m_folder.path());
        system().setLanguage("de");
    }
    void put(const std::string& code, const std::string& text) {
        m_folder.write("tr-" + code + ".txt", text);
    }
    static String apply(const String& text) { return text.applyTrOnlyControlCodes(nullptr); }
    static std::string repeated(size_t count, const char* text) {
        std::string all;
        while (count-- > 0) all += text;
        return all;
    }

private:
    test::ScratchFolder m_folder;
};

TEST_F(Translation, LanguageComesBeforeEnglishBeforeNeutral) {
    LogCapture log;
    put("a", "neutral");
    EXPECT_STREQ(Object::tr("a"), "neutral");
    put("a.en", "english");
    EXPECT_STREQ(Object::tr("a"), "neutral") << "cached";
    Object::clearTrCache();
    for (int call = 0; call < 2; ++call) EXPECT_STREQ(Object::tr("a"), "english");
    log.expect(2, "[TR] missing >de< translation of 'a', using >en< version"); // logged once
    put("a.de", "deutsch");
    Object::clearTrCache();
    EXPECT_STREQ(Object::tr("a"), "deutsch");
    EXPECT_EQ(Object::tr_l("en", "a"), "english");
    EXPECT_EQ(Object::tr_l(nullptr, "b", nullptr) + Object::tr_l("de", "b", "fallback"), "fallback");
}

TEST_F(Translation, MissingTextIsReportedOnceUntilAdded) {
    LogCapture log;
    EXPECT_STREQ(Object::tr("a"), "NOTR:a");
    EXPECT_FALSE(Object::isTrValid("a"));
    EXPECT_STREQ(Object::tr("a", "fallback"), "fallback");
    log.expect(2, "[TR] missing translation of 'a'");
    const test::ScratchFolder more;
    more.write("tr-a.txt", "here");
    system().getResourceLocator()->addResourceDirectory(more.path());
    EXPECT_STREQ(Object::tr("a"), "here");
}

TEST_F(Translation, PointersStayValidWhileOtherThreadsTranslate) {
    for (int i = 0; i < 50; i++) put(std::to_string(i), std::to_string(i));
    const char* first = Object::tr("0");
    test::onThreads(4, [](int) {
        for (int i = 0; i < 50; i++) EXPECT_EQ(Object::tr(std::to_string(i).c_str()), std::to_string(i));
    });
    EXPECT_EQ(Object::tr("0"), first);
}

// --- pieces in a text ----------------------------------------------------------------------------------

TEST_F(Translation, PiecesAreReplacedForSixteenRounds) {
    const std::pair<const char*, const char*> texts[] = {{"a", "A"},           {"", "EMPTY"},
                                                         {"b{tr:a", "NESTED"}, {"b", "<{tr:c}>"},
                                                         {"c", "C"},           {"self", "x{tr:self}"}};
    for (const auto& [code, text] : texts) put(code, text);
    EXPECT_EQ(apply("{ tr:a} {TR:a}{tr:a}}-{tr:}"), "{ tr:a} {TR:a}A}-EMPTY");
    EXPECT_EQ(apply("{tr:b{tr:a}{tr:a\n}{tr:a}{tr:\ra}{tr:a"), "NESTED{tr:a\n}A{tr:\ra}{tr:a");
    EXPECT_EQ(apply("{tr:b}{tr:self}"), "<C>" + repeated(16, "x") + "{tr:self}");
}

TEST_F(Translation, RecursiveTranslationsEnd) {
    put("twice", "{tr:twice}{tr:twice}");
    EXPECT_EQ(apply("{tr:twice}").size(), 65'536 * std::string("{tr:twice}").size());
    put("grow", std::string(1 << 20, 'x') + "{tr:grow}{tr:grow}");
    LogCapture log;
    EXPECT_LT(apply("{tr:grow}").size(), internal::kMaximumTranslatedBytes);
    EXPECT_EQ(log.take().size(), 1u);
}

} // namespace
} // namespace qel
