// Which rule answers a question.
#include "style_fixture.h"

namespace qel {
namespace {

using test::LogCapture;

class StyleLookup : public test::StyleFixture {};

TEST_F(StyleLookup, DerivedClassesAndLaterRulesWin) {
    EXPECT_EQ(lengthIn("Button{width:3px}Actor{width:2px}Object{width:1px}"), 3);
    EXPECT_EQ(lengthIn("Actor{width:2px}Object{width:1px}Text{width:3px}button{width:4px}"), 2);
    EXPECT_EQ(lengthIn("Button{width:1px}Button{width:2px;width:1px 2px}"), 1) << "the last one is unusable";
    EXPECT_EQ(lengthIn("Button{width:1px;width:2px;WIDTH:3px}"), 3);
    EXPECT_EQ(lengthIn("Button{width:1px}#b{width:2px}", {"b"}), 2);
    EXPECT_EQ(lengthIn("#b{width:1px}Button{width:2px}", {"b"}), 2);
}

TEST_F(StyleLookup, AllPartsMustMatch) {
    const char* const css = "Button#i::p{width:1px}Button::p{width:2px}#i{width:3px}";
    EXPECT_EQ(lengthIn(css, {"i", "p"}), 3);
    EXPECT_EQ(lengthIn(css, {"j", "p"}), 2);
    EXPECT_EQ(lengthIn(css, {"i"}), 3);
    EXPECT_EQ(lengthIn(css), std::nullopt);
    EXPECT_EQ(lengthIn("Button#i::p{width:1px}", {"i"}), std::nullopt);
    EXPECT_EQ(lengthIn("#i#j{width:1px}", {"i"}), std::nullopt);
    for (const char* old : {"before", "first-line"})
        EXPECT_EQ(lengthIn(std::string("Button:") + old + "{width:1px}", {nullptr, old}), 1) << old;
}

TEST_F(StyleLookup, ClassesAreNotMixedWithRulesWithoutClass) {
    const char* const css = "Button{width:1px}Button.x{width:2px}.y{width:3px}";
    EXPECT_EQ(lengthIn(css), 1);
    EXPECT_EQ(lengthIn(css, {nullptr, nullptr, "x"}), 2);
    EXPECT_EQ(lengthIn(css, {nullptr, nullptr, "y"}), 3);
    EXPECT_EQ(lengthIn(css, {nullptr, nullptr, "z"}), std::nullopt);
}

TEST_F(StyleLookup, NullsAreNotFound) {
    const SmartPointer<StyleData> data = parsed("#i,Button{width:1px}");
    EXPECT_EQ(length(*data, {}, kButton, nullptr), std::nullopt);
    EXPECT_EQ(length(*data, {"i"}, ClassChain{}), std::nullopt);
    ClassChain full;
    full.fill("Object");
    full.back() = "Button";
    EXPECT_EQ(length(*data, {}, full), 1) << "a full chain is read to its end";
}

TEST_F(StyleLookup, ParentsAnswerWhatIsNotFound) {
    const SmartPointer<StyleData> root = parsed("Button{width:1px;height:2px}");
    const SmartPointer<StyleData> middle = new StyleData;
    const SmartPointer<StyleData> data = parsed("Object{width:3px}");
    EXPECT_EQ(length(*data, {}, kButton, "height"), std::nullopt);
    middle->setParent(root.get());
    data->setParent(middle.get());
    EXPECT_EQ(length(*data), 3);
    EXPECT_EQ(length(*data, {}, kButton, "height"), 2);
    middle->setParent(nullptr);
    EXPECT_EQ(length(*data, {}, kButton, "height"), std::nullopt);
}

TEST_F(StyleLookup, CirclesOfParentsAreRefused) {
    const SmartPointer<StyleData> root = new StyleData;
    const SmartPointer<StyleData> data = new StyleData;
    data->setParent(root.get());
    LogCapture log;
    data->setParent(data.get());
    log.expect(2, "a stylesheet cannot be its own ancestor");
    root->setParent(data.get());
    log.expect(2, "a stylesheet cannot be its own ancestor");
    EXPECT_EQ(data->getParent(), root.get());
    EXPECT_EQ(root->getParent(), nullptr);
}

TEST_F(StyleLookup, EachChangeRaisesTheVersionAndChangesTheAnswers) {
    const SmartPointer<StyleData> data = parsed("Button{width:1px}");
    EXPECT_EQ(length(*data), 1);
    const uint32 version = StyleData::getVersion();
    data->loadFromMemory(ConstByteSpan::fromText("Button{width:2px}"));
    EXPECT_EQ(length(*data), 2);
    EXPECT_EQ(StyleData::getVersion(), version + 1);
    data->setParent(nullptr);
    EXPECT_EQ(StyleData::getVersion(), version + 2);
}

TEST_F(StyleLookup, OtherTextsAtTheSameAddressAreOtherQuestions) {
    const SmartPointer<StyleData> data = parsed("Button{a:1px;b:2px}Text{a:3px}");
    char property[] = "a";
    char tag[] = "Button";
    const ClassChain chain = {"Object", tag};
    EXPECT_EQ(length(*data, {}, chain, property), 1);
    property[0] = 'b';
    EXPECT_EQ(length(*data, {}, chain, property), 2);
    property[0] = 'c';
    EXPECT_EQ(length(*data, {}, chain, property), std::nullopt);
    property[0] = 'a';
    std::strcpy(tag, "Text");
    EXPECT_EQ(length(*data, {}, chain, property), 3);
}

TEST_F(StyleLookup, SelectorsWithUnhandledPartsNeverMatch) {
    LogCapture log;
    for (const char* selector : {"*", "Button:hover", "Button[a]", "Actor Button", "Actor>Button", "x|Button",
                                 "Button:not(a)", "Button::p(x)", "Button+Button", "Button:Before"}) {
        const SmartPointer<StyleData> data = parsed(std::string(selector) + "{width:1px}");
        EXPECT_EQ(length(*data, {nullptr, "p"}), std::nullopt) << selector;
        EXPECT_EQ(log.take().size(), 1u) << selector;
    }
}

} // namespace
} // namespace qel
