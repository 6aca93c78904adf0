# The units of the library, in order, from tools/units.txt.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/units.txt)
file(STRINGS ${PROJECT_SOURCE_DIR}/tools/units.txt QEL_UNITS REGEX "^[a-z]")

# Stores the files of unit's folder under root that match one of the patterns in the variable out.
function(qel_unit_files out root unit)
    list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/${root}/${unit}/)
    file(GLOB files CONFIGURE_DEPENDS LIST_DIRECTORIES false ${ARGN})
    set(${out} ${files} PARENT_SCOPE)
endfunction()
