# Reads the version from the header that states it.
set(QEL_VERSION_HEADER ${CMAKE_CURRENT_SOURCE_DIR}/qel/foundation/base/library_version.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${QEL_VERSION_HEADER})
file(STRINGS ${QEL_VERSION_HEADER} version_lines REGEX "^#define QEL_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
list(TRANSFORM version_lines REPLACE "^.* ([0-9]+)$" "\\1")
list(JOIN version_lines . QELCORE_VERSION)
