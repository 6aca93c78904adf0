// The places of the panes and bars.
#include "readout.h"
#include "viewer.h"

#include <qel/render/renderer.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace qelviewer {

namespace {

constexpr float kPanelWidth = 9; // in heights of a button
constexpr float kStatusHeight = 0.75f;
constexpr float kGap = 2;
constexpr qel::Rect kNowhere{0, 0, 0, 0};

/// The places of the slices and the volume.
struct PanePlaces {
    qel::Rect panes[4];
};

PanePlaces placesFor(Page page, int alone, const qel::Rect& place) {
    PanePlaces places{{kNowhere, kNowhere, kNowhere, kNowhere}};
    const float right = std::round((place.x0 + place.x1) / 2);
    const float middle = std::round((place.y0 + place.y1) / 2);
    if (alone >= 0) {
        places.panes[alone] = place;
    } else if (page == Page::Volume) {
        places.panes[3] = place;
    } else if (page == Page::All) {
        places.panes[0] = {place.x0, place.y0, right - kGap / 2, middle - kGap / 2};
        places.panes[3] = {right + kGap / 2, place.y0, place.x1, middle - kGap / 2};
        places.panes[1] = {place.x0, middle + kGap / 2, right - kGap / 2, place.y1};
        places.panes[2] = {right + kGap / 2, middle + kGap / 2, place.x1, place.y1};
    } else {
        const float third = std::round(place.x0 + place.getWidth() * 0.62f);
        places.panes[0] = {place.x0, place.y0, third - kGap / 2, place.y1};
        places.panes[1] = {third + kGap / 2, place.y0, place.x1, middle - kGap / 2};
        places.panes[2] = {third + kGap / 2, middle + kGap / 2, place.x1, place.y1};
    }
    return places;
}

} // namespace

void Viewer::draw(qel::Renderer& renderer) {
    const auto width = static_cast<float>(system()->getFramebufferWidth());
    const auto height = static_cast<float>(system()->getFramebufferHeight());
    freeReplaced();
    renderer.clear(m_look.background);
    const float bar = std::min(m_toolbar->layOut(width), std::floor(height / 2));
    const float status = std::floor(m_look.buttonHeight * kStatusHeight);
    const float panel = std::min(std::floor(m_look.buttonHeight * kPanelWidth), std::floor(width * 0.4f));
    const qel::Rect middle(0, bar, width, std::max(bar, height - status));
    drawPanes(renderer, {middle.x0, middle.y0, middle.x1 - panel, middle.y1});
    m_panel->draw(renderer, {middle.x1 - panel, middle.y0, middle.x1, middle.y1}, m_look);
    m_toolbar->draw(renderer, {0, 0, width, bar}, m_page, m_state.tool);
    const std::string text = m_state.study ? voxelText(*m_state.study, voxelToDescribe()) : std::string();
    m_status.draw(renderer, {0, middle.y1, width, height}, text);
    m_help->draw(renderer, {0, 0, width, height});
}

void Viewer::drawPanes(qel::Renderer& renderer, const qel::Rect& place) {
    const PanePlaces places = placesFor(m_page, m_alone, place);
    for (size_t i = 0; i < m_slices.size(); ++i) m_slices[i]->draw(renderer, places.panes[i]);
    m_volume->draw(renderer, places.panes[3]);
    m_labels.begin();
    if (m_loader.isLoading()) drawLoading(renderer, place);
}

int Viewer::loadedPercent() const {
    return static_cast<int>(m_loader.getShare() * 100);
}

/// Returns true if a volume is being loaded and more of it is known than the last frame shows.
bool Viewer::wantsFrame() const {
    return m_loader.isLoading() && loadedPercent() != m_shownPercent;
}

/// Draws the progress.
void Viewer::drawLoading(qel::Renderer& renderer, const qel::Rect& place) {
    m_shownPercent = loadedPercent();
    const float share = m_loader.getShare();
    const float half = std::min(place.getWidth() / 3, m_look.buttonHeight * 5);
    const float x = std::round((place.x0 + place.x1) / 2);
    const float y = std::round((place.y0 + place.y1) / 2);
    const float size = m_look.buttonHeight;
    qelwidgets::drawRect(renderer, {x - half - size, y - 1.5f * size, x + half + size, y + size},
                         m_look.card);
    const std::string text = std::string(tr("viewer-loading")) + " " + std::to_string(m_shownPercent) + " %";
    m_labels.draw(renderer, text, {x - half, y - size, x + half, y},
                  {m_look.text, qel::TextAlign::Center, qel::TextAlign::Center});
    qelwidgets::drawRect(renderer, {x - half, y + size / 4, x + half, y + size / 2}, m_look.field);
    qelwidgets::drawRect(renderer, {x - half, y + size / 4, x - half + 2 * half * share, y + size / 2},
                         m_look.accent);
}

/// Returns the voxel under the pointer, or that of the crosshair.
qel::IVec3<double> Viewer::voxelToDescribe() const {
    for (const auto& pane : m_slices)
        if (const auto voxel = m_pointer ? pane->voxelAt(*m_pointer) : std::nullopt) return *voxel;
    return m_state.cross;
}

} // namespace qelviewer
