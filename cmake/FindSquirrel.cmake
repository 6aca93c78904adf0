# Finds the Squirrel script language and its standard library.
#
# Squirrel::Headers   for code that includes <squirrel.h>: the include path and the width of its integers
# Squirrel::Squirrel  the engine and the standard library, with the headers
find_path(Squirrel_INCLUDE_DIR squirrel.h PATH_SUFFIXES squirrel3 squirrel)
find_library(Squirrel_LIBRARY NAMES squirrel3 squirrel)
find_library(Squirrel_STDLIB_LIBRARY NAMES sqstdlib3 sqstdlib)
mark_as_advanced(Squirrel_INCLUDE_DIR Squirrel_LIBRARY Squirrel_STDLIB_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Squirrel
    REQUIRED_VARS Squirrel_LIBRARY Squirrel_STDLIB_LIBRARY Squirrel_INCLUDE_DIR)

if(Squirrel_FOUND AND NOT TARGET Squirrel::Squirrel)
    add_library(Squirrel::Headers INTERFACE IMPORTED)
    target_include_directories(Squirrel::Headers SYSTEM INTERFACE ${Squirrel_INCLUDE_DIR})
    # The header does not state how wide the library's integers were built: 64 bits wherever pointers have 64.
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
        target_compile_definitions(Squirrel::Headers INTERFACE _SQ64)
    endif()

    add_library(Squirrel::StdLib UNKNOWN IMPORTED)
    set_target_properties(Squirrel::StdLib PROPERTIES IMPORTED_LOCATION ${Squirrel_STDLIB_LIBRARY})
    add_library(Squirrel::Squirrel UNKNOWN IMPORTED)
    set_target_properties(Squirrel::Squirrel PROPERTIES IMPORTED_LOCATION ${Squirrel_LIBRARY})
    target_link_libraries(Squirrel::Squirrel INTERFACE Squirrel::Headers Squirrel::StdLib)
endif()
