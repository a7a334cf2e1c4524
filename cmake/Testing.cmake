# Tests, benchmarks and fuzz targets.
#
#   norix_add_test(NAME util_tests SOURCES LogTest.cpp ... LIBS util
#                  [NATIVE | WINDOWS | BOTH] [LABELS ...] [TIMEOUT seconds] [ARGS ...] [NEEDS_DISPLAY] [SLOW]
#                  [ONE_THREAD])
#     One GoogleTest program per area, which is one ctest entry. NATIVE programs are built on the build machine with
#     the sanitizers, WINDOWS ones are cross-built and run under Wine; BOTH (the default) is both. Where the kind of
#     build does not fit, the call does nothing, so it needs no if() around it. NEEDS_DISPLAY: opens windows.
#     Programs that need Windows share a screen and a registry, which is why only one of them runs at a time; portable
#     ones run beside it. SLOW: takes more than a second. What is neither has the label `quick`
#     (ctest -L quick). ONE_THREAD: has nothing for the thread sanitizer, which leaves it out. One that hangs tells the
#     stacks of its threads; see tests/support/Watchdog.cpp.
#     What has the label `thorough` runs in ./test all only, and with NORIX_ALL in the environment some programs do more.
#   norix_add_benchmark(NAME codec_bench SOURCES ... LIBS ... [NATIVE | WINDOWS | BOTH] [NEEDS_DISPLAY] [LEFT_OUT regex])
#     A Google Benchmark program. ctest runs it once with the shortest possible run, to keep it alive, without those
#     whose names match LEFT_OUT: the same code with more to do. Figures come from running it by hand. Builds with
#     sanitizers leave bench/ out.
#   norix_add_fuzzer(NAME rtsp_reply_fuzzer SOURCES ... LIBS ... [CORPUS dir] [SECONDS n])
#     A libFuzzer program, in native-asan only. ctest replays the corpus and then mutates for the given seconds.

enable_testing()

# A busy machine may take ten times as long as an idle one; only what hangs comes this far.
set(NORIX_TEST_TIMEOUT 600 CACHE STRING "Seconds after which a test program is ended")

find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)

add_library(norix_watchdog OBJECT ${PROJECT_SOURCE_DIR}/tests/support/Watchdog.cpp)

# Everything that can go wrong once in a thousand times, until it does: cmake --build --preset ... --target stress
add_custom_target(stress
    COMMAND ${CMAKE_COMMAND} -E env GTEST_SHUFFLE=1 ${CMAKE_CTEST_COMMAND} --output-on-failure --repeat until-fail:1000000
            -LE "bench|fuzz"
    WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
    USES_TERMINAL
    COMMENT "Testing until something fails"
    VERBATIM)

# Sets `result` to whether something of this kind belongs into the current build.
function(norix_kind_fits result native windows both)
    set(fits TRUE)
    if(native AND NOT both AND WIN32)
        set(fits FALSE)
    endif()
    if(windows AND NOT both AND NOT WIN32)
        set(fits FALSE)
    endif()
    set(${result} ${fits} PARENT_SCOPE)
endfunction()

# What the sanitizers have to be told, and the root folder, from where test data is found.
function(norix_set_test_properties name timeout labels)
    # A program that hangs gets some seconds to say where.
    math(EXPR seconds "${timeout} - 15")
    set_tests_properties(${name} PROPERTIES TIMEOUT ${timeout} LABELS "${labels}" WORKING_DIRECTORY
                                                                                  ${PROJECT_SOURCE_DIR})
    set_tests_properties(
        ${name} PROPERTIES ENVIRONMENT "NORIX_TEST_SECONDS=${seconds};UBSAN_OPTIONS=print_stacktrace=1;TSAN_OPTIONS=halt_on_error=1 second_deadlock_stack=1")
endfunction()

function(norix_add_test)
    cmake_parse_arguments(arg "NATIVE;WINDOWS;BOTH;NEEDS_DISPLAY;SLOW;ONE_THREAD" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS;ARGS" ${ARGN})
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SOURCES)
        message(FATAL_ERROR "norix_add_test: bad arguments: ${ARGN}")
    endif()
    norix_kind_fits(fits "${arg_NATIVE}" "${arg_WINDOWS}" "${arg_BOTH}")
    if(NOT fits OR (arg_ONE_THREAD AND "thread" IN_LIST NORIX_SANITIZE))
        return()
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT ${NORIX_TEST_TIMEOUT})
    endif()

    if(arg_SLOW)
        list(APPEND arg_LABELS slow)
    elseif(NOT arg_NEEDS_DISPLAY)
        list(APPEND arg_LABELS quick)
    endif()

    add_executable(${arg_NAME} ${arg_SOURCES} $<TARGET_OBJECTS:norix_watchdog>)
    target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBS} GTest::gmock)
    # From a static library: an area that needs a set-up of its own simply has its own main.
    target_link_libraries(${arg_NAME} PRIVATE GTest::gtest_main)
    add_test(NAME ${arg_NAME} COMMAND ${arg_NAME} ${arg_ARGS})
    norix_set_test_properties(${arg_NAME} ${arg_TIMEOUT} "${arg_LABELS}")
    if(arg_NEEDS_DISPLAY OR (arg_WINDOWS AND NOT arg_BOTH))
        set_tests_properties(${arg_NAME} PROPERTIES RESOURCE_LOCK display)
    endif()
endfunction()

function(norix_add_benchmark)
    cmake_parse_arguments(arg "NATIVE;WINDOWS;BOTH;NEEDS_DISPLAY" "NAME;LEFT_OUT" "SOURCES;LIBS" ${ARGN})
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SOURCES)
        message(FATAL_ERROR "norix_add_benchmark: bad arguments: ${ARGN}")
    endif()
    norix_kind_fits(fits "${arg_NATIVE}" "${arg_WINDOWS}" "${arg_BOTH}")
    if(NOT fits)
        return()
    endif()

    add_executable(${arg_NAME} ${arg_SOURCES})
    target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBS} benchmark::benchmark benchmark::benchmark_main)
    set(filter)
    if(arg_LEFT_OUT)
        set(filter "--benchmark_filter=-${arg_LEFT_OUT}")
    endif()
    add_test(NAME ${arg_NAME}_runs COMMAND ${arg_NAME} --benchmark_min_time=0.001 ${filter})
    norix_set_test_properties(${arg_NAME}_runs ${NORIX_TEST_TIMEOUT} bench)
    if(arg_NEEDS_DISPLAY)
        set_tests_properties(${arg_NAME}_runs PROPERTIES RESOURCE_LOCK display)
    endif()
endfunction()

function(norix_add_fuzzer)
    cmake_parse_arguments(arg "" "NAME;CORPUS;SECONDS" "SOURCES;LIBS" ${ARGN})
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SOURCES)
        message(FATAL_ERROR "norix_add_fuzzer: bad arguments: ${ARGN}")
    endif()
    if(NOT NORIX_FUZZING)
        return()
    endif()
    if(NOT arg_SECONDS)
        set(arg_SECONDS 5)
    endif()

    add_executable(${arg_NAME} ${arg_SOURCES})
    target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBS})
    target_link_options(${arg_NAME} PRIVATE -fsanitize=fuzzer)

    # New inputs go to the build folder; the corpus in the tree is only read.
    set(found ${CMAKE_CURRENT_BINARY_DIR}/${arg_NAME}.found)
    file(MAKE_DIRECTORY ${found})
    set(corpus)
    if(arg_CORPUS)
        get_filename_component(corpus ${arg_CORPUS} ABSOLUTE)
    endif()
    # Weighing inputs by how rare their features are takes more time than the runs themselves.
    add_test(NAME ${arg_NAME} COMMAND ${arg_NAME} -max_total_time=${arg_SECONDS} -entropic=0 -timeout=10
                                      -rss_limit_mb=1024 -malloc_limit_mb=64 -print_final_stats=1 -artifact_prefix=${found}/ ${found} ${corpus})
    norix_set_test_properties(${arg_NAME} ${NORIX_TEST_TIMEOUT} fuzz)
    # What was freed is kept apart for a while, but for less than the default 256 MB: fresh pages take their time.
    set_property(TEST ${arg_NAME} APPEND PROPERTY ENVIRONMENT ASAN_OPTIONS=quarantine_size_mb=16:malloc_context_size=8)
endfunction()
