// What kind of file a stream holds, by its first bytes, and the preamble of DICOM files.
#pragma once

#include <qel/platform/api.h>

#include <istream>
#include <ostream>

namespace qel::util {

/// The kinds of files that detectFileType() knows.
enum class FileType : int {
    Unknown = 0, ///< none of these
    Dicom = 1,   ///< DICOM with a preamble
    Jpeg = 2,    ///< JPEG in the JFIF form; files that begin with an Exif marker are not recognised
    Png = 3,     ///< PNG
    Bmp = 4,     ///< BMP
    Pdf = 5,     ///< PDF
    Zip = 6,     ///< ZIP
};

// The functions read from the start of a binary stream and restore its position; its state does not change,
// even if the file is shorter than what they look for. A stream that is not good, or has no position, answers
// Unknown, 0 or false.

/// Returns the kind of a file, testing in the order of FileType.
QEL_API FileType detectFileType(std::istream& stream);
/// Returns 1 if bytes 128 to 131 are "DICM", -1 if they are not or the file is shorter, and 0 if the stream
/// is not good.
QEL_API int isDicomFileExt(std::istream& stream);
/// Returns whether a file begins like a JFIF file.
QEL_API bool isJpegFile(std::istream& stream);
/// Returns whether a file begins with the signature of PNG.
QEL_API bool isPngFile(std::istream& stream);
/// Returns whether a file begins with "BM".
QEL_API bool isBmpFile(std::istream& stream);
/// Returns whether a file begins with "%PDF-".
QEL_API bool isPdfFile(std::istream& stream);
/// Returns whether a file begins with the signature of a ZIP entry.
QEL_API bool isZipFile(std::istream& stream);

/// Overwrites the preamble of a DICOM file, its first 128 bytes, with zeros: it may hold foreign content,
/// such as a program. The position is restored. A stream opened for appending writes elsewhere and cannot be
/// used.
/// @return true if the stream is good afterwards.
QEL_API bool sanitizeDicomFile(std::ostream& stream);
/// Returns whether the first 128 bytes are zero and "DICM" follows.
QEL_API bool isSanitizedDicomFile(std::istream& stream);

} // namespace qel::util
