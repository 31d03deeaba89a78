# testing.cmake: test programs, fuzz targets and benchmarks, all of them linked with the library's own objects.

# Wraps the C runtime's allocation for library code, so that tests can make each request fail in turn.
set(TONEKIT_WRAPPED_ALLOCATION -Wl,--wrap=malloc -Wl,--wrap=calloc -Wl,--wrap=realloc -Wl,--wrap=free)

if(TONEKIT_TESTS)
    find_package(GTest REQUIRED)
    include(GoogleTest)
endif()

# A GoogleTest program; each of its tests is one test of the suite.
function(tonekit_test name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE tonekit_internal tonekit_test_support GTest::gtest GTest::gtest_main)
    target_compile_definitions(${name} PRIVATE TONEKIT_LIBRARY="$<TARGET_FILE:tonekit>"
        TONEKIT_SOURCE_DIR="${PROJECT_SOURCE_DIR}" TONEKIT_BUILD_DIR="${PROJECT_BINARY_DIR}")
    target_link_options(${name} PRIVATE ${TONEKIT_WRAPPED_ALLOCATION})
    add_dependencies(${name} tonekit)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_PREFIX "${name}.")
endfunction()

# A fuzz target: NAME_fuzz.cpp with LLVMFuzzerTestOneInput. The suite replays its corpus and some random rounds.
function(tonekit_fuzz name)
    add_executable(${name}_fuzz ${name}_fuzz.cpp ${PROJECT_SOURCE_DIR}/fuzz/replay_main.cpp)
    target_link_libraries(${name}_fuzz PRIVATE tonekit_internal tonekit_test_support)
    target_link_options(${name}_fuzz PRIVATE ${TONEKIT_WRAPPED_ALLOCATION})
    add_test(NAME fuzz.${name} COMMAND ${name}_fuzz --random 2000 ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
endfunction()

# A benchmark program of ratios.
function(tonekit_benchmark name)
    add_executable(${name} ${name}.cpp)
    target_link_libraries(${name} PRIVATE tonekit_internal tonekit_test_support)
    target_link_options(${name} PRIVATE ${TONEKIT_WRAPPED_ALLOCATION})
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
