# The facts about a build, written to <qel/system/report/build_identity_p.h> of the build tree.
set(QELCORE_BUILD_DESCRIPTION "${PROJECT_VERSION}-ce" CACHE STRING
    "Description of the build: version, kind of release, then commits beyond it, short hash and 'dirty'")
set(QELCORE_COPYRIGHT "Copyright (c) the qelCore authors. All rights reserved." CACHE STRING
    "Copyright line of the build")

set(QEL_REVISION_HASH 0000000000000000000000000000000000000000)
find_package(Git QUIET)
if(Git_FOUND)
    execute_process(COMMAND ${GIT_EXECUTABLE} rev-parse HEAD WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
                    OUTPUT_VARIABLE revision OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
    if(NOT failed)
        set(QEL_REVISION_HASH ${revision})
    endif()
endif()

string(TIMESTAMP QEL_BUILD_DATE %Y%m%d UTC) # follows SOURCE_DATE_EPOCH where that is set

set(QEL_GENERATED_INCLUDE_DIR ${PROJECT_BINARY_DIR}/generated)
configure_file(${PROJECT_SOURCE_DIR}/cmake/build_identity_p.h.in
               ${QEL_GENERATED_INCLUDE_DIR}/qel/system/report/build_identity_p.h @ONLY)
