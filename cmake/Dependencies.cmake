# The libraries that this library uses. Its users see only Squirrel's headers.
find_package(Threads REQUIRED)
find_package(Squirrel REQUIRED)
find_package(fmt REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(zstd REQUIRED IMPORTED_TARGET libzstd)
pkg_check_modules(isal REQUIRED IMPORTED_TARGET libisal)
pkg_check_modules(fribidi REQUIRED IMPORTED_TARGET fribidi)
pkg_check_modules(sqlite REQUIRED IMPORTED_TARGET sqlite3)
pkg_check_modules(uriparser REQUIRED IMPORTED_TARGET liburiparser)
pkg_check_modules(webp REQUIRED IMPORTED_TARGET libwebp)
pkg_check_modules(deflate REQUIRED IMPORTED_TARGET libdeflate)
pkg_check_modules(freetype REQUIRED IMPORTED_TARGET freetype2)
pkg_check_modules(qrcodegen REQUIRED IMPORTED_TARGET qrcodegencpp)
find_path(QELCORE_LODEPNG_INCLUDE lodepng.h REQUIRED) # has no module of pkg-config
find_library(QELCORE_LODEPNG_LIBRARY lodepng REQUIRED)
mark_as_advanced(QELCORE_LODEPNG_INCLUDE QELCORE_LODEPNG_LIBRARY)
find_path(QELCORE_INIPARSER_INCLUDE iniparser.h PATH_SUFFIXES iniparser REQUIRED) # has no module of pkg-config
find_library(QELCORE_INIPARSER_LIBRARY iniparser REQUIRED)
mark_as_advanced(QELCORE_INIPARSER_INCLUDE QELCORE_INIPARSER_LIBRARY)
find_path(QELCORE_STB_INCLUDE stb/stb_rect_pack.h REQUIRED) # has neither a module nor a library that is needed
mark_as_advanced(QELCORE_STB_INCLUDE)
# Only Highway's headers are used; its library would slow down the start of every program.
pkg_check_modules(hwy REQUIRED libhwy)
# Only the window of desktop hosts needs it.
pkg_check_modules(sdl2 QUIET IMPORTED_TARGET sdl2)
if(QELCORE_BUILD_HOSTS) # the viewer reads compressed volumes
    pkg_check_modules(zlib REQUIRED IMPORTED_TARGET zlib)
endif()
# Only the component shaping links it.
pkg_check_modules(harfbuzz REQUIRED IMPORTED_TARGET harfbuzz)
