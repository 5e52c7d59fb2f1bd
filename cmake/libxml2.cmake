# The XML parser of the emulator: target zantir_libxml2. Linux has it as a library of the distribution. There is none
# for Windows, so the distribution's own sources, which scripts/setup lays down with all their security patches, are
# built into the program.
add_library(zantir_libxml2 INTERFACE)

if(NOT WIN32)
    find_package(LibXml2 REQUIRED)
    target_link_libraries(zantir_libxml2 INTERFACE LibXml2::LibXml2)
    return()
endif()

set(ZANTIR_LIBXML2 ${PROJECT_SOURCE_DIR}/build/third_party/libxml2 CACHE PATH "Sources of libxml2")
if(NOT EXISTS ${ZANTIR_LIBXML2}/CMakeLists.txt)
    message(FATAL_ERROR "no sources of libxml2 in ${ZANTIR_LIBXML2}: run scripts/setup")
endif()

# A tree, its parser and its canonical form are all that is asked for. No conversion but the built-in ones: what both
# systems accept is decided by the emulator, not by what a machine has.
function(add_libxml2)
    set(BUILD_SHARED_LIBS OFF)
    set(LIBXML2_WITH_C14N ON)
    set(LIBXML2_WITH_OUTPUT ON)
    set(LIBXML2_WITH_THREADS ON) # without them it does not compile for this system
    set(LIBXML2_WITH_TREE ON)
    set(LIBXML2_WITH_XPATH ON) # the canonical form is built on its node sets
    foreach(part IN ITEMS CATALOG DEBUG DOCB FTP HTML HTTP ICONV ICU ISO8859X LEGACY LZMA MEM_DEBUG MODULES PATTERN
                          PROGRAMS PUSH PYTHON READER REGEXPS RUN_DEBUG SAX1 SCHEMAS SCHEMATRON TESTS
                          THREAD_ALLOC VALID WRITER XINCLUDE XPTR ZLIB)
        set(LIBXML2_WITH_${part} OFF)
    endforeach()
    # Its headers are foreign ones, and its warnings are not ours to mend.
    add_subdirectory(${ZANTIR_LIBXML2} ${CMAKE_BINARY_DIR}/libxml2 EXCLUDE_FROM_ALL SYSTEM)
    # It names its files in messages: by their place in the sources, so that the program is the same in every folder.
    target_compile_options(LibXml2 PRIVATE -w -fmacro-prefix-map=${ZANTIR_LIBXML2}/=)
endfunction()
add_libxml2()
target_link_libraries(zantir_libxml2 INTERFACE LibXml2)
