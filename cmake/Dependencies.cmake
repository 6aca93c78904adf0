# What the library stands on. Only Squirrel's headers reach its users.
find_package(Threads REQUIRED)
find_package(Squirrel REQUIRED)
find_package(fmt REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(zstd REQUIRED IMPORTED_TARGET libzstd)
pkg_check_modules(isal REQUIRED IMPORTED_TARGET libisal)
pkg_check_modules(fribidi REQUIRED IMPORTED_TARGET fribidi)
# Highway is used by its headers alone; its library would slow down the start of every program.
pkg_check_modules(hwy REQUIRED libhwy)
