#include <hosts/widgets/desktop_program.h>

#include <hosts/shared/shipped_path.h>
#include <hosts/shared/standard_output.h>
#include <hosts/shared/unhandled_errors.h>
#include <hosts/widgets/fallback_fonts.h>
#include <hosts/widgets/text_table.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/plugins/resource_locator.h>
#include <qel/system/core/application.h>
#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

namespace qelwidgets {

namespace {

constexpr int kWarning = 2; // level of the log

const char* g_name = "";

void writeLogLine(const qel::logging::ConsoleLine& line) {
    if (line.level >= kWarning) qelhosts::complain(g_name, std::string(line.text));
}

} // namespace

int runDesktopProgram(const char* name, bool hasOwnClock, const std::function<int()>& body) {
    g_name = name;
    qel::logging::setConsoleWriter(&writeLogLine);
    qel::ManualClock clock;
    if (hasOwnClock) qel::Clock::install(&clock);
    qel::System::initialize([] { return new qel::Application(); });
    qel::System::installInterruptHandler();
    const int status = qelhosts::reportingErrors(name, body);
    qel::Object::system()->clearApplication();
    qel::System::deinitialize();
    qel::Clock::install(nullptr);
    qel::logging::setConsoleWriter(nullptr);
    return qelhosts::statusAfterOutput(status, name);
}

std::unique_ptr<qelwindow::Window> openWindow(const char* name, const qel::IVec2<int>& size,
                                              bool writesPictures, std::string& folder) {
    using qelwindow::Window;
    std::string problem;
    std::unique_ptr<Window> window;
    if (!writesPictures) {
        window = Window::open(Window::Place::Display, name, size, problem);
        if (window) return window;
        folder = name;
        qelhosts::print("there is no display (" + problem + "), so the pages are written as PNG files\n");
    }
    window = Window::open(Window::Place::Memory, name, size, problem);
    if (!window) qelhosts::complain(name, problem);
    return window;
}

std::vector<std::string> resourceFolders(const std::vector<std::string>& chosen) {
    if (!chosen.empty()) return chosen;
    return {qelhosts::pathFromProgram(qelhosts::kDataFolder)};
}

void addDesktopResources(const std::vector<std::string>& folders, const char* texts,
                         const std::string& language) {
    qel::System& system = *qel::Object::system();
    if (!language.empty()) system.setLanguage(language);
    qel::ResourceLocator& resources = *system.getResourceLocator();
    for (const std::string& folder : folders) {
        resources.addResourceDirectory(folder); // the stylesheet
        resources.addResourcePackagesFromDirectory(folder);
    }
    resources.addResourceDirectory(qelhosts::shippedFontsPath());
    addSystemFonts();
    const qel::SmartPointer<TextTable> table(new TextTable());
    for (const char* const code : {"en", "de"})
        if (!table->load(texts, code)) qel::logging::warning() << "the texts of the program are missing";
    resources.addResourceProvider(table.get());
}

} // namespace qelwidgets
