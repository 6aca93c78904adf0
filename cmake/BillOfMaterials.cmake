# Writes the software bill of materials of an installation, in the form of SPDX 2.3: what is linked to the library and its
# hosts or compiled into them, in the versions found here. NOTICE holds the copyrights and licences.

# Writes the version of the Debian package that owns a file to the variable out; NOASSERTION if none is known.
function(qel_package_version out file)
    set(${out} NOASSERTION PARENT_SCOPE)
    file(REAL_PATH "${file}" file)
    execute_process(COMMAND dpkg-query -S ${file} OUTPUT_VARIABLE owner RESULT_VARIABLE failed ERROR_QUIET)
    if(failed OR NOT owner MATCHES "^([^ ]+): ")
        return()
    endif()
    execute_process(COMMAND dpkg-query -W -f "\${Version}" ${CMAKE_MATCH_1} OUTPUT_VARIABLE version ERROR_QUIET)
    set(${out} ${version} PARENT_SCOPE)
endfunction()

# Adds a package to the bill. user: Library or Hosts. link: DYNAMIC_LINK with the start of the shared library's file name,
# STATIC_LINK with what is compiled in, or CONTAINS with what is installed.
function(qel_bill name version license user link file)
    string(REGEX REPLACE "[^A-Za-z0-9.-]+" "-" id ${name})
    set(package "    {\"SPDXID\": \"SPDXRef-${id}\", \"name\": \"${name}\", \"versionInfo\": \"${version}\",
     \"packageFileName\": \"${file}\", \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false,
     \"licenseConcluded\": \"${license}\", \"licenseDeclared\": \"${license}\", \"copyrightText\": \"NOASSERTION\"}")
    set(relation "    {\"spdxElementId\": \"SPDXRef-${user}\", \"relationshipType\": \"${link}\",
     \"relatedSpdxElement\": \"SPDXRef-${id}\"}")
    set_property(GLOBAL APPEND_STRING PROPERTY QEL_BILL_PACKAGES ",\n${package}")
    set_property(GLOBAL APPEND_STRING PROPERTY QEL_BILL_RELATIONS ",\n${relation}")
endfunction()

pkg_check_modules(squirrel_module QUIET squirrel3)
qel_package_version(iniparser_version ${QELCORE_INIPARSER_LIBRARY})
qel_package_version(lodepng_version ${QELCORE_LODEPNG_LIBRARY})
qel_package_version(freetype_version ${freetype_LINK_LIBRARIES})
qel_package_version(stb_version ${QELCORE_STB_INCLUDE}/stb/stb_rect_pack.h)
execute_process(COMMAND getconf GNU_LIBC_VERSION OUTPUT_VARIABLE libc_version)
string(REGEX REPLACE "^glibc ([0-9.]+).*" "\\1" libc_version "${libc_version}")
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++.so OUTPUT_VARIABLE libstdcxx
                OUTPUT_STRIP_TRAILING_WHITESPACE)
qel_package_version(libstdcxx_version "${libstdcxx}")
file(STRINGS qel/foundation/base/unicode_tables.inc unicode_version REGEX "Unicode Character Database" LIMIT_COUNT 1)
string(REGEX REPLACE ".*Database ([0-9.]+):.*" "\\1" unicode_version "${unicode_version}")

set(gpl_with_exception "GPL-3.0-or-later WITH GCC-exception-3.1")
qel_bill("Squirrel" "${squirrel_module_VERSION}" MIT Library DYNAMIC_LINK libsquirrel3.so)
qel_bill("Squirrel standard library" "${squirrel_module_VERSION}" MIT Library DYNAMIC_LINK libsqstdlib3.so)
qel_bill("{fmt}" "${fmt_VERSION}" MIT Library DYNAMIC_LINK libfmt.so)
qel_bill("Zstandard" "${zstd_VERSION}" BSD-3-Clause Library DYNAMIC_LINK libzstd.so)
qel_bill("ISA-L" "${isal_VERSION}" BSD-3-Clause Library DYNAMIC_LINK libisal.so)
qel_bill("FriBidi" "${fribidi_VERSION}" LGPL-2.1-or-later Library DYNAMIC_LINK libfribidi.so)
qel_bill("SQLite" "${sqlite_VERSION}" blessing Library DYNAMIC_LINK libsqlite3.so)
qel_bill("uriparser" "${uriparser_VERSION}" BSD-3-Clause Library DYNAMIC_LINK liburiparser.so)
qel_bill("iniparser" "${iniparser_version}" MIT Library DYNAMIC_LINK libiniparser.so)
qel_bill("libwebp" "${webp_VERSION}" BSD-3-Clause Library DYNAMIC_LINK libwebp.so)
qel_bill("libdeflate" "${deflate_VERSION}" MIT Library DYNAMIC_LINK libdeflate.so)
qel_bill("LodePNG" "${lodepng_version}" Zlib Library DYNAMIC_LINK liblodepng.so)
qel_bill("QR Code generator" "${qrcodegen_VERSION}" MIT Library DYNAMIC_LINK libqrcodegencpp.so)
qel_bill("FreeType" "${freetype_version}" FTL Library DYNAMIC_LINK libfreetype.so)
qel_bill("HarfBuzz" "${harfbuzz_VERSION}" MIT-Modern-Variant Library DYNAMIC_LINK libharfbuzz.so)
qel_bill("GNU C library" "${libc_version}" LGPL-2.1-or-later Library DYNAMIC_LINK libc.so)
qel_bill("libstdc++" "${libstdcxx_version}" "${gpl_with_exception}" Library DYNAMIC_LINK libstdc++.so)
qel_bill("libgcc" "${libstdcxx_version}" "${gpl_with_exception}" Library DYNAMIC_LINK libgcc_s.so)
qel_bill("JSON for Modern C++" "${nlohmann_json_VERSION}" MIT Library STATIC_LINK nlohmann/json.hpp)
qel_bill("Highway" "${hwy_VERSION}" Apache-2.0 Library STATIC_LINK hwy/highway.h)
qel_bill("stb_rect_pack" "${stb_version}" MIT Library STATIC_LINK stb/stb_rect_pack.h)
qel_bill("Unicode character data" "${unicode_version}" Unicode-DFS-2016 Library STATIC_LINK UnicodeData.txt)
find_package(CLI11 QUIET)
qel_bill("CLI11" "${CLI11_VERSION}" BSD-3-Clause Hosts STATIC_LINK CLI/CLI.hpp)
if(zlib_FOUND)
    qel_bill("zlib" "${zlib_VERSION}" Zlib Hosts DYNAMIC_LINK libz.so)
endif()
if(sdl2_FOUND)
    qel_bill("SDL" "${sdl2_VERSION}" Zlib Hosts DYNAMIC_LINK libSDL2-2.0.so)
endif()

if(QELCORE_BUILD_HOSTS)
    qel_package_version(roboto_version "${QELCORE_FONT_Roboto-Regular.ttf}")
    qel_package_version(noto_version "${QELCORE_FONT_NotoSansMono-Regular.ttf}")
    qel_bill("Roboto" "${roboto_version}" Apache-2.0 Hosts CONTAINS font-roboto-regular.ttf)
    qel_bill("Noto fonts" "${noto_version}" OFL-1.1 Hosts CONTAINS font-robotomono-regular.ttf)
endif()

get_property(QEL_BILL_PACKAGES GLOBAL PROPERTY QEL_BILL_PACKAGES)
get_property(QEL_BILL_RELATIONS GLOBAL PROPERTY QEL_BILL_RELATIONS)
string(TIMESTAMP QEL_BILL_CREATED "%Y-%m-%dT%H:%M:%SZ" UTC) # follows SOURCE_DATE_EPOCH if that is set
configure_file(cmake/qelcore.spdx.json.in ${PROJECT_BINARY_DIR}/qelcore.spdx.json @ONLY)
