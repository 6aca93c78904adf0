# The Debian packages, one for each component of the installation; tools/package builds them.
set(QELCORE_MAINTAINER "The qelCore authors <qelcore@example.org>" CACHE STRING "Maintainer of the Debian packages")
set(QEL_DEBIAN_RELEASE 1)
set(QEL_PACKAGE_Runtime libqelcore${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(QEL_PACKAGE_Development libqelcore-dev)
set(QEL_PACKAGE_Hosts qelcore-tools)
set(QEL_PACKAGE_Desktop qelcore-desktop)
set(QEL_PACKAGE_Documentation qelcore-doc)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qelcore)
set(CPACK_PACKAGE_VENDOR "The qelCore authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_CONTACT ${QELCORE_MAINTAINER})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL Runtime Development Documentation)
if(QELCORE_BUILD_HOSTS)
    list(APPEND CPACK_COMPONENTS_ALL Hosts)
endif()
if(QELCORE_BUILD_HOSTS AND sdl2_FOUND)
    list(APPEND CPACK_COMPONENTS_ALL Desktop)
endif()
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/packages/finish_files.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${QEL_DEBIAN_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SOURCE qelcore)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/qel) # for the hosts
foreach(component IN LISTS QEL_COMPONENTS)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/components/${component})
endforeach()
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# Squirrel's library is not part of Debian 12; a neighbouring suite has it (tools/install_squirrel).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${QEL_PACKAGE_Runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/packages/triggers)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "core library of an application framework for medical imaging
qelCore is the part that viewers, servers, workers and command-line tools have
in common: objects, a main loop with task queues, data stores, packets, worker
processes, remote calls, files and scripts.
.
This package contains the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${QEL_PACKAGE_Development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "libsquirrel-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS ${QEL_PACKAGE_Documentation})
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "core library of an application framework for medical imaging: development
This package contains the headers of qelCore, its CMake package and its modules
for pkg-config. Hosts that bind scripts also need the headers of Squirrel, in
libsquirrel-dev.")

set(CPACK_DEBIAN_HOSTS_PACKAGE_NAME ${QEL_PACKAGE_Hosts})
set(CPACK_DEBIAN_HOSTS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_HOSTS_DEPENDS Runtime)
# The packages whose fonts it links to.
set(CPACK_DEBIAN_HOSTS_PACKAGE_DEPENDS "fonts-roboto-unhinted, fonts-noto-mono, fonts-noto-core")
get_property(CPACK_QEL_FONT_LINKS GLOBAL PROPERTY QEL_FONT_LINKS)
set(CPACK_QEL_FONT_FOLDER ${CMAKE_INSTALL_DATADIR}/qelcore/fonts)
set(CPACK_DEBIAN_HOSTS_DESCRIPTION "core library of an application framework for medical imaging: programs
qelhost runs scripts, with a sample plugin that catalogues a folder. qelserver
answers remote calls and runs jobs in worker processes; qelcall is its client.
qelimage shows, converts and compares pictures.")

set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME ${QEL_PACKAGE_Desktop})
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS "fonts-droid-fallback")
set(CPACK_COMPONENT_DESKTOP_DEPENDS Runtime Hosts)
set(CPACK_DEBIAN_DESKTOP_DESCRIPTION "core library of an application framework for medical imaging: desktop programs
qelviewer shows medical volumes in slices and in 3D. qelscreens shows texts,
pictures, graphs and touches in a window, and reads Markdown files and folders
of pictures.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME ${QEL_PACKAGE_Documentation})
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "core library of an application framework for medical imaging: documentation
This package contains the pages on hosting, scripting, formats of files and
messages, architecture, reliability and performance, and the examples.")

# What each package states of itself, in /usr/share/doc.
string(TIMESTAMP QEL_YEAR %Y UTC)
string(TIMESTAMP QEL_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC) # follows SOURCE_DATE_EPOCH if that is set
file(READ LICENSE license)
string(REGEX REPLACE "\n\n" "\n.\n" license "${license}")
string(REGEX REPLACE "\n(.)" "\n \\1" QEL_LICENSE_PARAGRAPH "${license}")
configure_file(cmake/packages/copyright.in ${PROJECT_BINARY_DIR}/packages/copyright @ONLY)
configure_file(cmake/packages/changelog.in ${PROJECT_BINARY_DIR}/packages/changelog.Debian @ONLY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    install(FILES ${PROJECT_BINARY_DIR}/packages/copyright ${PROJECT_BINARY_DIR}/packages/changelog.Debian
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${QEL_PACKAGE_${component}} COMPONENT ${component})
endforeach()
foreach(component Runtime Hosts Desktop)
    install(FILES NOTICE ${PROJECT_BINARY_DIR}/qelcore.spdx.json
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${QEL_PACKAGE_${component}} COMPONENT ${component})
endforeach()
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${QEL_PACKAGE_Documentation} COMPONENT Documentation)
install(FILES CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${QEL_PACKAGE_Documentation}
        COMPONENT Documentation RENAME changelog)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${QEL_PACKAGE_Documentation} COMPONENT Documentation
        FILES_MATCHING PATTERN *.md PATTERN *.svg)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${QEL_PACKAGE_Documentation}
        COMPONENT Documentation OPTIONAL)

include(CPack)
