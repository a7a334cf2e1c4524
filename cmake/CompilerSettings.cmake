# Compiler settings that hold for every target.

# Every header is included by its path from the root: #include "util/Log.h".
include_directories(${PROJECT_SOURCE_DIR})

# The resource compiler doesn't understand the C++ compiler's options, hence the language filter.
add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-Wall> $<$<COMPILE_LANGUAGE:C,CXX>:-Wextra>
                    $<$<COMPILE_LANGUAGE:C,CXX>:-Werror>)

if(WIN32)
    enable_language(RC)
    add_compile_definitions(_WIN32_WINNT=0x0601 WINVER=0x0601 UNICODE _UNICODE)
    # Stacks and buffers are guarded, here as in the libraries; what the guards call comes with the link option.
    add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-fstack-protector-strong>)
    add_compile_definitions($<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
    add_link_options(-fstack-protector-strong)
    # What is built may be loaded anywhere, its data isn't run, it has no handlers of structured exceptions that an
    # overwritten stack could name, and the same sources give the same file.
    add_link_options(LINKER:--dynamicbase,--nxcompat,--no-seh,--no-insert-timestamp)
else()
    # g++ 12 takes some concatenations of strings for overlapping copies (GCC bug 105651), and some insertions into vectors
    # for writes behind them, when it optimises as far as here.
    set(old_gcc "$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>")
    add_compile_options($<${old_gcc}:-Wno-restrict> $<${old_gcc}:-Wno-array-bounds> $<${old_gcc}:-Wno-stringop-overread>)
    find_package(Threads REQUIRED)
    link_libraries(Threads::Threads)
endif()

# For the folders that take apart what strangers send: an index out of its bounds ends the program there. Sanitizers see
# it anyway.
macro(norix_check_bounds)
    if(NOT NORIX_SANITIZE)
        add_compile_definitions(_GLIBCXX_ASSERTIONS)
    endif()
endmacro()

# Sanitizers, for host builds with clang: a list such as "address;undefined" or "thread".
set(NORIX_SANITIZE "" CACHE STRING "Sanitizers to build everything with")
if(NORIX_SANITIZE)
    list(JOIN NORIX_SANITIZE "," sanitizers)
    add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${sanitizers})
    if("address" IN_LIST NORIX_SANITIZE)
        # Coverage counters in every library, so that fuzz targets see into them.
        add_compile_options(-fsanitize=fuzzer-no-link)
        set(NORIX_FUZZING ON)
    endif()
endif()

# A compiler cache makes a fresh clone build in seconds once another clone has been built on this machine.
option(NORIX_CCACHE "Compile through ccache when it is installed" ON)
find_program(NORIX_CCACHE_PROGRAM ccache)
mark_as_advanced(NORIX_CCACHE_PROGRAM)
if(NORIX_CCACHE AND NORIX_CCACHE_PROGRAM)
    set(norix_cache $ENV{NORIX_CACHE})
    if(NOT norix_cache)
        set(norix_cache $ENV{HOME}/.cache/norixsdk)
    endif()
    set(launcher ${CMAKE_COMMAND} -E env CCACHE_DIR=${norix_cache}/ccache CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}
        CCACHE_NOHASHDIR=1 CCACHE_MAXSIZE=2G ${NORIX_CCACHE_PROGRAM})
    set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()
