// Screens: the pages, the bar above them, and what turns and scrolls them.
#pragma once

#include "page.h"
#include "reader_page.h"
#include "stylesheet_file.h"
#include "widgets.h"

#include <hosts/window/display_theme.h>
#include <hosts/window/screen.h>

#include <functional>

namespace qelscreens {

/// The content of the window: one of the pages, and a bar to turn the pages, to switch the language and to
/// change the scale. Touches that no page claims turn the pages or scroll.
/// @threads main thread.
class Screens : public qel::Object, public qelwindow::Screen {
    QEL_CLASS(Screens, qel::Object)

public:
    /// Creates the pages. @param stylesheet  the path of the stylesheet that is read again when it changes;
    /// empty for none.
    explicit Screens(const std::string& stylesheet);

    /// Sets how the buttons change the user's scale. @param theme null ignores them; must outlive this
    /// object.
    void setTheme(qelwindow::DisplayTheme* theme) { m_theme = theme; }
    /// Opens a file or folder in the reader and shows it. @return what went wrong; empty on success.
    std::string openInReader(const std::string& path);
    /// Returns the number of pages.
    size_t getPageCount() const { return m_pages.size(); }
    /// Returns page @p index.
    Page& getPage(size_t index) { return *m_pages[index]; }
    /// Shows page @p index; other pages than those that exist are ignored.
    void showPage(size_t index);
    /// Returns the index of the page that is shown.
    size_t getPageIndex() const { return m_index; }

    void adapt() override;
    void draw(qel::Renderer& renderer) override;
    void handleTouches(qel::TouchState& touches) override;
    bool handleKey(const std::string& key) override;
    void openPath(const std::string& path) override;
    bool isWorking() const override { return m_pages[m_index]->isWorking(); }

private:
    /// Owns the touches that turn and scroll the pages.
    class Mover;

    void restyle();
    void turn(int step);
    void scrollBy(float pixels);
    void scrollTo(float top);
    void changeScale(float factor);
    void switchLanguage();
    void drawBar(qel::Renderer& renderer, const qel::Rect& place);
    bool handleScrollKey(const std::string& key);
    bool handleScaleKey(const std::string& key);
    float pageHeight() const { return m_pageArea.getHeight(); }

    qelwindow::DisplayTheme* m_theme = nullptr;
    qel::Vector<qel::SmartPointer<Page>> m_pages;
    qel::SmartPointer<ReaderPage> m_reader;
    qel::SmartPointer<Mover> m_mover;
    qel::SmartPointer<StylesheetFile> m_stylesheet;
    Look m_look;
    size_t m_index = 0;
    float m_scroll = 0;        ///< pixels by which the page is moved upwards
    float m_contentHeight = 0; ///< of the page in the last frame
    qel::Rect m_pageArea;
    qel::TextActor m_title;
    qel::Vector<qel::SmartPointer<Button>> m_bar; ///< previous, next, smaller, larger, language
};

} // namespace qelscreens
