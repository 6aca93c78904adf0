#include "text_page.h"

#include "reader_source.h"

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/alarm.h>

#include <algorithm>

namespace qelscreens {

namespace {

using Parser = qel::TextActor::Parser;

/// A wrapped text.
class TextCard : public Card {
    QEL_CLASS(TextCard, Card)

public:
    TextCard(const char* titleKey, const char* textKey, Parser parser) : Card(titleKey), m_textKey(textKey) {
        m_text.setParser(parser);
    }

protected:
    void restyleContent() override {
        const bool isMarkdown = m_text.getParser() == Parser::Markdown;
        restyleText(m_text, isMarkdown ? prepareMarkdown(tr(m_textKey)) : qel::String(tr(m_textKey)),
                    system()->getTheme()->mediumFont(), look().text);
    }
    float measureContent(float width) override { return measureText(m_text, width); }
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override {
        placeText(m_text, place);
        renderer.draw(&m_text);
    }

private:
    const char* m_textKey;
    qel::TextActor m_text;
};

/// The same text aligned to the left, to the centre and to the right.
class AlignmentCard : public Card {
    QEL_CLASS(AlignmentCard, Card)

public:
    AlignmentCard() : Card("screens-text-align-title") {
        for (qel::TextActor& text : m_texts) text.setParser(Parser::ControlCodes);
    }

protected:
    void restyleContent() override {
        constexpr const char* kCodes[] = {"{align:left}", "{align:center}", "{align:right}"};
        for (int i = 0; i < kCount; ++i) {
            restyleText(m_texts[i], qel::String(kCodes[i]) + tr("screens-text-align"),
                        system()->getTheme()->smallMediumFont(), look().text);
            m_texts[i].setAlignToTotalWidth(true);
        }
    }
    float measureContent(float width) override {
        float height = 0;
        const qel::Rect place(0, 0, width, 1);
        for (int i = 0; i < kCount; ++i)
            height = std::max(height, measureText(m_texts[i], textPlace(place, i).getWidth()));
        return height + look().space;
    }
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override {
        for (int i = 0; i < kCount; ++i) {
            const qel::Rect column = columnOf(place, i, kCount, look().space);
            drawRect(renderer, column, look().field);
            placeText(m_texts[i], textPlace(place, i));
            renderer.draw(&m_texts[i]);
        }
    }

private:
    static constexpr int kCount = 3;

    qel::Rect textPlace(const qel::Rect& place, int index) const {
        return inset(columnOf(place, index, kCount, look().space), look().space / 2);
    }

    qel::TextActor m_texts[kCount];
};

/// A line that is too long for its place and scrolls. The host sleeps while the line rests, so frames are
/// requested until it moves again.
class MarqueeCard : public Card {
    QEL_CLASS(MarqueeCard, Card)

public:
    MarqueeCard() : Card("screens-text-marquee-title"), m_alarm(new qel::Alarm()) {
        m_text.setLineScrolling(true);
        m_alarm->trigger.connect(this, [] { system()->delegateRequestFrame(); });
    }
    ~MarqueeCard() override { m_alarm->cancel(); }

protected:
    void restyleContent() override {
        restyleText(m_text, tr("screens-text-marquee"), system()->getTheme()->mediumFont(), look().text);
    }
    float measureContent(float) override { return look().buttonHeight; }
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override {
        const qel::Rect bar(place.x0, place.y0, place.x1, place.y0 + look().buttonHeight);
        drawRect(renderer, bar, look().field);
        m_text.setVerticalAlign(qel::TextAlign::Center);
        m_text.setBounds({bar.x0 + look().space, bar.y0, bar.x1 - look().space, bar.y1});
        renderer.pushClip(bar.roundNearestAsInt());
        renderer.draw(&m_text);
        renderer.popClip();
        if (!m_alarm->isScheduled()) m_alarm->scheduleInSeconds(1);
    }

private:
    qel::TextActor m_text;
    qel::SmartPointer<qel::Alarm> m_alarm;
};

/// A text field.
class FieldCard : public Card {
    QEL_CLASS(FieldCard, Card)

public:
    explicit FieldCard(TextField* field) : Card("screens-text-field-title"), m_field(field) {}
    void handleTouches(qel::TouchState& touches) override { m_field->handleTouches(touches); }

protected:
    void restyleContent() override { m_field->restyle(look()); }
    float measureContent(float) override { return look().buttonHeight; }
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override {
        m_field->draw(renderer, {place.x0, place.y0, place.x1, place.y0 + look().buttonHeight});
    }

private:
    qel::SmartPointer<TextField> m_field;
};

} // namespace

TextPage::TextPage() : Page("text"), m_field(new TextField()) {
    system()->setEnv("screens-program", "qelscreens");
    add(new TextCard("screens-text-markdown-title", "screens-text-markdown", Parser::Markdown));
    add(new TextCard("screens-text-codes-title", "screens-text-codes", Parser::ControlCodes));
    add(new FieldCard(m_field.get()));
    add(new TextCard("screens-text-insertions-title", "screens-text-insertions", Parser::ControlCodes));
    add(new TextCard("screens-text-scripts-title", "screens-text-scripts", Parser::ControlCodes));
    add(new MarqueeCard());
    add(new AlignmentCard());
    add(new TextCard("screens-text-layout-title", "screens-text-layout", Parser::ControlCodes));
}

bool TextPage::handleKey(const std::string& key) {
    if (key == "tab") m_field->takeFocus();
    return key == "tab";
}

} // namespace qelscreens
