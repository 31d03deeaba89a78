# dispatch.cmake: makes the tier objects, the dispatch entries and the export lists from frame/dispatch.list.
#
# What is generated are calls of macros and lists of names: the macros are in frame/dispatch_entries.S and frame/tier.h.

include(${CMAKE_CURRENT_LIST_DIR}/tiers.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/dispatch_list.cmake)

set(TONEKIT_GENERATED ${PROJECT_BINARY_DIR}/generated)

# Sets other sources for a unit than PATH.tier.cpp. Called before tonekit_read_dispatch_list.
function(tonekit_unit_sources unit)
    set_property(GLOBAL PROPERTY TONEKIT_UNIT_SOURCES_${unit} ${ARGN})
endfunction()

# Adds compile options for all bodies of a unit. Called before tonekit_read_dispatch_list.
function(tonekit_unit_options unit)
    set_property(GLOBAL PROPERTY TONEKIT_UNIT_OPTIONS_${unit} ${ARGN})
endfunction()

# Leaves a unit and all its rows out of the build.
function(tonekit_skip_unit unit)
    set_property(GLOBAL APPEND PROPERTY TONEKIT_SKIPPED_UNITS ${unit})
endfunction()

# Says that a unit's sources know nothing of bodies: the functions of its rows are defined under their plain names. Its
# objects are joined into one per body, in which those names get their suffix and the named tables become local. Such
# sources have the unit's options alone, and the tuned ones those of the tier. Their names stay visible: the export list
# decides. Called before tonekit_read_dispatch_list.
function(tonekit_join_unit unit)
    set_property(GLOBAL PROPERTY TONEKIT_JOINED_${unit} TRUE)
    set_property(GLOBAL PROPERTY TONEKIT_JOINED_TABLES_${unit} ${ARGN})
endfunction()

# Names the sources of a joined unit that are compiled with each body's tier options.
function(tonekit_tuned_sources unit)
    set_property(SOURCE ${ARGN} DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY
        COMPILE_OPTIONS $<TARGET_PROPERTY:TONEKIT_TIER_OPTIONS>)
endfunction()

# The least demanding letter of a body such as A=R=S=V.
function(tonekit_body_letter body result)
    string(REPLACE "=" ";" letters "${body}")
    foreach(letter IN LISTS TONEKIT_LETTERS)
        if(letter IN_LIST letters)
            set(${result} ${letter} PARENT_SCOPE)
            return()
        endif()
    endforeach()
    tonekit_list_error("no tier letter in '${body}'")
endfunction()

# Writes the rows of a unit as a header for tier.h, with the aliases of the letters that share a body.
function(tonekit_write_rows header unit letter letters)
    set(text "// Generated from frame/dispatch.list: the rows and shared letters of ${unit}, body ${letter}.\n")
    foreach(name IN LISTS TONEKIT_ROWS_${unit})
        set(kind ${TONEKIT_KIND_${name}})
        string(APPEND text "#define TONEKIT_ROW_${kind}_${name} 1\n")
        foreach(public IN LISTS name TONEKIT_ALIASES_${name})
            foreach(shared IN LISTS letters)
                if(NOT "${public}.${shared}" STREQUAL "${name}.${letter}")
                    string(APPEND text "TONEKIT_ALIAS_${kind}(${public}.${shared}, ${name}.${letter})\n")
                endif()
                if(WIN32 AND kind STREQUAL "export")
                    string(APPEND text "TONEKIT_ALIAS_${kind}(${public}$${shared}, ${name}.${letter})\n")
                endif()
            endforeach()
        endforeach()
    endforeach()
    file(CONFIGURE OUTPUT ${header} CONTENT "${text}" @ONLY NEWLINE_STYLE LF)
endfunction()

# Joins the objects of one body into OBJECT: adds the suffix to the names of the rows, inside too, and adds the names of
# the letters that share the body.
function(tonekit_join_objects object unit target letter letters)
    get_property(tables GLOBAL PROPERTY TONEKIT_JOINED_TABLES_${unit})
    set(aliases "")
    set(suffixes "")
    foreach(name IN LISTS TONEKIT_ROWS_${unit})
        string(APPEND suffixes "${name} ${name}.${letter}\n")
        foreach(shared IN LISTS letters)
            if(NOT shared STREQUAL letter)
                string(APPEND aliases "--defsym=${name}.${shared}=${name}\n")
            endif()
            if(WIN32)
                string(APPEND aliases "--defsym=${name}$${shared}=${name}\n")
            endif()
        endforeach()
    endforeach()
    set(script "")
    set(rename "")
    if(WIN32)
        # The linker sorts the table of unwinding by addresses that only later become final, and forgets about their
        # relocations; under another name it leaves it alone.
        file(CONFIGURE OUTPUT ${object}.ld CONTENT
            "OUTPUT_FORMAT(pe-x86-64)\nSECTIONS { .joined : { *(.pdata) } }\n" @ONLY NEWLINE_STYLE LF)
        set(script -T ${object}.ld)
        set(rename --rename-section .joined=.pdata)
    endif()
    list(JOIN tables "\n" locals)
    file(CONFIGURE OUTPUT ${object}.aliases CONTENT "${aliases}" @ONLY NEWLINE_STYLE LF)
    file(CONFIGURE OUTPUT ${object}.suffixes CONTENT "${suffixes}" @ONLY NEWLINE_STYLE LF)
    file(CONFIGURE OUTPUT ${object}.locals CONTENT "${locals}\n" @ONLY NEWLINE_STYLE LF)
    add_custom_command(OUTPUT ${object}
        COMMAND ${CMAKE_LINKER} -r ${script} -o ${object} @${object}.aliases $<TARGET_OBJECTS:${target}>
        COMMAND ${CMAKE_OBJCOPY} --redefine-syms=${object}.suffixes --localize-symbols=${object}.locals ${rename} ${object}
        DEPENDS ${target} $<TARGET_OBJECTS:${target}> ${object}.aliases ${object}.suffixes ${object}.locals
        COMMAND_EXPAND_LISTS VERBATIM COMMENT "Joining ${unit}, body ${letter}")
    set_source_files_properties(${object} PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
endfunction()

# Compiles one body of a unit.
function(tonekit_add_body unit body)
    tonekit_body_letter(${body} letter)
    string(REPLACE "=" ";" letters "${body}")
    string(REPLACE "/" "_" flat ${unit})
    get_property(joined GLOBAL PROPERTY TONEKIT_JOINED_${unit})
    get_property(sources GLOBAL PROPERTY TONEKIT_UNIT_SOURCES_${unit})
    get_property(options GLOBAL PROPERTY TONEKIT_UNIT_OPTIONS_${unit})
    if(NOT sources)
        set(sources ${PROJECT_SOURCE_DIR}/${unit}.tier.cpp)
    endif()
    set(target tier_${flat}_${letter})
    add_library(${target} OBJECT ${sources})
    if(joined)
        set(object ${TONEKIT_GENERATED}/${flat}.${letter}.o)
        set_target_properties(${target} PROPERTIES TONEKIT_TIER_OPTIONS "${TONEKIT_TIER_OPTIONS_${letter}}")
        tonekit_join_objects(${object} ${unit} ${target} ${letter} "${letters}")
    else()
        set(object $<TARGET_OBJECTS:${target}>)
        set(header ${TONEKIT_GENERATED}/${flat}.${letter}.h)
        target_link_libraries(${target} PRIVATE tonekit_settings)
        tonekit_write_rows(${header} ${unit} ${letter} "${letters}")
        target_compile_definitions(${target} PRIVATE TONEKIT_TIER=${letter} TONEKIT_ROWS="${header}")
        target_compile_options(${target} PRIVATE ${TONEKIT_TIER_OPTIONS_${letter}}
            $<$<COMPILE_LANGUAGE:CXX>:${TONEKIT_TIER_UNIT_OPTIONS}>)
    endif()
    if(WIN32)
        # Data of other objects is reached without pointers to it, which would be weak symbols.
        target_compile_options(${target} PRIVATE -mcmodel=small)
    endif()
    target_compile_options(${target} PRIVATE ${options})
    set_property(GLOBAL APPEND PROPERTY TONEKIT_OBJECTS ${object})
    set_property(GLOBAL APPEND PROPERTY TONEKIT_TIER_TARGETS ${target})
endfunction()

# Writes the rows as calls of the macros that frame/dispatch_entries.S and tests/support/dispatch_names.S define.
function(tonekit_write_assembler_rows)
    set(text "# Generated from frame/dispatch.list: its rows.\n")
    foreach(unit IN LISTS TONEKIT_UNITS)
        list(LENGTH TONEKIT_ROWS_${unit} count)
        string(APPEND text "unit \"${unit}\", ${count}\n")
        foreach(name IN LISTS TONEKIT_ROWS_${unit})
            set(kind ${TONEKIT_KIND_${name}})
            string(APPEND text "row ${kind}, ${name}\n")
            foreach(alias IN LISTS TONEKIT_ALIASES_${name})
                string(APPEND text "alias ${kind}, ${alias}, ${name}\n")
            endforeach()
        endforeach()
    endforeach()
    file(CONFIGURE OUTPUT ${TONEKIT_GENERATED}/rows/dispatch_rows.inc CONTENT "${text}" @ONLY NEWLINE_STYLE LF)
endfunction()

# Lets an assembler source of the calling folder include dispatch_rows.inc.
function(tonekit_include_rows source)
    set_source_files_properties(${source} PROPERTIES INCLUDE_DIRECTORIES ${TONEKIT_GENERATED}/rows)
endfunction()

# All names that the library exports.
function(tonekit_list_exports result)
    set(names ${TONEKIT_SINGLES})
    foreach(unit IN LISTS TONEKIT_UNITS)
        foreach(name IN LISTS TONEKIT_ROWS_${unit})
            if(TONEKIT_KIND_${name} STREQUAL "intern")
                continue()
            endif()
            foreach(public IN LISTS name TONEKIT_ALIASES_${name})
                list(APPEND names ${public})
                if(TONEKIT_KIND_${name} STREQUAL "export")
                    list(TRANSFORM TONEKIT_LETTERS PREPEND "${public}." OUTPUT_VARIABLE suffixed)
                    list(APPEND names ${suffixed})
                endif()
            endforeach()
        endforeach()
    endforeach()
    set(${result} "${names}" PARENT_SCOPE)
endfunction()

# Writes the linker's version script: the exported names and nothing else, under one version.
function(tonekit_write_version_script names)
    list(JOIN names "\";\n        \"" symbols)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/tonekit.map.in ${TONEKIT_GENERATED}/tonekit.map @ONLY NEWLINE_STYLE LF)
endfunction()

# Writes the module definition for Windows: the same names. The linker takes an export of a symbol with a dot for a forwarder
# to another library, so a body has a second symbol, with $ in place of the dot, which is exported under its name.
function(tonekit_write_def names)
    set(symbols "")
    foreach(name IN LISTS names)
        string(REPLACE "." "$" symbol "${name}")
        if(symbol STREQUAL name)
            list(APPEND symbols "    \"${name}\"")
        else()
            list(APPEND symbols "    \"${name}\" = \"${symbol}\"")
        endif()
    endforeach()
    list(JOIN symbols "\n" symbols)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/tonekit.def.in ${TONEKIT_GENERATED}/tonekit.def @ONLY NEWLINE_STYLE LF)
endfunction()

# Reads the list and does all of the above. Sets the global properties TONEKIT_OBJECTS and TONEKIT_TIER_TARGETS.
function(tonekit_read_dispatch_list)
    get_property(skipped GLOBAL PROPERTY TONEKIT_SKIPPED_UNITS)
    tonekit_parse_dispatch_list("${skipped}")
    foreach(unit IN LISTS TONEKIT_UNITS)
        foreach(body IN LISTS TONEKIT_BODIES_${unit})
            tonekit_add_body(${unit} ${body})
        endforeach()
    endforeach()
    tonekit_write_assembler_rows()
    tonekit_list_exports(exports)
    tonekit_write_version_script("${exports}")
    tonekit_write_def("${exports}")
endfunction()
