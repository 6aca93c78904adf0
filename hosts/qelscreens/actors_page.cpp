#include "actors_page.h"

#include "figure_card.h"
#include "sample_sprites.h"

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/anim_color.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

namespace qelscreens {

namespace {

using qel::RectActor;
using qel::Rotation;
using qel::ScaleMethod;

FigureCard* scaleCard(const qel::SmartPointer<qel::Sprite>& picture) {
    struct Row {
        const char* captionKey;
        ScaleMethod method;
    };
    constexpr Row kRows[] = {
        {"screens-scale-stretch", ScaleMethod::Stretch},    {"screens-scale-inside", ScaleMethod::FitInside},
        {"screens-scale-cover", ScaleMethod::Cover},        {"screens-scale-width", ScaleMethod::FixedWidth},
        {"screens-scale-height", ScaleMethod::FixedHeight}, {"screens-scale-size", ScaleMethod::FixedSize}};
    auto* const card = new FigureCard("screens-scale-title", 3, 1.1f);
    for (const Row& row : kRows) {
        card->add(row.captionKey, [picture, method = row.method](RectActor& actor, const Look& look) {
            const float size = look.buttonHeight;
            actor.setSprite(picture).setFixedSize({size * 2.4f, size * 1.2f}).setScaleMethod(method);
        });
    }
    return card;
}

FigureCard* partsCard(const qel::SmartPointer<qel::Sprite>& frame) {
    struct Row {
        const char* captionKey;
        qel::ExtendMethod method;
        qel::uint32 cut;
    };
    constexpr Row kRows[] = {{"screens-parts-across", qel::ExtendMethod::ThreeAcross, 0},
                             {"screens-parts-down", qel::ExtendMethod::ThreeDown, 0},
                             {"screens-parts-nine", qel::ExtendMethod::NineParts, 0},
                             {"screens-parts-cut", qel::ExtendMethod::NineParts, RectActor::kCutTop}};
    auto* const card = new FigureCard("screens-parts-title", 2, 0.6f);
    for (const Row& row : kRows) {
        card->add(row.captionKey, [frame, row](RectActor& actor, const Look& look) {
            const float size = look.buttonHeight * 1.3f;
            actor.setSprite(frame).setExtendMethod(row.method).setExtendCut(row.cut);
            actor.setFixedSize({size, size}).setScaleMethod(ScaleMethod::FixedSize);
        });
    }
    return card;
}

FigureCard* rotationCard(const qel::SmartPointer<qel::Sprite>& picture) {
    constexpr std::pair<const char*, Rotation> kRows[] = {
        {"screens-rotation-0", Rotation::None},
        {"screens-rotation-1", Rotation::Clockwise90},
        {"screens-rotation-2", Rotation::UpsideDown},
        {"screens-rotation-3", Rotation::Clockwise270},
        {"screens-rotation-4", Rotation::MirroredHorizontally},
        {"screens-rotation-5", Rotation::AntiTransposed},
        {"screens-rotation-6", Rotation::MirroredVertically},
        {"screens-rotation-7", Rotation::Transposed}};
    auto* const card = new FigureCard("screens-rotation-title", 4, 1.0f);
    for (const auto& [captionKey, rotation] : kRows) {
        card->add(captionKey, [picture, turned = rotation](RectActor& actor, const Look&) {
            actor.setSprite(picture).setRotation(turned).setScaleMethod(ScaleMethod::FitInside);
        });
    }
    return card;
}

FigureCard* effectsCard(const qel::SmartPointer<qel::Sprite>& picture) {
    auto* const card = new FigureCard("screens-effects-title", 4, 0.8f);
    card->add("screens-effects-shadow", [picture](RectActor& actor, const Look&) {
        actor.setSprite(picture).setShadow(true).setScaleMethod(ScaleMethod::FitInside);
    });
    card->add("screens-effects-tint", [picture](RectActor& actor, const Look& look) {
        actor.setSprite(picture).setColor(look.accent).setScaleMethod(ScaleMethod::FitInside);
    });
    card->add("screens-effects-outline", [](RectActor& actor, const Look& look) {
        actor.setColor(look.accent).setOutline(true);
        actor.setOutlineSize(static_cast<float>(qel::Object::system()->getTheme()->dotSize()) * 2);
    });
    card->add("screens-effects-part", [picture](RectActor& actor, const Look&) {
        actor.setSprite(picture).setSourceBounds({0.1f, 0.1f, 0.6f, 0.6f});
    });
    return card;
}

/// Colours that glide to a new one when they are pressed.
class GlideCard : public Card {
    QEL_CLASS(GlideCard, Card)

public:
    GlideCard() : Card("screens-glide-title") {
        for (int i = 0; i < kCount; ++i) {
            m_colors[i].setColor(kColors[i]);
            m_colors[i].enableAnimation();
            m_rects[i].setAnimColor(&m_colors[i]);
        }
    }
    void handleTouches(qel::TouchState& touches) override {
        for (int i = 0; i < kCount; ++i)
            if (touches.acquireBegin(this, m_rects[i].getBounds(), qelwindow::kTouchPress)) turn();
    }

protected:
    void restyleContent() override {
        restyleText(m_hint, tr("screens-glide-hint"), system()->getTheme()->smallFont(), look().faintText);
    }
    float measureContent(float width) override {
        return 2 * look().buttonHeight + look().space + measureText(m_hint, width);
    }
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override {
        const float bottom = place.y0 + 2 * look().buttonHeight;
        for (int i = 0; i < kCount; ++i) {
            const qel::Rect column = columnOf(place, i, kCount, look().space);
            m_rects[i].setBounds({column.x0, place.y0, column.x1, bottom});
            renderer.draw(&m_rects[i]);
        }
        placeText(m_hint, {place.x0, bottom + look().space, place.x1, place.y1});
        renderer.draw(&m_hint);
    }

private:
    static constexpr int kCount = 5;
    static constexpr Color kColors[kCount] = {{0.85f, 0.3f, 0.27f, 1},
                                              {0.98f, 0.78f, 0.23f, 1},
                                              {0.36f, 0.68f, 0.4f, 1},
                                              {0.19f, 0.43f, 0.64f, 1},
                                              {0.55f, 0.4f, 0.66f, 1}};

    /// Each rectangle glides to the colour of its neighbour.
    void turn() {
        ++m_turn;
        for (int i = 0; i < kCount; ++i) m_colors[i].setColor(kColors[(i + m_turn) % kCount]);
    }

    int m_turn = 0;
    qel::AnimColor m_colors[kCount];
    qel::RectActor m_rects[kCount];
    qel::TextActor m_hint;
};

} // namespace

ActorsPage::ActorsPage() : Page("actors") {
    const qel::SmartPointer<qel::Sprite> picture = landscapeSprite();
    add(scaleCard(picture));
    add(rotationCard(picture));
    add(new GlideCard());
    add(partsCard(frameSprite()));
    add(effectsCard(picture));
}

} // namespace qelscreens
