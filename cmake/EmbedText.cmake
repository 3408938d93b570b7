# kestrix_embed_text(TARGET FILE FUNCTION): compiles a text file into TARGET as `std::string_view kestrix::FUNCTION()`.
# The source is written when the file changes. The text goes in as numbers, so that it may hold anything and be of any
# length.

if(CMAKE_SCRIPT_MODE_FILE)
    file(READ ${INPUT} BYTES HEX)
    string(REGEX REPLACE "(................................)" "\\1\n    " BYTES "${BYTES}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1, " BYTES "${BYTES}")
    string(REPLACE ", \n" ",\n" BYTES "${BYTES}")
    file(WRITE ${OUTPUT}
         "#include <string_view>\n\nnamespace kestrix {\n"
         "std::string_view ${FUNCTION}();\n"
         "namespace {\nconstexpr unsigned char kBytes[] = {\n    ${BYTES}0};\n}\n"
         "std::string_view ${FUNCTION}() {\n"
         "    return {reinterpret_cast<const char*>(kBytes), sizeof(kBytes) - 1};\n}\n}\n")
    return()
endif()

set(KESTRIX_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_FILE})

function(kestrix_embed_text TARGET FILE FUNCTION)
    set(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${FUNCTION}.cpp)
    add_custom_command(
        OUTPUT ${OUTPUT}
        COMMAND ${CMAKE_COMMAND} -DINPUT=${FILE} -DOUTPUT=${OUTPUT} -DFUNCTION=${FUNCTION} -P ${KESTRIX_EMBED_SCRIPT}
        DEPENDS ${FILE} ${KESTRIX_EMBED_SCRIPT}
        VERBATIM)
    target_sources(${TARGET} PRIVATE ${OUTPUT})
endfunction()
