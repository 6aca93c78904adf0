#include "reader_page.h"

#include <qel/files/file.h>
#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelscreens {

namespace {

constexpr float kMostTextWidth = 26; // in heights of a button, for lines that can be read well

} // namespace

ReaderPage::ReaderPage()
    : Page("reader"),
      m_previous(new Button([this](qel::uint32) { turn(-1); })),
      m_next(new Button([this](qel::uint32) { turn(1); })) {
    m_text.setParser(qel::TextActor::Parser::Markdown);
    m_caption.setHorizontalAlign(qel::TextAlign::Center);
    m_caption.setVerticalAlign(qel::TextAlign::Center);
    m_picture.setScaleMethod(qel::ScaleMethod::FitInside);
}

std::string ReaderPage::open(const std::string& path) {
    m_path = path;
    m_source = ReaderSource::open(path);
    m_index = 0;
    showText();
    if (!m_source.pictures.empty()) m_loader.load(m_source.pictures.front());
    return m_source.problem;
}

qel::String ReaderPage::getTitle() const {
    return m_path.empty() ? Page::getTitle() : qel::File::getFilenameFromPath(m_path);
}

void ReaderPage::showText() {
    if (m_path.empty())
        m_text.setText(prepareMarkdown(tr("screens-reader-welcome")));
    else
        m_text.setText(m_source.problem.empty() ? m_source.text : prepareMarkdown(m_source.problem));
}

void ReaderPage::restyle(const Look& look) {
    Page::restyle(look);
    const qel::Theme& theme = *system()->getTheme();
    restyleText(m_text, m_text.getText(), theme.mediumFont(), look.text);
    restyleText(m_caption, m_caption.getText(), theme.smallMediumFont(), look.faintText);
    m_previous->restyle(look, "‹", theme.largeFont());
    m_next->restyle(look, "›", theme.largeFont());
    showText();
}

float ReaderPage::draw(qel::Renderer& renderer, const qel::Rect& place, float visibleHeight) {
    if (m_source.pictures.empty()) return drawText(renderer, place);
    drawPicture(renderer, {place.x0, place.y0, place.x1, place.y0 + visibleHeight});
    return visibleHeight;
}

float ReaderPage::drawText(qel::Renderer& renderer, const qel::Rect& place) {
    const float margin = look().space * 2;
    qel::Rect column = inset(place, margin);
    const float most = kMostTextWidth * look().buttonHeight;
    const float spare = std::max(0.0f, column.getWidth() - most);
    column.x0 += std::floor(spare / 2);
    column.x1 = column.x0 + std::min(column.getWidth(), most);
    const float height = placeText(m_text, column);
    renderer.draw(&m_text);
    return height + 2 * margin;
}

void ReaderPage::drawPicture(qel::Renderer& renderer, const qel::Rect& place) {
    if (m_loader.update()) m_picture.setSprite(m_loader.getSprite());
    const float space = look().space;
    const float size = look().buttonHeight;
    const qel::Rect bar(place.x0 + space, place.y1 - size - space, place.x1 - space, place.y1 - space);
    const std::string& path = m_source.pictures[m_index];
    qel::String caption = qel::File::getFilenameFromPath(path);
    caption += "  " + std::to_string(m_index + 1) + " / " + std::to_string(m_source.pictures.size());
    if (!m_loader.isLoading() && !m_loader.getProblem().empty()) caption = m_loader.getProblem();
    m_caption.setText(m_loader.isLoading() ? qel::String(tr("screens-reader-loading")) : caption);
    m_caption.setBounds({bar.x0 + size, bar.y0, bar.x1 - size, bar.y1});
    renderer.draw(&m_caption);
    m_previous->draw(renderer, {bar.x0, bar.y0, bar.x0 + size, bar.y1});
    m_next->draw(renderer, {bar.x1 - size, bar.y0, bar.x1, bar.y1});
    m_picture.setBounds({place.x0 + space, place.y0 + space, place.x1 - space, bar.y0 - space});
    if (m_picture.getSprite()) renderer.draw(&m_picture);
}

void ReaderPage::handleTouches(qel::TouchState& touches) {
    if (m_source.pictures.empty()) return;
    m_previous->handleTouches(touches);
    m_next->handleTouches(touches);
}

bool ReaderPage::handleKey(const std::string& key) {
    if (m_source.pictures.empty()) return false;
    if (key == "up" || key == "pageup") return turn(-1);
    if (key == "down" || key == "pagedown" || key == "space") return turn(1);
    return false;
}

/// Shows the next picture; the first one follows the last.
bool ReaderPage::turn(int step) {
    const size_t count = m_source.pictures.size();
    m_index = (m_index + count + static_cast<size_t>(step + static_cast<int>(count))) % count;
    m_loader.load(m_source.pictures[m_index]);
    return true;
}

} // namespace qelscreens
