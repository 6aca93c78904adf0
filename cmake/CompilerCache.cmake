# Compiles with ccache if it is installed.
find_program(QELCORE_CCACHE ccache DOC "Compiler cache; empty builds without one")
mark_as_advanced(QELCORE_CCACHE)
if(QELCORE_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${QELCORE_CCACHE})
endif()
