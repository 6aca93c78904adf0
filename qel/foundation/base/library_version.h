// The version of the library, for the preprocessor and for constant expressions.
#pragma once

/// The major version: sources that compile with one version compile with later ones of the same major
/// version.
#define QEL_VERSION_MAJOR 4
/// The minor version: programs run with the shared library of the minor version that they were built with.
#define QEL_VERSION_MINOR 2
/// The patch version, which changes neither sources nor programs.
#define QEL_VERSION_PATCH 0
/// The version as one number that grows with it, such as 40200 for 4.2.0.
#define QEL_VERSION (QEL_VERSION_MAJOR * 10000 + QEL_VERSION_MINOR * 100 + QEL_VERSION_PATCH)

namespace qel {

/// QEL_VERSION_MAJOR as a constant.
inline constexpr int kVersionMajor = QEL_VERSION_MAJOR;
/// QEL_VERSION_MINOR as a constant.
inline constexpr int kVersionMinor = QEL_VERSION_MINOR;
/// QEL_VERSION_PATCH as a constant.
inline constexpr int kVersionPatch = QEL_VERSION_PATCH;
/// QEL_VERSION as a constant. Version (qel/system/report/version.h) describes the library that runs.
inline constexpr int kVersion = QEL_VERSION;

} // namespace qel
