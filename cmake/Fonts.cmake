# The fonts that hosts ship: the bitmap font of resources/fonts, and outline fonts from Debian's packages under the names
# of the resources. resources/fonts/README.md names the faces and their licences.
set(QEL_FONT_DIR ${PROJECT_BINARY_DIR}/resources/fonts)

# Copies a file of one of the folders of fonts to the resource of that name. Debian packages have a link instead
# (cmake/packages/finish_files.cmake).
function(qel_font resource face)
    find_file(QELCORE_FONT_${face} ${face} PATHS /usr/share/fonts /usr/local/share/fonts
              PATH_SUFFIXES truetype/roboto/unhinted/RobotoTTF truetype/noto NO_DEFAULT_PATH REQUIRED)
    mark_as_advanced(QELCORE_FONT_${face})
    configure_file(${QELCORE_FONT_${face}} ${QEL_FONT_DIR}/${resource} COPYONLY)
    set_property(GLOBAL APPEND PROPERTY QEL_FONT_LINKS ${resource} ${QELCORE_FONT_${face}})
endfunction()

file(MAKE_DIRECTORY ${QEL_FONT_DIR}) # a copy to a folder that does not exist would become a file of its name
file(GLOB files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/resources/fonts/font-*)
foreach(file IN LISTS files)
    cmake_path(GET file FILENAME name)
    configure_file(${file} ${QEL_FONT_DIR}/${name} COPYONLY)
endforeach()
qel_font(font-roboto-regular.ttf Roboto-Regular.ttf)
qel_font(font-roboto-bold.ttf Roboto-Bold.ttf)
qel_font(font-roboto-italic.ttf Roboto-Italic.ttf)
qel_font(font-roboto-light.ttf Roboto-Light.ttf)
qel_font(font-robotomono-regular.ttf NotoSansMono-Regular.ttf)
qel_font(font-noto-arabic.ttf NotoNaskhArabic-Regular.ttf)
qel_font(font-noto-hebrew.ttf NotoSansHebrew-Regular.ttf)
qel_font(font-noto-devanagari.ttf NotoSansDevanagari-Regular.ttf)
