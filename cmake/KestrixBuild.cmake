# Compiler, linker and library settings of the whole tree.

# For a clang build from nothing: it reads the library's headers once (g++ gains next to nothing by that). Off where people
# work: checkouts share nothing through ccache that was compiled so, and no file may come to rely on an include it lacks.
option(KESTRIX_PRECOMPILE "Precompile the headers of the library (clang)" OFF)

find_program(KESTRIX_CCACHE ccache)
if(KESTRIX_CCACHE)
    set(KESTRIX_LAUNCHER ${KESTRIX_CCACHE})
    if(KESTRIX_PRECOMPILE)
        # Without these two ccache turns down whatever uses precompiled headers.
        set(KESTRIX_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${KESTRIX_CCACHE})
    endif()
    set(CMAKE_CXX_COMPILER_LAUNCHER ${KESTRIX_LAUNCHER})
    set(CMAKE_C_COMPILER_LAUNCHER ${KESTRIX_LAUNCHER})
endif()

add_compile_options(-Wall -Wextra -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ 12 sees overlapping copies in "literal" + std::string where there are none (GCC bug 105329).
    add_compile_options(-Wno-restrict)
endif()
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>")
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # libstdc++ 12 uses its own deprecated std::get_temporary_buffer in std::stable_sort, which clang reports as ours.
    add_compile_options(-Wno-unknown-warning-option -Wno-deprecated-declarations)
endif()

if(KESTRIX_SANITIZE)
    add_compile_options(-fsanitize=${KESTRIX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
    add_link_options(-fsanitize=${KESTRIX_SANITIZE})
endif()
if(KESTRIX_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

find_program(KESTRIX_LLD ld.lld)
if(KESTRIX_LLD)
    add_link_options(-fuse-ld=lld)
endif()
add_link_options(-Wl,--as-needed)

find_package(Threads REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(nlohmann_json REQUIRED)
find_package(fmt REQUIRED)

# kestrix_precompile(TARGET OWNER HEADERS...): where headers are precompiled, TARGET uses those of OWNER, the target that makes
# them for all that share its compile options: the headers of the library that most files read, and HEADERS.
function(kestrix_precompile TARGET OWNER)
    if(NOT KESTRIX_PRECOMPILE)
        return()
    endif()
    if("${TARGET}" STREQUAL "${OWNER}")
        target_precompile_headers(
            ${TARGET} PRIVATE <algorithm> <atomic> <chrono> <filesystem> <functional> <map> <memory> <mutex> <optional>
                              <set> <string> <string_view> <thread> <vector> <fmt/format.h> <nlohmann/json.hpp> ${ARGN})
    else()
        target_precompile_headers(${TARGET} REUSE_FROM ${OWNER})
    endif()
    # ccache may bring back precompiled headers after the same headers got other dates.
    target_compile_options(${TARGET} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
endfunction()
