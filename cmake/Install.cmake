# What an installation consists of, by component: Runtime (the library), Development (headers and what finds them),
# Hosts (the programs, in hosts/CMakeLists.txt). No file of it holds an absolute path.
include(CMakePackageConfigHelpers)
set(QEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qelCore)

install(TARGETS qelCore EXPORT qelCoreTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
install(DIRECTORY qel/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qel COMPONENT Development
    FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE PATTERN linux EXCLUDE)

install(EXPORT qelCoreTargets NAMESPACE qelCore:: DESTINATION ${QEL_CMAKE_DIR} COMPONENT Development)
configure_package_config_file(cmake/qelCoreConfig.cmake.in ${PROJECT_BINARY_DIR}/qelCoreConfig.cmake
    INSTALL_DESTINATION ${QEL_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qelCoreConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qelCoreConfig.cmake ${PROJECT_BINARY_DIR}/qelCoreConfigVersion.cmake
              cmake/FindSquirrel.cmake
        DESTINATION ${QEL_CMAKE_DIR} COMPONENT Development)

file(RELATIVE_PATH QEL_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/qelCore.pc.in ${PROJECT_BINARY_DIR}/qelCore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qelCore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
