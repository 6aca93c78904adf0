#include "options.h"

#include <hosts/shared/settings.h>
#include <hosts/window/input_commands.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace qelviewer {

namespace {

using qelhosts::inQuotes;
using qelhosts::Setting;
using qelhosts::ValueKind;

constexpr int kLongestSide = 16384;

/// Reads numbers that are separated by @p separator. @return empty if the text is anything else.
std::vector<double> readNumbers(const std::string& text, char separator) {
    std::vector<double> numbers;
    const char* position = text.data();
    const char* const end = position + text.size();
    while (true) {
        double number = 0;
        const auto [stop, error] = std::from_chars(position, end, number);
        if (error != std::errc() || !std::isfinite(number)) return {};
        numbers.push_back(number);
        if (stop == end) return numbers;
        if (*stop != separator) return {};
        position = stop + 1;
    }
}

bool isSide(double number) {
    return number >= 1 && number <= kLongestSide && number == std::floor(number);
}

/// The size of a picture, such as "800x600".
Setting size(int& width, int& height) {
    return {ValueKind::Other, [&width, &height](const std::string& value) {
                const std::vector<double> sides = readNumbers(value, 'x');
                if (sides.size() != 2 || !isSide(sides[0]) || !isSide(sides[1]))
                    return "not a size such as 800x600: " + inQuotes(value);
                width = static_cast<int>(sides[0]);
                height = static_cast<int>(sides[1]);
                return std::string();
            }};
}

Setting page(std::string& target) {
    return {ValueKind::Other, [&target](const std::string& value) {
                target = value;
                const bool isPage = value == "slices" || value == "volume" || value == "all";
                return isPage ? std::string() : "not a page: " + inQuotes(value);
            }};
}

Setting text(std::string& target) {
    return {ValueKind::Other, [&target](const std::string& value) {
                target = value;
                return value.empty() ? std::string("the name is empty") : std::string();
            }};
}

Setting valueWindow(std::optional<std::pair<double, double>>& target) {
    return {ValueKind::Other, [&target](const std::string& value) {
                const std::vector<double> numbers = readNumbers(value, ',');
                if (numbers.size() != 2 || !(numbers[1] > 0))
                    return "not a centre and a width above 0, such as 40,400: " + inQuotes(value);
                target = {numbers[0], numbers[1]};
                return std::string();
            }};
}

Setting camera(CameraAngles& target) {
    return {ValueKind::Other, [&target](const std::string& value) {
                const std::vector<double> numbers = readNumbers(value, ',');
                const double zoom = numbers.size() == 3 ? numbers[2] : 1;
                if (numbers.size() < 2 || numbers.size() > 3 || !(zoom >= 0.1 && zoom <= 20))
                    return "not two angles and a zoom from 0.1 to 20, such as 30,10,1.5: " + inQuotes(value);
                target = {numbers[0], numbers[1], zoom};
                return std::string();
            }};
}

std::vector<qelhosts::Option> optionsFor(Options& options) {
    using namespace qelhosts;
    return {
        {"--screenshot", "FILE", path(options.screenshot, "file"),
         "write a picture of the window to the PNG file FILE and end; no window is opened"},
        {"--size", "WxH", size(options.width, options.height),
         "the width and height of the window or picture; default: 1280x860"},
        {"--page", "NAME", page(options.page),
         "the page that is shown: \"slices\", \"volume\" or \"all\", which is the default"},
        {"--material", "NAME", text(options.material), "show the volume with the material NAME"},
        {"--camera", "A,E[,Z]", camera(options.camera),
         "look at the volume from A degrees to the left side of the body and E degrees above, Z "
         "times as large; 0,0 is the front; default: 25,12,1"},
        {"--window", "C,W", valueWindow(options.window),
         "show W values around C from black to white in the slices"},
        {"--frames", "FOLDER", path(options.frames, "folder"),
         "write a picture of each page to FOLDER, which is created; no window is opened"},
        {"--events", "FILE", qelhosts::path(options.events, "file"),
         "simulate the input that the lines of FILE, a file or a pipe, describe; with --frames, the "
         "program ends after them and writes only the frames that they ask for"},
        {"--scale", "N", number(options.scalePercent, 50, 400), "draw texts N percent as large, 50 to 400"},
        languageOption(options.language),
        {"--sample", "FILE", path(options.sample, "file"),
         "keep the sample volume in FILE; default: a file in the user's data folder"},
        resourcesOption(options.resources)};
}

} // namespace

qelhosts::Program describe(Options& options) {
    qelhosts::Program program{
        .name = "qelviewer",
        .purpose = "show a medical volume in slices and in 3D",
        .arguments = "[FILE]",
        .description =
            "Opens a volume: an NRRD file (.nrrd, .nhdr) or a NIfTI-1 file (.nii, .nii.gz). Without FILE it "
            "shows a sample volume, a head of ten ellipsoids, which is computed when it is opened for the "
            "first time.\n\n"
            "Three panes show axial, coronal and sagittal slices that a crosshair links; a fourth shows the "
            "volume in 3D. Drag with the left button to use the chosen tool or to turn the volume, drag with "
            "the right button to change the shown values, and turn the wheel to change slices. F1 lists all "
            "keys and gestures.\n\n"
            "Without a display, a picture of each page is written to the folder \"qelviewer\" in the working "
            "folder, unless --frames names another.",
        .options = optionsFor(options),
        .notes = qelwindow::kInputCommands,
        .statuses = {{0, "the window was closed, or all pictures were written"},
                     {1, "a file could not be read or written, there is no such material, or a line of "
                         "--events is wrong"},
                     {qelhosts::kInterruptedStatus, "Ctrl-C stopped the program"}},
        .files = {{"PREFIX/share/qelcore", "the resources, if the program is in PREFIX/bin"},
                  {"~/.local/share/ORLANE/qelviewer/head-phantom.nrrd",
                   "the sample volume, unless --sample is given"}},
        .examples = {{"qelviewer", "Shows the sample volume."},
                     {"qelviewer head.nii.gz", "Shows a file."},
                     {"qelviewer ct.nrrd --screenshot bone.png --page volume --material Bone",
                      "Writes a picture of the bones."}},
        .related = {"qelscreens", "qelimage"},
        .advice = ""};
    program.mixesOptions = true;
    addCommonOptions(program, options);
    return program;
}

void readArguments(Options& options, int, const char* const*) {
    if (options.help || options.version || !options.problem.empty()) return;
    if (!options.arguments.empty()) options.path = options.arguments.front();
    if (!options.arguments.empty() && options.path.empty())
        options.problem = "the path of the volume is empty";
    if (options.arguments.size() > 1) options.problem = "unknown argument " + inQuotes(options.arguments[1]);
}

} // namespace qelviewer
