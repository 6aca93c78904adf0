// The command line of the screens.
#pragma once

#include <hosts/shared/command_line.h>

#include <string>
#include <vector>

namespace qelscreens {

/// The settings on the command line. CommandLine::firstArgument is the file or folder for the reader.
struct Options : qelhosts::CommandLine {
    std::string frames;                 ///< folder for the pages as PNG files; empty for a window
    std::string events;                 ///< file with simulated input; empty for none
    std::vector<std::string> resources; ///< folders that contain resource packages
    std::string style;                  ///< stylesheet; empty for the shipped one
    std::string language;               ///< language of texts; empty for the user's language
    int width = 1100;                   ///< of the window
    int height = 760;                   ///< of the window
    int scalePercent = 100;             ///< the user's scale
    int page = 1;                       ///< the first page that is shown
    std::string path;                   ///< the file or folder for the reader; may be empty
};

/// Returns the table of options and the manual. @param options  receives the values; must outlive the result.
qelhosts::Program describe(Options& options);

/// Reads the file or folder, which follows the options.
void readArguments(Options& options, int argc, const char* const* argv);

} // namespace qelscreens
