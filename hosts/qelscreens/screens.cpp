#include "screens.h"

#include "actors_page.h"
#include "graphs_page.h"
#include "placement_page.h"
#include "text_page.h"
#include "touches_page.h"

#include <hosts/widgets/fallback_fonts.h>
#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>
#include <qel/text/engine/text_actor.h>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace qelscreens {

namespace {

constexpr float kScaleStep = 1.25f;
constexpr float kWheelLines = 3; // by which a step of the wheel scrolls

enum BarButton : size_t { kPrevious, kNext, kSmaller, kLarger, kLanguage, kBarButtons };

} // namespace

/// Follows the touches that nobody else has claimed: a drag to the side turns the page, another one scrolls.
class Screens::Mover : public qel::Object {
    QEL_CLASS(Mover, qel::Object)

public:
    void handleTouches(qel::TouchState& touches, Screens& screens) {
        touches.acquireBegin(this, qelwindow::kTouchFinger | qelwindow::kTouchLeftButton);
        if (qel::TouchButton* const wheel = touches.acquireBegin(this, qelwindow::kTouchWheel))
            screens.scrollBy(-wheel->takeValue() * kWheelLines * screens.m_look.buttonHeight);
        while (const qel::TouchButton* const touch = touches.iterateOwned(this))
            if ((touch->getFlags() & qelwindow::kTouchPress) != 0) follow(*touch, screens);
    }

private:
    void follow(const qel::TouchButton& touch, Screens& screens) const {
        const qel::IVec2<float>& at = touch.getPosition();
        const float across = at.x - touch.getBeginPosition().x;
        const float down = at.y - touch.getBeginPosition().y;
        const bool isAcross = std::abs(across) > std::abs(down);
        if (!isAcross && !touch.isBegin()) screens.scrollBy(touch.getPreviousPosition().y - at.y);
        const bool isFarEnough = std::abs(across) > 2 * screens.m_look.buttonHeight;
        if (touch.isEnd() && isAcross && isFarEnough) screens.turn(across < 0 ? 1 : -1);
    }
};

Screens::Screens(const std::string& stylesheet)
    : m_reader(new ReaderPage()),
      m_mover(new Mover()),
      m_stylesheet(new StylesheetFile(stylesheet, [this] { restyle(); })) {
    m_pages = {new TextPage(), new ActorsPage(), new PlacementPage(), new GraphsPage(), new TouchesPage()};
    m_pages.push_back(m_reader.get());
    const std::function<void()> actions[kBarButtons] = {
        [this] { turn(-1); }, [this] { turn(1); }, [this] { changeScale(1 / kScaleStep); },
        [this] { changeScale(kScaleStep); }, [this] { switchLanguage(); }};
    for (const auto& action : actions) m_bar.push_back(new Button([action](qel::uint32) { action(); }));
    m_title.setVerticalAlign(qel::TextAlign::Center);
    m_title.setHorizontalAlign(qel::TextAlign::Center);
}

std::string Screens::openInReader(const std::string& path) {
    const std::string problem = m_reader->open(path);
    showPage(m_pages.size() - 1);
    return problem;
}

void Screens::openPath(const std::string& path) {
    openInReader(path);
}

void Screens::showPage(size_t index) {
    if (index >= m_pages.size()) return;
    if (index != m_index) system()->hideKeyboard(nullptr);
    m_index = index;
    m_scroll = 0;
    system()->delegateRequestFrame();
}

void Screens::turn(int step) {
    const auto count = static_cast<int>(m_pages.size());
    showPage(static_cast<size_t>((static_cast<int>(m_index) + step + count) % count));
}

void Screens::adapt() {
    using enum qel::FontStyle;
    for (const qel::FontStyle style : {Regular, Monospaced, Italic, Bold, Light})
        qelwidgets::setFallbackFonts(style);
    restyle();
}

void Screens::restyle() {
    m_look = Look::read();
    const qel::Theme& theme = *system()->getTheme();
    const qel::String labels[kBarButtons] = {"‹", "›", "A−", "A+", tr("screens-bar-language")};
    for (size_t i = 0; i < kBarButtons; ++i)
        m_bar[i]->restyle(m_look, labels[i], i <= kNext ? theme.largeFont() : nullptr);
    restyleText(m_title, m_title.getText(), theme.mediumLargeFont(), m_look.text);
    for (const auto& page : m_pages) page->restyle(m_look);
    system()->delegateRequestFrame();
}

void Screens::changeScale(float factor) {
    if (!m_theme) return;
    m_theme->setUserScale(factor == 0 ? 1 : m_theme->getUserScale() * factor);
    adapt();
}

void Screens::switchLanguage() {
    system()->setLanguage(system()->getLanguage() == "de" ? "en" : "de");
    clearTrCache();
    restyle();
}

// --- drawing -----------------------------------------------------------------------------------------------

void Screens::draw(qel::Renderer& renderer) {
    const auto width = static_cast<float>(system()->getFramebufferWidth());
    const auto height = static_cast<float>(system()->getFramebufferHeight());
    renderer.clear(m_look.background);
    const qel::Rect bar(0, 0, width, m_look.buttonHeight + m_look.space);
    m_pageArea = {0, bar.y1, width, std::max(height, bar.y1)};
    renderer.pushClip(m_pageArea.roundNearestAsInt());
    const float top = std::round(m_pageArea.y0 - m_scroll);
    m_contentHeight = m_pages[m_index]->draw(renderer, {0, top, width, top + pageHeight()}, pageHeight());
    renderer.popClip();
    drawBar(renderer, bar);
    scrollTo(m_scroll); // the page may have become shorter
}

void Screens::drawBar(qel::Renderer& renderer, const qel::Rect& place) {
    drawRect(renderer, place, m_look.bar);
    drawRect(renderer, {place.x0, place.y1 - 1, place.x1, place.y1}, m_look.line);
    const float gap = std::floor(m_look.space / 2);
    const qel::Rect row = inset(place, gap);
    const float size = row.getHeight();
    const float lefts[kBarButtons] = {row.x0, row.x0 + size + gap, row.x1 - 3 * size - 2 * gap,
                                      row.x1 - 2 * size - gap, row.x1 - size};
    for (size_t i = 0; i < kBarButtons; ++i)
        m_bar[i]->draw(renderer, {lefts[i], row.y0, lefts[i] + size, row.y1});
    m_title.setText(m_pages[m_index]->getTitle() + "  " + std::to_string(m_index + 1) + "/" +
                    std::to_string(m_pages.size()));
    m_title.setBounds({lefts[kNext] + size + gap, row.y0, lefts[kSmaller] - gap, row.y1});
    renderer.draw(&m_title);
}

// --- input -------------------------------------------------------------------------------------------------

void Screens::handleTouches(qel::TouchState& touches) {
    for (const auto& button : m_bar) button->handleTouches(touches);
    touches.pushClip(m_pageArea);
    m_pages[m_index]->handleTouches(touches);
    m_mover->handleTouches(touches, *this);
    touches.popClip();
}

bool Screens::handleKey(const std::string& key) {
    if (m_pages[m_index]->handleKey(key)) return true;
    if (key == "left" || key == "right")
        turn(key == "left" ? -1 : 1);
    else if (key == "l")
        switchLanguage();
    else
        return handleScrollKey(key) || handleScaleKey(key);
    return true;
}

bool Screens::handleScrollKey(const std::string& key) {
    if (key == "up" || key == "down")
        scrollBy(key == "up" ? -m_look.buttonHeight : m_look.buttonHeight);
    else if (key == "pageup" || key == "pagedown" || key == "space")
        scrollBy((key == "pageup" ? -0.9f : 0.9f) * pageHeight());
    else if (key == "home" || key == "end")
        scrollTo(key == "home" ? 0 : m_contentHeight);
    else
        return false;
    return true;
}

/// The key of the plus sign also bears the equals sign on many keyboards, where it needs Shift.
bool Screens::handleScaleKey(const std::string& key) {
    std::string_view last = key;
    for (const std::string_view modifier : {"ctrl+", "shift+"})
        if (last.starts_with(modifier)) last.remove_prefix(modifier.size());
    if (last == "+" || last == "=" || last == "-")
        changeScale(last == "-" ? 1 / kScaleStep : kScaleStep);
    else if (last == "0")
        changeScale(0);
    else
        return false;
    return true;
}

void Screens::scrollBy(float pixels) {
    scrollTo(m_scroll + pixels);
    system()->delegateRequestFrame();
}

void Screens::scrollTo(float top) {
    m_scroll = std::clamp(top, 0.0f, std::max(0.0f, m_contentHeight - pageHeight()));
}

} // namespace qelscreens
