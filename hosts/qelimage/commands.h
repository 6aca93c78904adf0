// The commands of qelimage. Each returns the exit status and has reported what went wrong.
#pragma once

#include "options.h"

namespace qelimage {

/// Prints a line about each file.
int showInfo(const Options& options);
/// Writes a picture in another format, size or orientation.
int convertPicture(const Options& options);
/// Compares two pictures. @return 0 if they are equal, 1 if they differ.
int comparePictures(const Options& options);
/// Writes a contact sheet of a folder.
int drawSheet(const Options& options);
/// Writes the QR code of a text.
int writeQrCode(const Options& options);
/// Writes a picture of the library's ray tracer.
int traceRays(const Options& options);
/// Writes pictures that the program draws itself.
int writeSamples(const Options& options);

} // namespace qelimage
