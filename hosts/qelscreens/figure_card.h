// FigureCard: pictures in a grid, each with a caption.
#pragma once

#include "widgets.h"

#include <functional>
#include <vector>

namespace qelscreens {

/// A card of figures. Each figure is a RectActor in a dark box.
class FigureCard : public Card {
    QEL_CLASS(FigureCard, Card)

public:
    /// Sets a figure up. Called again after each change of the look.
    using SetUp = std::function<void(qel::RectActor& actor, const Look& look)>;

    /// Creates a card. @param columns  figures in a row. @param ratio  height of a figure by its width.
    FigureCard(const char* titleKey, int columns, float ratio)
        : Card(titleKey), m_columns(columns), m_ratio(ratio) {}

    /// Adds a figure. @param captionKey  the key of the translated caption.
    FigureCard& add(const char* captionKey, SetUp setUp);

protected:
    void restyleContent() override;
    float measureContent(float width) override;
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override;

private:
    struct Figure {
        const char* captionKey;
        SetUp setUp;
        qel::SmartPointer<qel::RectActor> actor;
        qel::SmartPointer<qel::TextActor> caption;
    };

    float figureHeight(float width) const;
    float captionHeight() const;

    int m_columns;
    float m_ratio;
    std::vector<Figure> m_figures;
};

} // namespace qelscreens
