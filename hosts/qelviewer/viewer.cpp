#include "viewer.h"

#include "readout.h"

#include <hosts/shared/file_replacement.h>
#include <hosts/widgets/fallback_fonts.h>
#include <hosts/window/pointers.h>

#include <qel/scene/actors/touch_state.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <utility>

namespace qelviewer {

namespace {

constexpr float kScaleStep = 1.25f;
constexpr float kZoomStep = 1.25f;
constexpr int kManySlices = 10;

} // namespace

const Viewer::KeyRow Viewer::kKeys[] = {
    {"f1", [](Viewer& v) { v.m_help->toggle(); }},
    {"h", [](Viewer& v) { v.m_help->toggle(); }},
    {"f2", [](Viewer& v) { v.showPage(Page::Slices); }},
    {"f3", [](Viewer& v) { v.showPage(Page::Volume); }},
    {"f4", [](Viewer& v) { v.showPage(Page::All); }},
    {"up", [](Viewer& v) { v.scroll(-1); }},
    {"down", [](Viewer& v) { v.scroll(1); }},
    {"pageup", [](Viewer& v) { v.scroll(-kManySlices); }},
    {"pagedown", [](Viewer& v) { v.scroll(kManySlices); }},
    {"c", [](Viewer& v) { v.m_state.tool = Tool::Crosshair; }},
    {"w", [](Viewer& v) { v.m_state.tool = Tool::Window; }},
    {"d", [](Viewer& v) { v.m_state.tool = Tool::Distance; }},
    {"a", [](Viewer& v) { v.m_state.tool = Tool::Angle; }},
    {"delete", [](Viewer& v) { v.m_state.measurements.clear(); }},
    {"x", [](Viewer& v) { v.m_state.showsCross = !v.m_state.showsCross; }},
    {"b", [](Viewer& v) { v.m_state.showsBox = !v.m_state.showsBox; }},
    {"o", [](Viewer& v) { v.m_state.isShaded = !v.m_state.isShaded; }},
    {"z", [](Viewer& v) { v.m_state.zoomSlices(kZoomStep); }},
    {"shift+z", [](Viewer& v) { v.m_state.zoomSlices(1 / kZoomStep); }},
    {"r", [](Viewer& v) { v.m_state.resetView(); }},
    {"m", [](Viewer& v) { v.stepMaterial(); }},
    {"s", [](Viewer& v) { v.requestScreenshot(); }},
    {"l", [](Viewer& v) { v.switchLanguage(); }},
    {"+", [](Viewer& v) { v.changeScale(kScaleStep); }},
    {"=", [](Viewer& v) { v.changeScale(kScaleStep); }},
    {"-", [](Viewer& v) { v.changeScale(1 / kScaleStep); }},
};

Viewer::Viewer(const Options& options, const std::vector<std::string>& resourceFolders)
    : m_materials(resourceFolders),
      m_hasFirstWindow(options.window.has_value()),
      m_firstMaterial(options.material),
      m_volume(new VolumePane(m_state, m_scene)),
      m_toolbar(new Toolbar(toolbarActions())),
      m_panel(new Panel()),
      m_presets(new PresetCard(m_state)),
      m_histogram(new HistogramCard(m_state)),
      m_materialCard(new MaterialCard(m_state, m_materials, [this](size_t index) { chooseMaterial(index); })),
      m_clip(new ClipCard(m_state)),
      m_measurements(
          new TableCard("viewer-card-measurements",
                        [this] { return m_state.study ? measurementRows(m_state) : TableCard::Rows(); })),
      m_header(
          new TableCard("viewer-card-header",
                        [this] { return m_state.study ? headerRows(*m_state.study) : TableCard::Rows(); })),
      m_help(new HelpOverlay()),
      m_screenshots(
          [this](const std::string& path, const std::string& problem) { showSaved(path, problem); }),
      m_loader(m_scene.getRenderer(), [this](std::shared_ptr<const Study> study, const std::string& problem) {
          finishLoading(std::move(study), problem);
      }) {
    if (options.window) m_firstWindow = {options.window->first, options.window->second};
    for (const Plane plane : {Plane::Axial, Plane::Coronal, Plane::Sagittal})
        m_slices[static_cast<size_t>(plane)] = new SlicePane(plane, m_state);
    m_state.setCamera(options.camera);
    showPage(options.page == "slices" ? Page::Slices : options.page == "volume" ? Page::Volume : Page::All);
}

ToolbarActions Viewer::toolbarActions() {
    return {[this](Page page) { showPage(page); }, [this](Tool tool) { m_state.tool = tool; },
            [this] { requestScreenshot(); }, [this] { switchLanguage(); }, [this] { m_help->toggle(); }};
}

void Viewer::connect(qelwindow::DisplayTheme& theme, CopyFrame copyFrame) {
    m_theme = &theme;
    m_copyFrame = std::move(copyFrame);
}

void Viewer::setProgressive(bool isOn) {
    m_isProgressive = isOn;
    if (isOn) m_panel->startOver();
    m_scene.getRenderer()->setProgressive(isOn);
    for (const auto& pane : m_slices) pane->setProgressive(isOn);
}

// --- files -------------------------------------------------------------------------------------------------

void Viewer::loadFirst(const Options& options) {
    if (!options.path.empty()) return m_loader.load(options.path);
    const std::string cache = system()->getCacheDirectory() + "/qelviewer/head-phantom.nrrd";
    const bool isChosen = !options.sample.empty();
    m_loader.loadSample(isChosen ? options.sample : cache, isChosen);
}

void Viewer::openPath(const std::string& path) {
    m_status.setMessage("", false);
    m_loader.load(path);
}

/// Shows a volume that has been loaded. The settings of the command line hold for the first one.
void Viewer::finishLoading(std::shared_ptr<const Study> study, const std::string& problem) {
    m_problem = problem;
    m_status.setMessage(problemText(problem), !problem.empty());
    system()->delegateRequestFrame();
    if (!study) return;
    m_isPassFull = true;
    const bool isFirst = !m_state.study;
    if (!isFirst) m_replaced.push_back(m_state.study);
    for (const auto& pane : m_slices) pane->clear();
    m_state.setStudy(std::move(study));
    if (isFirst && m_hasFirstWindow) m_state.window = m_firstWindow;
    m_scene.setStudy(*m_state.study);
    m_materials.adaptTo(*m_state.study);
    m_materialCard->invalidate();
    chooseMaterial(m_materials.bestFor(*m_state.study));
    if (!isFirst || m_firstMaterial.empty() || showMaterial(m_firstMaterial)) return;
    m_problem = "there is no material '" + m_firstMaterial + "'";
    m_status.setMessage(problemText(m_problem), true);
}

bool Viewer::isSource(const std::string& path) const {
    if (!m_state.study) return false;
    const VolumeHeader& header = m_state.study->header;
    return qelhosts::isSameFile(path, header.path) || qelhosts::isSameFile(path, header.dataPath);
}

bool Viewer::showMaterial(const std::string& name) {
    const auto index = m_materials.find(name);
    if (index) chooseMaterial(*index);
    return index.has_value();
}

void Viewer::chooseMaterial(size_t index) {
    m_state.material = index;
    m_scene.setMaterial(m_materials[index]);
    m_volume->invalidate();
}

void Viewer::stepMaterial() {
    chooseMaterial((m_state.material + 1) % m_materials.size());
}

/// Destroys volumes that nothing uses any more on a worker, because returning their memory takes long.
void Viewer::freeReplaced() {
    std::erase_if(m_replaced, [this](std::shared_ptr<const Study>& study) {
        if (study.use_count() > 1 || study->volume->getReferenceCount() > 1) return false;
        m_freeing.push([freed = std::move(study)] {});
        return true;
    });
}

/// Saves a picture of the window; in a window that others use meanwhile, in a pass of its own as soon as all
/// panes are exact and the last picture is written, so that a key that is held keeps few pictures in memory.
void Viewer::requestScreenshot() {
    if (m_isProgressive)
        m_isScreenshotWanted = true;
    else
        saveScreenshot();
}

void Viewer::finishScreenshot() {
    if (!m_isScreenshotWanted) return;
    setProgressive(false);
    m_volume->invalidate();
    saveScreenshot();
}

bool Viewer::isExact() const {
    return m_volume->isExact() &&
           std::none_of(m_slices.begin(), m_slices.end(), [](const auto& pane) { return pane->isReading(); });
}

void Viewer::saveScreenshot() {
    m_isScreenshotWanted = false;
    qel::Image picture;
    if (!m_copyFrame || !m_copyFrame(picture)) return;
    m_screenshots.write(std::move(picture));
    if (!m_isProgressive) m_screenshots.wait();
}

void Viewer::showSaved(const std::string& path, const std::string& problem) {
    const std::string saved = std::string(tr("viewer-saved")) + " " + path;
    m_status.setMessage(problem.empty() ? saved : problemText(problem), !problem.empty());
    system()->delegateRequestFrame();
}

bool Viewer::isWorking() const {
    return m_loader.isLoading() ||
           std::any_of(m_slices.begin(), m_slices.end(), [](const auto& pane) { return pane->isReading(); });
}

// --- look --------------------------------------------------------------------------------------------------

void Viewer::adapt() {
    m_newStyles = {qel::FontStyle::Regular, qel::FontStyle::Bold};
    if (m_isProgressive)
        m_panel->startOver();
    else
        while (prepareFonts()) {
        }
    restyle();
}

/// Adds other scripts to the new fonts of a style. @return false if there are no new fonts.
bool Viewer::prepareFonts() {
    if (m_newStyles.empty()) return false;
    qelwidgets::setFallbackFonts(m_newStyles.back());
    m_newStyles.pop_back();
    return true;
}

/// Leaves the frame to the next pass if this one has taken over a volume or a theme, prepares fonts, saves a
/// picture or draws the volume.
bool Viewer::prepareFrame(qel::Renderer& renderer) {
    if (!m_isProgressive) return false;
    if (std::exchange(m_isPassFull, false) || prepareFonts()) return true;
    if (m_isScreenshotWanted && isExact() && !m_screenshots.isWriting()) {
        saveScreenshot();
        return true;
    }
    return m_volume->update(renderer);
}

void Viewer::restyle() {
    m_isPassFull = true;
    m_look = qelwidgets::Look::read();
    m_labels.clear();
    for (const auto& pane : m_slices) pane->restyle(m_look);
    m_volume->restyle(m_look);
    m_toolbar->restyle(m_look);
    for (qelwidgets::Card* const card :
         std::initializer_list<qelwidgets::Card*>{m_presets.get(), m_histogram.get(), m_materialCard.get(),
                                                  m_clip.get(), m_measurements.get(), m_header.get()})
        card->restyle(m_look);
    m_status.restyle(m_look);
    m_help->restyle(m_look);
    system()->delegateRequestFrame();
}

void Viewer::switchLanguage() {
    system()->setLanguage(system()->getLanguage() == "de" ? "en" : "de");
    clearTrCache();
    restyle();
}

void Viewer::changeScale(float factor) {
    if (!m_theme) return;
    m_theme->setUserScale(m_theme->getUserScale() * factor);
    adapt();
}

void Viewer::showPage(Page page) {
    m_page = page;
    m_alone = -1;
    choosePanes();
}

void Viewer::choosePanes() {
    switch (m_page) {
    case Page::Slices:
        return m_panel->setCards({m_presets.get(), m_histogram.get(), m_measurements.get(), m_header.get()});
    case Page::Volume:
        return m_panel->setCards({m_materialCard.get(), m_clip.get(), m_histogram.get(), m_header.get()});
    case Page::All:
        return m_panel->setCards({m_presets.get(), m_histogram.get(), m_materialCard.get(), m_clip.get(),
                                  m_measurements.get(), m_header.get()});
    }
}

// --- input -------------------------------------------------------------------------------------------------

bool Viewer::handleKey(const std::string& key) {
    m_status.dismissError();
    if (m_help->isOpen() && key != "l") {
        m_help->handleKey(key);
        return true;
    }
    for (const KeyRow& row : kKeys) {
        if (key != row.key) continue;
        row.run(*this);
        return true;
    }
    choosePreset(key);
    return key.size() == 1 && key[0] >= '0' && key[0] <= '9';
}

void Viewer::choosePreset(const std::string& key) {
    if (!m_state.study) return;
    if (key == "0") m_state.window = fullWindow(m_state.study->histogram);
    for (const WindowPreset& preset : windowPresets())
        if (key == preset.key) m_state.window = preset.window;
}

/// Scrolls the slices of the pane that was touched or pointed at last.
void Viewer::scroll(int slices) {
    const SlicePane& pane = *m_slices[static_cast<size_t>(m_active)];
    if (m_state.study) m_state.moveCross(m_state.frame(pane.getPlane()).moved(m_state.cross, slices));
}

void Viewer::handleTouches(qel::TouchState& touches) {
    const auto isPress = [](const auto& touch) {
        return touch->isBegin() && (touch->getFlags() & qelwindow::kTouchPress) != 0;
    };
    const auto& all = touches.getAllTouches();
    if (std::any_of(all.begin(), all.end(), isPress)) m_status.dismissError();
    if (m_help->isOpen()) return m_help->handleTouches(touches);
    m_toolbar->handleTouches(touches);
    m_panel->handleTouches(touches);
    for (const auto& pane : m_slices) pane->handleTouches(touches);
    m_volume->handleTouches(touches);
    updatePointer(touches);
    enlargeTapped();
}

/// Finds the pane under the mouse or a finger.
void Viewer::updatePointer(const qel::TouchState& touches) {
    m_pointer.reset();
    for (const auto& touch : touches.getAllTouches()) {
        m_pointer = touch->getPosition();
        for (size_t i = 0; i < m_slices.size(); ++i)
            if (m_slices[i]->voxelAt(*m_pointer)) m_active = static_cast<int>(i);
    }
}

/// Lets a pane that was tapped twice fill the window, or undoes that.
void Viewer::enlargeTapped() {
    for (int i = 0; i < 4; ++i) {
        const bool wasTapped =
            i < 3 ? m_slices[static_cast<size_t>(i)]->takeDoubleTap() : m_volume->takeDoubleTap();
        if (wasTapped && m_state.tool == Tool::Crosshair) m_alone = m_alone >= 0 ? -1 : i;
    }
}

} // namespace qelviewer
