// ValueWindow: which values of a volume slices show from black to white.
#pragma once

#include <hosts/qelviewer/volume/histogram.h>

#include <span>

namespace qelviewer {

/// A range of values in the units of the file.
struct ValueWindow {
    double center = 0; ///< the value that is shown in the middle grey
    double width = 1;  ///< from black to white; above 0

    /// Returns the value that is black.
    double lower() const { return center - width / 2; }
    /// Returns the value that is white.
    double upper() const { return center + width / 2; }

    friend bool operator==(const ValueWindow&, const ValueWindow&) = default;
};

/// A window for a kind of tissue.
struct WindowPreset {
    const char* key;    ///< of the keyboard
    const char* text;   ///< key of the translated name
    ValueWindow window; ///< in Hounsfield units
};

/// Returns the windows for pictures of computed tomography.
std::span<const WindowPreset> windowPresets();

/// Returns the least width of a window that contains two values: a millionth of the larger one.
double leastWidth(double lower, double upper);
/// Returns the window of all values.
ValueWindow fullWindow(const Histogram& histogram);
/// Returns a window that suits most volumes: it leaves out the extremes and the background.
ValueWindow usualWindow(const Histogram& histogram);
/// Returns the value below which @p share of the voxels are that are not in the first bin, the background.
double quantile(const Histogram& histogram, double share);

} // namespace qelviewer
