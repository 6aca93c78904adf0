#include <qel/foundation/base/buffer.h>
#include <qel/plugins/resource_locator.h>
#include <qel/system/core/system.h>
#include <tests/support/late_provider.h>
#include <tests/support/shipped_fonts.h>
#include <tests/text/engine/allocation_count.h>
#include <tests/text/engine/text_fixture.h>

#include <gmock/gmock.h>

#include <cmath>

/// Returns the number of bytes that are allocated; null without a sanitizer.
extern "C" __attribute__((weak)) size_t __sanitizer_get_current_allocated_bytes();

namespace qel {
namespace {

using testing::ElementsAre;

class TextActorTest : public test::TextFixture {};

// --- alignment ------------------------------------------------------------------------------------------

TEST_F(TextActorTest, TextIsAlignedInItsBounds) {
    layOut("ab\nc"); // 12 by 20; glyphs from 1 to 18 vertically
    text->setBounds({100, 200, 150, 260});
    const struct {
        TextAlign align;
        float x, y;
    } kCases[] = {
        {TextAlign::Center, 119, 220},
        {TextAlign::Start, 100, 200},
        {TextAlign::End, 138, 240},
        {TextAlign::CenterInk, 138, 220.5f},
        {TextAlign::StartInk, 138, 199},
        {TextAlign::EndInk, 138, 242},
        {TextAlign::FollowCursor, 100, 240},
        {TextAlign::FollowCursorOrEnd, 138, 240},
        {static_cast<TextAlign>(77), 138, 240},
    };
    for (const auto& c : kCases) {
        text->setVerticalAlign(c.align);
        text->setHorizontalAlign(c.align);
        text->update();
        EXPECT_EQ(text->getPosition().y, c.y) << static_cast<int>(c.align);
        text->setVerticalAlign(TextAlign::Start);
        text->update();
        EXPECT_EQ(text->getPosition().x, c.x) << static_cast<int>(c.align);
    }
}

TEST_F(TextActorTest, LinesAreAlignedAmongEachOther) {
    layOutCodes("abcd{eol}{align:center}a{eol}{align:right}a{eol}{align:left}a{eol}{align:none}a");
    const auto places = [this] {
        std::vector<float> result;
        for (size_t i = 0; i < text->getLineCount(); ++i) result.push_back(text->getLine(i).x);
        return result;
    };
    EXPECT_THAT(places(), ElementsAre(0, 9, 18, 0, 0));
    text->setHorizontalAlign(TextAlign::Center);
    text->update();
    EXPECT_THAT(places(), ElementsAre(0, 9, 18, 0, 9));
    text->setHorizontalAlign(TextAlign::Start).setAlignToTotalWidth(true);
    text->update();
    EXPECT_THAT(places(), ElementsAre(0, 47, 94, 0, 0));
}

TEST_F(TextActorTest, LongLineFollowsTheCursor) {
    layOut("0123456789"); // 60 pixels
    text->setBounds({0, 0, 20, 10});
    const auto place = [this](int cursor, TextAlign align) {
        text->setCursor(cursor).setHorizontalAlign(align);
        text->update();
        return text->getPosition().x;
    };
    EXPECT_EQ(place(0, TextAlign::FollowCursor), 0);
    EXPECT_EQ(place(5, TextAlign::FollowCursor), -20);
    EXPECT_EQ(place(9, TextAlign::FollowCursor), -40);
    EXPECT_EQ(place(9, TextAlign::FollowCursorWithRoom), -44);
    EXPECT_EQ(place(9, TextAlign::FollowCursorOrEnd), -40);
    EXPECT_EQ(place(-1, TextAlign::FollowCursor), 0);
    EXPECT_EQ(place(-1, TextAlign::FollowCursorOrEnd), -40);
    text->setBounds({0, 0, 60, 10}); // the text fits
    EXPECT_EQ(place(9, TextAlign::FollowCursor), 0);
}

// --- cursor ---------------------------------------------------------------------------------------------

TEST_F(TextActorTest, CursorIsInFrontOfItsCharacter) {
    text->setBounds({100, 50, 200, 90});
    layOut("ab\ncd");
    EXPECT_TRUE(text->getCursorBounds().isEmpty());
    text->setCursor(4);
    EXPECT_EQ(text->getCursorBounds(), Rect(105, 60, 107, 70));
    EXPECT_EQ(text->getCursorRect(), Rect(5, 10, 7, 20));
    text->setCursor(5); // after the last character
    EXPECT_TRUE(text->getCursorBounds().isEmpty());
}

TEST_F(TextActorTest, NearestCharacterIsFound) {
    text->setBounds({100, 50, 200, 90});
    layOut("ab\ncd");
    EXPECT_EQ(text->findCursorPosition({0, 0}), 0);
    EXPECT_EQ(text->findCursorPosition({105, 55}), 1);
    EXPECT_EQ(text->findCursorPosition({500, 65}), 4);
    EXPECT_EQ(text->findCursorPosition({1200, 65}), -1);
    EXPECT_EQ(text->findCursorPosition({NAN, 65}), -1);
    EXPECT_EQ(text->findCursorPositionInLine({500, 55}), 1);
    EXPECT_EQ(text->findCursorPositionInLine({1200, 60}), 4);
    EXPECT_EQ(text->findCursorPositionInLine({100, 49}), -1);
    EXPECT_EQ(text->findCursorPositionInLine({100, NAN}), -1);
    layOut("");
    EXPECT_EQ(text->findCursorPosition({0, 0}), -1);
}

// --- when the lines are made --------------------------------------------------------------------------

class LateFont : public TextActorTest {
protected:
    void TearDown() override {
        TextActorTest::TearDown();
        Object::discardSingletons(); // the files of fonts
    }
};

TEST_F(LateFont, TextIsLaidOutAgainWhenTheFontOfACodeArrives) {
    const auto provider = makeObject<test::LateProvider>();
    system().getResourceLocator()->addResourceProvider(provider.get());
    layOutCodes("a{fontstyle:light}b");
    EXPECT_EQ(text->getActualSize().x, 6);
    provider->answer(test::shippedFont("font-roboto-light.ttf"));
    EXPECT_GT(text->getActualSize().x, 6);
}

TEST_F(TextActorTest, DestroyedTextsLeaveNothingBehind) {
    if (__sanitizer_get_current_allocated_bytes == nullptr) GTEST_SKIP() << "needs a sanitizer";
    const auto bare = makeObject<test::BareFont>(); // asks for a picture of each character
    const auto layOutTexts = [&] {
        for (int i = 0; i < 100; ++i) makeObject<TextActor>()->setFont(font.get()).setText("x").update();
        for (int i = 0; i < 100; ++i) bare->getCharacter('x');
    };
    layOutTexts();
    const size_t before = __sanitizer_get_current_allocated_bytes();
    layOutTexts();
    EXPECT_LT(__sanitizer_get_current_allocated_bytes(), before + 2000);
}

TEST_F(TextActorTest, FreeingCachesFreesTheLines) {
    layOut("abc");
    system().setDeadlineIn(1);
    clock.advanceMs(10);
    system().signalFreeCaches();
    EXPECT_EQ(text->getLineCount(), 1u);
    system().clearDeadline();
    system().signalFreeCaches();
    EXPECT_EQ(text->getLineCount(), 0u);
    EXPECT_EQ(text->getActualSize(), IVec2<int>(18, 10));
}

TEST_F(TextActorTest, TextListensToANewSystem) {
    layOut("abc");
    System::deinitialize();
    System::initialize({});
    layOut("abcd");
    system().signalFreeCaches();
    EXPECT_EQ(text->getLineCount(), 0u);
}

TEST_F(TextActorTest, LinesOutliveThePagesOfTheFont) {
    layOut("abc");
    const WeakPointer<Sprite> page(font->getPage(0));
    font->unload();
    EXPECT_EQ(text->getFragment(0).page, page.get());
    text->setText("d");
    text->update();
    EXPECT_EQ(page.get(), nullptr);
    EXPECT_EQ(text->getFragment(0).page, font->getPage(0));
}

TEST_F(TextActorTest, UnchangedTextIsNotLaidOutAgain) {
    text->setWordWrap(-1);
    layOut("abc def");
    font->lookups = 0;
    text->setText("abc def").setBounds({5, 6, 105, 106}).setHorizontalAlign(TextAlign::End);
    text->update();
    EXPECT_EQ(font->lookups, 0);
    EXPECT_EQ(text->getPosition(), IVec2<float>(65, 6));
    text->setCursor(1);
    text->update();
    EXPECT_NE(font->lookups, 0);
}

TEST_F(TextActorTest, PositionAndBoundsCostNoMemory) {
    if (!test::countsAllocations())
        GTEST_SKIP() << "the thread sanitizer has allocation operators of its own";
    for (const int wrap : {0, -1}) {
        text->setWordWrap(wrap);
        layOut("some words in several lines\nand so on");
        text->update();
        const size_t before = test::allocationCount();
        for (int i = 0; i < 10; ++i) {
            const auto x = static_cast<float>(i);
            text->setBounds({x, x, x + 100 + (wrap == 0 ? x : 0), x + 50});
            text->setHorizontalAlign(i % 2 == 0 ? TextAlign::Center : TextAlign::End);
            text->update();
        }
        EXPECT_EQ(test::allocationCount(), before) << wrap;
    }
}

TEST_F(TextActorTest, HooksDuringLayoutFindNothingToFree) {
    system().delegateRenderGlyph.connect([this](const IVec2<unsigned>&, unsigned, Image& image) {
        system().signalFreeCaches();
        text->update();
        image.initialize(RGBA8, {4, 4});
        return true;
    });
    const auto outline = makeObject<test::BareFont>();
    text->setFont(outline.get());
    layOut("abc");
    EXPECT_EQ(text->getLineCount(), 1u);
    EXPECT_EQ(quads().size(), 3u);
}

} // namespace
} // namespace qel
