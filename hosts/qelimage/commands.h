// The commands of qelimage. Each returns the exit status and has reported what went wrong.
#pragma once

#include "options.h"
#include "output.h"

namespace qelimage {

/// Prints a line about each file.
int showInfo(const Options& options, Output& output);
/// Writes a picture in another format, size or orientation.
int convertPicture(const Options& options, Output& output);
/// Compares two pictures. @return 0 if they are equal, 1 if they differ.
int comparePictures(const Options& options, Output& output);
/// Writes the QR code of a text.
int writeQrCode(const Options& options, Output& output);

} // namespace qelimage
