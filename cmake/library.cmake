# library.cmake: the compile settings of all code, and the shared library made of the families' objects.

# Settings that every object of the project shares.
add_library(tonekit_settings INTERFACE)
target_include_directories(tonekit_settings INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(tonekit_settings INTERFACE
    -Wall -Wextra
    # On Windows each size that becomes a long is a conversion.
    $<$<NOT:$<BOOL:${WIN32}>>:-Wconversion> $<$<NOT:$<BOOL:${WIN32}>>:-Wsign-conversion> -Wshadow
    # One result everywhere: products and sums are never fused, and no value is kept wider than its type.
    -ffp-contract=off -fno-math-errno
    -fvisibility=hidden
    $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>
    $<$<BOOL:${TONEKIT_WERROR}>:-Werror>)

# What the compiler's runtime consists of on Windows.
set(TONEKIT_WINDOWS_RUNTIME libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)

# The ordinary units of all families. Tier units come from frame/dispatch.list.
add_library(tonekit_objects OBJECT)
target_link_libraries(tonekit_objects PRIVATE tonekit_settings)
# Kernels do without: their loops work on buffers whose sizes the ordinary units have checked.
if(NOT WIN32)
    target_compile_options(tonekit_objects PRIVATE -fstack-protector-strong)
endif()

# Adds ordinary units of the family whose CMakeLists calls it.
function(tonekit_sources)
    foreach(source IN LISTS ARGN)
        if(NOT IS_ABSOLUTE ${source})
            set(source ${CMAKE_CURRENT_SOURCE_DIR}/${source})
        endif()
        target_sources(tonekit_objects PRIVATE ${source})
    endforeach()
endfunction()

# Adds the objects of a dependency that is compiled with the library.
function(tonekit_foreign_objects target)
    set_property(GLOBAL APPEND PROPERTY TONEKIT_FOREIGN_OBJECTS $<TARGET_OBJECTS:${target}>)
endfunction()

# Names a library that the library links with.
function(tonekit_dependency)
    set_property(GLOBAL APPEND PROPERTY TONEKIT_DEPENDENCIES ${ARGN})
endfunction()

# Names a library that the library links with, by its pkg-config name.
function(tonekit_package name)
    find_package(PkgConfig REQUIRED)
    string(MAKE_C_IDENTIFIER ${name} prefix)
    pkg_check_modules(TONEKIT_${prefix} REQUIRED IMPORTED_TARGET GLOBAL ${name})
    tonekit_dependency(PkgConfig::TONEKIT_${prefix})
    set_property(GLOBAL APPEND PROPERTY TONEKIT_PACKAGES ${name})
endfunction()

# An ELF library exports what the version script names, under one version, and calls itself without detours. Its imports are
# bound at load and are read-only from then on, and no code is written to.
function(tonekit_link_for_elf)
    set(map ${TONEKIT_GENERATED}/tonekit.map)
    set_target_properties(tonekit PROPERTIES LINK_DEPENDS ${map})
    target_link_options(tonekit PRIVATE -Wl,--version-script=${map} -Wl,-Bsymbolic -Wl,-z,noexecstack -Wl,-z,relro
        -Wl,-z,now -Wl,-z,text)
    # Under clang the programs have the sanitizers' functions.
    if(NOT (TONEKIT_SANITIZED AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
        target_link_options(tonekit PRIVATE -Wl,-z,defs -Wl,--no-undefined)
    endif()
endfunction()

# tonekit.dll exports what the module definition names. The C++ runtime is next to it, shared with the host, since an
# allocation exception crosses from one to the other; its libraries are copied to where programs of the build find them.
function(tonekit_link_for_windows)
    target_sources(tonekit PRIVATE ${TONEKIT_GENERATED}/tonekit.def)
    set_target_properties(tonekit PROPERTIES PREFIX "" IMPORT_PREFIX "lib"
        ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
    target_link_options(tonekit PRIVATE -Wl,--no-undefined -Wl,--exclude-all-symbols)
    file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    set(runtime "")
    foreach(name IN LISTS TONEKIT_WINDOWS_RUNTIME)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE file
            OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${file}")
            message(FATAL_ERROR "${name} is not found next to ${CMAKE_CXX_COMPILER}")
        endif()
        file(COPY_FILE ${file} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} ONLY_IF_DIFFERENT)
        list(APPEND runtime ${file})
    endforeach()
    if(TONEKIT_INSTALL)
        install(FILES ${runtime} DESTINATION ${CMAKE_INSTALL_BINDIR})
        install(FILES ${TONEKIT_GENERATED}/tonekit.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
        # CMake strips what it has built itself. The debug information of Debian's runtime is ten times its size.
        list(JOIN TONEKIT_WINDOWS_RUNTIME " " names)
        install(CODE "
            if(CMAKE_INSTALL_DO_STRIP)
                foreach(name ${names})
                    execute_process(COMMAND \"${CMAKE_STRIP}\"
                        \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/\${name}\"
                        COMMAND_ERROR_IS_FATAL ANY)
                endforeach()
            endif()")
    endif()
endfunction()

# Makes libtonekit.so or tonekit.dll, and tonekit_internal: the same objects for tests and benchmarks that reach inside.
function(tonekit_add_library)
    get_property(tier_objects GLOBAL PROPERTY TONEKIT_OBJECTS)
    get_property(foreign_objects GLOBAL PROPERTY TONEKIT_FOREIGN_OBJECTS)
    get_property(tier_targets GLOBAL PROPERTY TONEKIT_TIER_TARGETS)
    get_property(dependencies GLOBAL PROPERTY TONEKIT_DEPENDENCIES)
    if(WIN32)
        # After all that call it, and ahead of the compiler's own mathematics, whose last bits are others.
        list(APPEND dependencies ${TONEKIT_WINDOWS_DEPENDENCIES}/lib/libtonekit_maths.a)
    endif()
    tonekit_include_rows(${PROJECT_SOURCE_DIR}/frame/dispatch_entries.S)
    target_sources(tonekit_objects PRIVATE ${PROJECT_SOURCE_DIR}/frame/dispatch_entries.S)
    target_link_libraries(tonekit_objects PRIVATE ${dependencies})
    foreach(target IN LISTS tier_targets)
        target_link_libraries(${target} PRIVATE ${dependencies})
    endforeach()

    add_library(tonekit SHARED $<TARGET_OBJECTS:tonekit_objects> ${tier_objects} ${foreign_objects})
    add_library(tonekit::tonekit ALIAS tonekit)
    set_target_properties(tonekit PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR} LINKER_LANGUAGE CXX
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    target_include_directories(tonekit INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
        $<BUILD_INTERFACE:${TONEKIT_GENERATED}/include>
        $<INSTALL_INTERFACE:include>)
    target_link_libraries(tonekit PRIVATE ${dependencies})
    if(WIN32)
        tonekit_link_for_windows()
    else()
        tonekit_link_for_elf()
    endif()

    add_library(tonekit_internal INTERFACE)
    target_sources(tonekit_internal INTERFACE $<TARGET_OBJECTS:tonekit_objects> ${tier_objects} ${foreign_objects})
    target_link_libraries(tonekit_internal INTERFACE tonekit_settings ${dependencies})
endfunction()
