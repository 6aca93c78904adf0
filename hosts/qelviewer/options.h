// The command line of the viewer.
#pragma once

#include <hosts/shared/command_line.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qelviewer {

/// The direction from which the volume is seen.
struct CameraAngles {
    double azimuth = 0;   ///< degrees by which the camera has moved to the left side of the body
    double elevation = 0; ///< degrees by which it has moved towards the head
    double zoom = 1;      ///< 2 shows everything twice as large
};

/// The settings on the command line.
struct Options : qelhosts::CommandLine {
    std::string screenshot;             ///< PNG file to write; empty for a window
    std::string frames;                 ///< folder for a picture of each page; empty for a window
    std::string events;                 ///< file with simulated input; empty for none
    std::vector<std::string> resources; ///< folders that contain resource packages
    std::string language;               ///< language of texts; empty for the user's language
    std::string sample;                 ///< the file of the sample volume; empty for the default
    std::string page = "all";           ///< "slices", "volume" or "all"
    std::string material;               ///< the name of a material; empty for a suitable one
    std::optional<std::pair<double, double>> window; ///< centre and width of the shown values
    CameraAngles camera{25, 12, 1};                  ///< where the volume is seen from
    int width = 1280;                                ///< of the window
    int height = 860;                                ///< of the window
    int scalePercent = 100;                          ///< the user's scale
    std::string path;                                ///< the file to open; empty for the sample volume
};

/// Returns the table of options and the manual. @param options  receives the values; must outlive the result.
qelhosts::Program describe(Options& options);

/// Takes the file from the arguments.
void readArguments(Options& options, int argc, const char* const* argv);

} // namespace qelviewer
