// The cards of the panel beside the panes.
#pragma once

#include "labels.h"
#include "material_list.h"
#include "view_state.h"

#include <hosts/widgets/button.h>
#include <hosts/widgets/card.h>

#include <qel/render/texture.h>

#include <functional>
#include <vector>

namespace qelviewer {

/// Buttons that choose a window of values.
class PresetCard : public qelwidgets::Card {
    QEL_CLASS(PresetCard, qelwidgets::Card)

public:
    /// @param state  must outlive this object.
    explicit PresetCard(ViewState& state);
    void handleTouches(qel::TouchState& touches) override;

protected:
    void restyleContent() override;
    float measureContent(float width) override;
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override;

private:
    void choose(size_t index);
    ValueWindow windowOf(size_t index) const;
    size_t columnsFor(float width);

    ViewState& m_state;
    std::vector<qel::SmartPointer<qelwidgets::Button>> m_buttons; ///< the presets, then all values
};

/// The distribution of the values, with the window. A drag moves the window.
class HistogramCard : public qelwidgets::Card {
    QEL_CLASS(HistogramCard, qelwidgets::Card)

public:
    /// @param state  must outlive this object.
    explicit HistogramCard(ViewState& state) : Card("viewer-card-histogram"), m_state(state) {}
    void handleTouches(qel::TouchState& touches) override;

protected:
    void restyleContent() override { m_labels.clear(); }
    float measureContent(float width) override;
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override;

private:
    void drawBars(qel::Renderer& renderer);
    void drawWindow(qel::Renderer& renderer);
    float positionOf(double value) const;

    ViewState& m_state;
    Labels m_labels;
    qel::Rect m_area;
};

/// The materials with pictures of their tables. A tap chooses one.
class MaterialCard : public qelwidgets::Card {
    QEL_CLASS(MaterialCard, qelwidgets::Card)

public:
    /// @param chosen  is called with the index of a material.
    /// @param state, materials  must outlive this object.
    MaterialCard(ViewState& state, MaterialList& materials, std::function<void(size_t)> chosen);
    /// Draws the pictures again, because materials have changed.
    void invalidate() { m_pictures.clear(); }
    void handleTouches(qel::TouchState& touches) override;

protected:
    void restyleContent() override;
    float measureContent(float width) override;
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override;

private:
    void updatePictures(qel::Renderer& renderer);

    ViewState& m_state;
    MaterialList& m_materials;
    std::function<void(size_t)> m_chosen;
    std::vector<qel::SmartPointer<qelwidgets::Button>> m_buttons;
    std::vector<qel::SmartPointer<qel::Texture>> m_pictures;
};

/// Two handles on each axis of the volume, which cut it.
class ClipCard : public qelwidgets::Card {
    QEL_CLASS(ClipCard, qelwidgets::Card)

public:
    /// @param state  must outlive this object.
    explicit ClipCard(ViewState& state) : Card("viewer-card-clip"), m_state(state) {}
    void handleTouches(qel::TouchState& touches) override;

protected:
    void restyleContent() override { m_labels.clear(); }
    float measureContent(float width) override;
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override;

private:
    void drawSlider(qel::Renderer& renderer, int axis);
    void drag(int axis, float position, bool isBegin);

    ViewState& m_state;
    Labels m_labels;
    qel::Rect m_tracks[3];
    int m_heldAxis = -1;
    bool m_isUpperHeld = false;
};

/// A table of names and values.
class TableCard : public qelwidgets::Card {
    QEL_CLASS(TableCard, qelwidgets::Card)

public:
    /// Names and values.
    using Rows = std::vector<std::pair<std::string, std::string>>;

    /// @param rows  returns the rows of each frame.
    TableCard(const char* titleKey, std::function<Rows()> rows) : Card(titleKey), m_rows(std::move(rows)) {}

protected:
    void restyleContent() override { m_labels.clear(); }
    float measureContent(float width) override;
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override;

private:
    float rowHeight() const;

    std::function<Rows()> m_rows;
    Labels m_labels;
};

} // namespace qelviewer
