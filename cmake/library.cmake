# library.cmake: the compile settings of all code, and the shared library made of the families' objects.

# Settings that every object of the project shares.
add_library(tonekit_settings INTERFACE)
target_include_directories(tonekit_settings INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(tonekit_settings INTERFACE
    -Wall -Wextra
    # One result everywhere: products and sums are never fused, and no value is kept wider than its type.
    -ffp-contract=off -fno-math-errno
    -fvisibility=hidden
    $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>
    $<$<BOOL:${TONEKIT_WERROR}>:-Werror>)
target_compile_definitions(tonekit_settings INTERFACE TONEKIT_VERSION="${PROJECT_VERSION}")

# The ordinary units of all families. Tier units come from frame/dispatch.list.
add_library(tonekit_objects OBJECT)
target_link_libraries(tonekit_objects PRIVATE tonekit_settings)

# Adds ordinary units of the family whose CMakeLists calls it.
function(tonekit_sources)
    foreach(source IN LISTS ARGN)
        if(NOT IS_ABSOLUTE ${source})
            set(source ${CMAKE_CURRENT_SOURCE_DIR}/${source})
        endif()
        target_sources(tonekit_objects PRIVATE ${source})
    endforeach()
endfunction()

# Names a library that the library links with.
function(tonekit_dependency)
    set_property(GLOBAL APPEND PROPERTY TONEKIT_DEPENDENCIES ${ARGN})
endfunction()

# Names a library that the library links with, by its pkg-config name.
function(tonekit_package name)
    find_package(PkgConfig REQUIRED)
    string(MAKE_C_IDENTIFIER ${name} prefix)
    pkg_check_modules(${prefix} REQUIRED IMPORTED_TARGET GLOBAL ${name})
    tonekit_dependency(PkgConfig::${prefix})
endfunction()

# Makes libtonekit.so, and tonekit_internal: the same objects for tests and benchmarks that reach inside.
function(tonekit_add_library)
    get_property(tier_objects GLOBAL PROPERTY TONEKIT_OBJECTS)
    get_property(tier_targets GLOBAL PROPERTY TONEKIT_TIER_TARGETS)
    get_property(dependencies GLOBAL PROPERTY TONEKIT_DEPENDENCIES)
    target_sources(tonekit_objects PRIVATE ${TONEKIT_GENERATED}/dispatch_entries.S)
    target_link_libraries(tonekit_objects PRIVATE ${dependencies})
    foreach(target IN LISTS tier_targets)
        target_link_libraries(${target} PRIVATE ${dependencies})
    endforeach()

    set(map ${TONEKIT_GENERATED}/tonekit.map)
    add_library(tonekit SHARED $<TARGET_OBJECTS:tonekit_objects> ${tier_objects})
    set_target_properties(tonekit PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR} LINK_DEPENDS ${map}
        LINKER_LANGUAGE CXX)
    target_include_directories(tonekit INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
        $<BUILD_INTERFACE:${TONEKIT_GENERATED}/include>
        $<INSTALL_INTERFACE:include>)
    target_link_libraries(tonekit PRIVATE ${dependencies})
    target_link_options(tonekit PRIVATE -Wl,--version-script=${map} -Wl,-Bsymbolic -Wl,-z,defs -Wl,--no-undefined
        -Wl,-z,noexecstack)

    add_library(tonekit_internal INTERFACE)
    target_sources(tonekit_internal INTERFACE $<TARGET_OBJECTS:tonekit_objects> ${tier_objects})
    target_link_libraries(tonekit_internal INTERFACE tonekit_settings ${dependencies})
endfunction()
