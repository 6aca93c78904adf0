// Viewer: the content of the window.
#pragma once

#include "help_overlay.h"
#include "material_list.h"
#include "panel.h"
#include "panel_cards.h"
#include "screenshot_writer.h"
#include "slice_pane.h"
#include "status_bar.h"
#include "study_loader.h"
#include "toolbar.h"
#include "volume_pane.h"

#include <hosts/window/display_theme.h>
#include <hosts/window/screen.h>

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qelviewer {

/// Shows a volume: panes with slices and the volume, a panel with settings, and bars above and below them.
/// @threads main thread.
class Viewer : public qel::Object, public qelwindow::Screen {
    QEL_CLASS(Viewer, qel::Object)

public:
    /// Copies a picture of the window. @return false if the window has no pixels.
    using CopyFrame = std::function<bool(qel::Image& picture)>;

    /// Creates the panes. @param options  the first settings.
    Viewer(const Options& options, const std::vector<std::string>& resourceFolders);

    /// Sets what the viewer needs of the loop that shows it. @param theme  must outlive this object.
    void connect(qelwindow::DisplayTheme& theme, CopyFrame copyFrame);
    /// Lets the volume be coarse while it moves, and slices and saved pictures appear later.
    void setProgressive(bool isOn);
    /// Starts to load the file of the options, or the sample volume.
    void loadFirst(const Options& options);
    /// Returns true while a worker loads. The next pass of System after its end shows the volume.
    bool isReading() const { return m_loader.isRunning(); }
    /// Returns why the last file could not be loaded; empty if it could.
    const std::string& getProblem() const { return m_problem; }
    /// Returns true if @p path leads to a file from which the volume was read.
    bool isSource(const std::string& path) const;
    /// Saves a picture that was requested and waits for panes to be exact. Call it when the window is closed.
    void finishScreenshot();
    /// Shows a page.
    void showPage(Page page);
    /// Shows the volume with a material. @return false if it does not exist.
    bool showMaterial(const std::string& name);

    void adapt() override;
    bool prepareFrame(qel::Renderer& renderer) override;
    bool wantsFrame() const override;
    void draw(qel::Renderer& renderer) override;
    void handleTouches(qel::TouchState& touches) override;
    bool handleKey(const std::string& key) override;
    void openPath(const std::string& path) override;
    bool isWorking() const override;

private:
    /// A key and what it does.
    struct KeyRow {
        const char* key;
        void (*run)(Viewer& viewer);
    };
    static const KeyRow kKeys[];

    void finishLoading(std::shared_ptr<const Study> study, const std::string& problem);
    void restyle();
    bool prepareFonts();
    void choosePanes();
    void chooseMaterial(size_t index);
    void requestScreenshot();
    bool isExact() const;
    void saveScreenshot();
    void showSaved(const std::string& path, const std::string& problem);
    void freeReplaced();
    void switchLanguage();
    void changeScale(float factor);
    void stepMaterial();
    void scroll(int slices);
    void choosePreset(const std::string& key);
    void enlargeTapped();
    void updatePointer(const qel::TouchState& touches);
    qel::IVec3<double> voxelToDescribe() const;
    void drawPanes(qel::Renderer& renderer, const qel::Rect& place);
    int loadedPercent() const;
    void drawLoading(qel::Renderer& renderer, const qel::Rect& place);
    ToolbarActions toolbarActions();

    ViewState m_state;
    VolumeScene m_scene;
    MaterialList m_materials;
    ValueWindow m_firstWindow;
    bool m_hasFirstWindow;
    std::string m_firstMaterial;
    std::array<qel::SmartPointer<SlicePane>, 3> m_slices;
    qel::SmartPointer<VolumePane> m_volume;
    qel::SmartPointer<Toolbar> m_toolbar;
    qel::SmartPointer<Panel> m_panel;
    qel::SmartPointer<PresetCard> m_presets;
    qel::SmartPointer<HistogramCard> m_histogram;
    qel::SmartPointer<MaterialCard> m_materialCard;
    qel::SmartPointer<ClipCard> m_clip;
    qel::SmartPointer<TableCard> m_measurements;
    qel::SmartPointer<TableCard> m_header;
    StatusBar m_status;
    qel::SmartPointer<HelpOverlay> m_help;
    Labels m_labels;
    qelwidgets::Look m_look;
    qelwindow::DisplayTheme* m_theme = nullptr;
    CopyFrame m_copyFrame;
    Page m_page = Page::All;
    int m_alone = -1; ///< the pane that fills the window: 0 to 2 a slice, 3 the volume; -1 for none
    int m_active = 0; ///< the slice that the keys scroll
    std::optional<qel::IVec2<float>> m_pointer; ///< the place of the mouse or a finger
    std::string m_problem;
    bool m_isProgressive = false;
    std::vector<qel::FontStyle> m_newStyles; ///< whose fonts lack other scripts
    bool m_isPassFull = false; ///< the present pass has done enough to leave the frame to the next one
    bool m_isScreenshotWanted = false;
    int m_shownPercent = 0;                               ///< of a volume that is being loaded
    std::vector<std::shared_ptr<const Study>> m_replaced; ///< volumes that may still be in use
    BackgroundQueue m_freeing;                            ///< destroys them
    ScreenshotWriter m_screenshots;
    StudyLoader m_loader; ///< the last member, because its worker must stop first
};

} // namespace qelviewer
