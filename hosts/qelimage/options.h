// The command line of qelimage.
#pragma once

#include <hosts/shared/command_line.h>
#include <qel/foundation/base/ivec.h>

#include <optional>
#include <string>

namespace qelimage {

/// The values of the command line. CommandLine::arguments are the command and its arguments.
struct Options : qelhosts::CommandLine {
    std::string format;                  ///< file format of the output; empty to follow its extension
    std::optional<qel::IVec2<int>> size; ///< width and height of the output in pixels
    std::optional<qel::IVec4<int>> crop; ///< left, top, right and bottom of the part of the input
    int quarterTurns = 0;                ///< clockwise quarter turns, negative for the other direction
    bool large = false;                  ///< true for a large picture of the ray tracer
    std::string difference;              ///< where to write the picture of the differences; empty for none
};

/// Returns the table of options and the manual. @param options  receives the values; must outlive the result.
qelhosts::Program describe(Options& options);

} // namespace qelimage
