# Compiles through ccache where there is one.
find_program(QEL_CCACHE ccache DOC "Compiler cache; empty builds without one")
mark_as_advanced(QEL_CCACHE)
if(QEL_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${QEL_CCACHE})
endif()
