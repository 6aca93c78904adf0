# What an installation consists of, by component: Runtime (the library), Development (headers and what finds them), Hosts
# (the programs, in hosts/CMakeLists.txt) and Documentation. No file of it holds an absolute path.
include(CMakePackageConfigHelpers)
set(QEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qelCore)

install(TARGETS qelCore qelCore_script EXPORT qelCoreTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)

# The interface: what its two headers include, and the test seams. tools/check umbrella keeps the two.
set(umbrellas qel/qel.h qel/script.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${umbrellas})
file(GLOB headers RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS qel/testing/*.h)
foreach(umbrella IN LISTS umbrellas)
    file(STRINGS ${umbrella} included REGEX "^#include <qel/")
    list(TRANSFORM included REPLACE "^#include <(.*)>$" "\\1")
    list(APPEND headers ${umbrella} ${included})
endforeach()
list(FILTER headers EXCLUDE REGEX "_p\\.h$")
foreach(header IN LISTS headers)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT Development)
endforeach()

# The CMake package. Sources that build with one version build with later ones of the same major version.
install(EXPORT qelCoreTargets NAMESPACE qelCore:: DESTINATION ${QEL_CMAKE_DIR} COMPONENT Development)
configure_package_config_file(cmake/qelCoreConfig.cmake.in ${PROJECT_BINARY_DIR}/qelCoreConfig.cmake
    INSTALL_DESTINATION ${QEL_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qelCoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qelCoreConfig.cmake ${PROJECT_BINARY_DIR}/qelCoreConfigVersion.cmake
              cmake/FindSquirrel.cmake
        DESTINATION ${QEL_CMAKE_DIR} COMPONENT Development)

# The modules for pkg-config.
file(RELATIVE_PATH QEL_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(module qelCore qelCore-script)
    configure_file(cmake/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
            COMPONENT Development)
endforeach()
foreach(component IN LISTS QEL_COMPONENTS)
    configure_file(cmake/qelCore-component.pc.in ${PROJECT_BINARY_DIR}/qelCore-${component}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/qelCore-${component}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
            COMPONENT Development)
endforeach()
