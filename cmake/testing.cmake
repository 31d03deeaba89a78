# testing.cmake: test programs, fuzz targets and benchmarks, all of them linked with the library's own objects.

# Ends the names of the files that are on one side of a platform seam.
set(TONEKIT_SYSTEM $<IF:$<BOOL:${WIN32}>,windows,posix>)

# Wraps the C runtime's allocation for library code, so that tests can make each request fail in turn, and the calls that
# get something from a dependency or release it, so that tests can count what is held.
set(TONEKIT_WRAPPED_CALLS "")
get_property(own_soxr GLOBAL PROPERTY TONEKIT_OWN_SOXR)
set(soxr $<IF:$<BOOL:${own_soxr}>,tonekit_soxr,soxr>)
foreach(function malloc calloc realloc free ${soxr}_create ${soxr}_delete ebur128_init ebur128_destroy)
    list(APPEND TONEKIT_WRAPPED_CALLS -Wl,--wrap=${function})
endforeach()
if(WIN32)
    # The local and global heaps are called through pointers of the import library.
    foreach(function LocalAlloc LocalFree GlobalAlloc GlobalFree)
        list(APPEND TONEKIT_WRAPPED_CALLS -Wl,--wrap=__imp_${function})
    endforeach()
else()
    list(APPEND TONEKIT_WRAPPED_CALLS -Wl,--wrap=iconv_open -Wl,--wrap=iconv_close)
endif()

if(TONEKIT_TESTS)
    find_package(GTest REQUIRED)
    include(GoogleTest)
endif()

# Requests that no memory can hold have to fail in sanitized builds too, not to stop the program.
set(TONEKIT_TEST_ENVIRONMENT "")
if(TONEKIT_SANITIZED)
    set(TONEKIT_TEST_ENVIRONMENT "ASAN_OPTIONS=allocator_may_return_null=1")
    if(CMAKE_CXX_FLAGS MATCHES "sanitize=thread")
        set(TONEKIT_TEST_ENVIRONMENT "TSAN_OPTIONS=allocator_may_return_null=1")
    endif()
endif()

# A GoogleTest program; each of its tests is one test of the suite.
function(tonekit_test name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE tonekit_internal tonekit_test_support tonekit_test_main)
    target_compile_definitions(${name} PRIVATE TONEKIT_LIBRARY="$<TARGET_FILE:tonekit>"
        TONEKIT_SOURCE_DIR="${PROJECT_SOURCE_DIR}" TONEKIT_BUILD_DIR="${PROJECT_BINARY_DIR}")
    target_link_options(${name} PRIVATE ${TONEKIT_WRAPPED_CALLS})
    add_dependencies(${name} tonekit)
    set_property(GLOBAL APPEND PROPERTY TONEKIT_TEST_PROGRAMS ${name})
    tonekit_discover_tests(${name})
endfunction()

# Makes each test of a GoogleTest program a test of the suite. On Windows the whole program is one, which counts as many
# as it reports: starting Wine for each would take longer than the tests.
function(tonekit_discover_tests name)
    if(WIN32)
        add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    else()
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_PREFIX "${name}."
            PROPERTIES ENVIRONMENT "${TONEKIT_TEST_ENVIRONMENT}")
    endif()
endfunction()

# Leaves tests out on Windows; the reason is shown with the results.
function(tonekit_left_out_on_windows name reason)
    set_property(GLOBAL APPEND PROPERTY TONEKIT_LEFT_OUT "${name}: ${reason}")
endfunction()

# The same for some tests of a GoogleTest program.
function(tonekit_tests_left_out_on_windows program reason)
    if(WIN32)
        list(JOIN ARGN ":" filter)
        set_tests_properties(${program} PROPERTIES ENVIRONMENT "GTEST_FILTER=-${filter}")
        list(JOIN ARGN " " names)
        tonekit_left_out_on_windows("${program}, ${names}" "${reason}")
    endif()
endfunction()

# Writes the lists of the programs whose main selects a tier, and of what the test run shows as left out.
function(tonekit_write_test_lists)
    get_property(programs GLOBAL PROPERTY TONEKIT_TEST_PROGRAMS)
    list(JOIN programs "\n" text)
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/test_programs.txt CONTENT "${text}\n" @ONLY)
    get_property(left_out GLOBAL PROPERTY TONEKIT_LEFT_OUT)
    list(JOIN left_out "\n" text)
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/left_out.txt CONTENT "${text}\n" @ONLY)
endfunction()

# Random rounds of each fuzz target in the suite; a round of src4_rates makes two resamplers.
set(TONEKIT_FUZZ_ROUNDS 2000)
set(TONEKIT_FUZZ_ROUNDS_src4_rates 150)

# A fuzz target: NAME_fuzz.cpp with LLVMFuzzerTestOneInput. The suite replays its corpus and some random rounds; the fuzz
# preset builds it with libFuzzer instead.
function(tonekit_fuzz name)
    add_executable(${name}_fuzz ${name}_fuzz.cpp)
    target_link_libraries(${name}_fuzz PRIVATE tonekit_internal tonekit_test_support)
    target_link_options(${name}_fuzz PRIVATE ${TONEKIT_WRAPPED_CALLS})
    tonekit_run_fuzz(${name})
endfunction()

# The same for the program's units, which meet the library as a caller does.
function(tonekit_host_fuzz name)
    add_executable(${name}_fuzz ${name}_fuzz.cpp)
    target_link_libraries(${name}_fuzz PRIVATE tonekit_host)
    target_include_directories(${name}_fuzz PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    tonekit_run_fuzz(${name})
endfunction()

# Adds the main function and the test of a fuzz target.
function(tonekit_run_fuzz name)
    if(TONEKIT_LIBFUZZER)
        target_link_options(${name}_fuzz PRIVATE -fsanitize=fuzzer)
    else()
        target_link_libraries(${name}_fuzz PRIVATE tonekit_fuzz_replay)
        set(rounds ${TONEKIT_FUZZ_ROUNDS})
        if(TONEKIT_FUZZ_ROUNDS_${name})
            set(rounds ${TONEKIT_FUZZ_ROUNDS_${name}})
        endif()
        add_test(NAME fuzz.${name}
            COMMAND ${name}_fuzz --random ${rounds} ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
    endif()
    set_property(GLOBAL APPEND PROPERTY TONEKIT_FUZZ_TARGETS ${name}_fuzz)
endfunction()

# A benchmark program of ratios.
function(tonekit_benchmark name)
    add_executable(${name} ${name}.cpp)
    target_link_libraries(${name} PRIVATE tonekit_internal tonekit_test_support)
    target_link_options(${name} PRIVATE ${TONEKIT_WRAPPED_CALLS})
endfunction()

# Links a benchmark with its peers, by their pkg-config names.
function(tonekit_benchmark_peer name)
    find_package(PkgConfig REQUIRED)
    foreach(peer IN LISTS ARGN)
        string(MAKE_C_IDENTIFIER ${peer} prefix)
        pkg_check_modules(${prefix} REQUIRED IMPORTED_TARGET ${peer})
        target_link_libraries(${name} PRIVATE PkgConfig::${prefix})
    endforeach()
endfunction()
