// A text in a DrawnFont, and how its lines are read back.
#pragma once

#include <qel/text/engine/text_actor.h>
#include <tests/support/system_fixture.h>
#include <tests/text/engine/drawn_font.h>

#include <string>
#include <vector>

namespace qel::test {

class TextFixture : public SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        font = makeObject<DrawnFont>();
        text = makeObject<TextActor>();
        text->setFont(font.get());
        text->setBounds({0, 0, 100, 100});
    }
    void TearDown() override {
        text = nullptr;
        font = nullptr;
        SystemFixture::TearDown();
    }

    /// Lays @p content out.
    TextActor& layOut(const char* content, TextActor::Parser parser = TextActor::Parser::Plain) {
        text->setParser(parser);
        text->setText(content);
        text->update();
        return *text;
    }
    TextActor& layOutCodes(const char* content) { return layOut(content, TextActor::Parser::ControlCodes); }

    /// Returns the characters of all lines that have a place for the cursor, with a bar after each line.
    std::string lines() const {
        std::string result;
        for (size_t i = 0; i < text->getLineCount(); ++i) {
            for (const TextActor::CursorStop& stop : text->getLine(i).stops)
                result += text->getText()[stop.sourceIndex];
            result += '|';
        }
        return result;
    }
    /// Returns the left edges of the places for the cursor plus 1: the pen in front of each character.
    std::vector<float> pens(size_t line = 0) const {
        std::vector<float> result;
        for (const TextActor::CursorStop& stop : text->getLine(line).stops)
            result.push_back(stop.rect.x0 + 1);
        return result;
    }
    /// Returns the quads of a line, page by page.
    std::vector<Rect> quads(size_t line = 0) const {
        std::vector<Rect> result;
        const TextActor::Line view = text->getLine(line);
        for (size_t i = 0; i < view.fragmentCount; ++i)
            for (const TexturePart& quad : text->getFragment(view.firstFragment + i).quads)
                result.push_back(quad.target);
        return result;
    }
    std::vector<int> widths() const {
        std::vector<int> result;
        for (size_t i = 0; i < text->getLineCount(); ++i) result.push_back(text->getLine(i).width);
        return result;
    }

    SmartPointer<DrawnFont> font;
    SmartPointer<TextActor> text;
};

} // namespace qel::test
