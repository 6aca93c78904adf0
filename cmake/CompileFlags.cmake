# Compile flags for everything in this tree: the language, warnings, sanitizers and hardening.
# None of them affects a program that uses the installed library.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(qel_compile_flags INTERFACE)

# Results have the same bits on every machine, so a * b + c is never contracted to one rounding.
target_compile_options(qel_compile_flags INTERFACE -ffp-contract=off)
# Crash dumps follow the call chain by its frame pointers.
target_compile_options(qel_compile_flags INTERFACE -fno-omit-frame-pointer)
# Objects contain the same paths wherever the tree is located.
target_compile_options(qel_compile_flags INTERFACE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

target_compile_options(qel_compile_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 sees overlapping copies inside its own std::string::insert (bug 105329), and reads of alternatives that a
    # std::variant does not hold where it moves one.
    target_compile_options(qel_compile_flags INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
endif()
if(QELCORE_WARNINGS_AS_ERRORS)
    target_compile_options(qel_compile_flags INTERFACE -Werror)
endif()

if(QELCORE_SANITIZE)
    set(qel_sanitize_flags -fsanitize=${QELCORE_SANITIZE} -fno-sanitize-recover=all)
    if(QELCORE_SANITIZE MATCHES "undefined")
        list(APPEND qel_sanitize_flags -fsanitize=float-cast-overflow,bounds)
        # Compares the identity of function types, which differs between libraries with hidden visibility.
        list(APPEND qel_sanitize_flags -fno-sanitize=function)
    endif()
    target_compile_options(qel_compile_flags INTERFACE ${qel_sanitize_flags})
    target_link_options(qel_compile_flags INTERFACE ${qel_sanitize_flags})
endif()

if(QELCORE_HARDEN)
    target_compile_options(qel_compile_flags INTERFACE -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    target_compile_definitions(qel_compile_flags INTERFACE _GLIBCXX_ASSERTIONS)
    target_link_options(qel_compile_flags INTERFACE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()

# Kernel files are compiled for the oldest CPU for which the vector library has block operations, and fully
# optimised.
function(qel_set_kernel_flags)
    foreach(source IN LISTS ARGN)
        if(source MATCHES "_simd\\.cpp$")
            # Highway's own assertions would call its library, which is not linked (cmake/Dependencies.cmake).
            set(flags -march=x86-64-v2 -DHWY_IS_DEBUG_BUILD=0)
            if(NOT QELCORE_SANITIZE)
                list(APPEND flags -O3)
            endif()
            set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${flags}")
        endif()
    endforeach()
endfunction()
