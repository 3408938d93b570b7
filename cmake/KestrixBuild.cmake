# Compiler, linker and library settings of the whole tree.

find_program(KESTRIX_CCACHE ccache)
if(KESTRIX_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${KESTRIX_CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${KESTRIX_CCACHE})
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
