#include "options.h"

#include <hosts/shared/settings.h>
#include <hosts/window/input_commands.h>

namespace qelscreens {

qelhosts::Program describe(Options& options) {
    using namespace qelhosts;
    Program program{
        .name = "qelscreens",
        .purpose = "show what texts, pictures and touches can look like",
        .arguments = "[FILE.md | FOLDER]",
        .description =
            "Shows pages about texts, rectangles and pictures, placement, graphs and touches in a window, "
            "and a "
            "reader for a Markdown file or for the PNG and WebP files of a folder.\n\n"
            "Arrow keys or a swipe turn the pages. L switches between English and German, + and - change the "
            "scale, F11 fills the display, and Ctrl+Q ends the program. The stylesheet is read again when "
            "its "
            "file changes.\n\n"
            "Without a display, the pages are written as PNG files to the folder \"qelscreens\" in the "
            "working "
            "folder, unless --frames names another.",
        .options =
            {{"--frames", "FOLDER", path(options.frames, "folder"),
              "write each page to FOLDER, which is created, as a PNG file; no window is opened"},
             {"--events", "FILE", path(options.events, "file"),
              "simulate the input that the lines of FILE, a file or a pipe, describe; with --frames, the "
              "program ends after them and writes only the frames that they ask for"},
             {"--page", "N", number(options.page, 1, 6, "number of a page"), "show page N first, 1 to 6"},
             {"--width", "N", number(options.width, 1, 16384), "the width of the window; default: 1100"},
             {"--height", "N", number(options.height, 1, 16384), "the height of the window; default: 760"},
             {"--scale", "N", number(options.scalePercent, 50, 400),
              "draw everything N percent as large, 50 to 400"},
             languageOption(options.language),
             {"--style", "FILE", file(options.style),
              "use the stylesheet FILE; what it does not state comes from the shipped one"},
             resourcesOption(options.resources)},
        .notes = qelwindow::kInputCommands,
        .statuses = {{0, "the window was closed, or all pages were written"},
                     {1, "a file could not be read or written, or a line of --events is wrong"},
                     {kInterruptedStatus, "Ctrl-C stopped the program"}},
        .files = {{"PREFIX/share/qelcore", "the resources, if the program is in PREFIX/bin"}},
        .examples = {{"qelscreens", "Opens the window."},
                     {"qelscreens README.md", "Shows a text."},
                     {"qelscreens --frames pages --scale 200", "Writes the pages at twice their size."}},
        .related = {"qelimage", "qelhost"},
        .advice = ""};
    addCommonOptions(program, options);
    return program;
}

void readArguments(Options& options, int argc, const char* const* argv) {
    if (options.help || options.version || !options.problem.empty()) return;
    const int first = options.firstArgument;
    if (first < argc) options.path = argv[first];
    if (first + 1 < argc) options.problem = "unknown argument " + qelhosts::inQuotes(argv[first + 1]);
}

} // namespace qelscreens
