// ReaderPage: shows a Markdown file or the pictures of a folder.
#pragma once

#include "page.h"
#include "picture_loader.h"
#include "reader_source.h"
#include "widgets.h"

namespace qelscreens {

/// A reader of the file or folder that was given. Without one it shows what it can open.
class ReaderPage : public Page {
    QEL_CLASS(ReaderPage, Page)

public:
    ReaderPage();

    /// Opens the file or folder @p path. @return what went wrong, which the page shows too; empty on success.
    std::string open(const std::string& path);

    qel::String getTitle() const override;
    void restyle(const Look& look) override;
    float draw(qel::Renderer& renderer, const qel::Rect& place, float visibleHeight) override;
    void handleTouches(qel::TouchState& touches) override;
    bool handleKey(const std::string& key) override;
    bool isWorking() const override { return m_loader.isLoading(); }

private:
    float drawText(qel::Renderer& renderer, const qel::Rect& place);
    void drawPicture(qel::Renderer& renderer, const qel::Rect& place);
    void showText();
    bool turn(int step);

    std::string m_path;
    ReaderSource m_source;
    size_t m_index = 0; ///< of the picture
    PictureLoader m_loader;
    qel::TextActor m_text;
    qel::TextActor m_caption;
    qel::RectActor m_picture;
    qel::SmartPointer<Button> m_previous;
    qel::SmartPointer<Button> m_next;
};

} // namespace qelscreens
