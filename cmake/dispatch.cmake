# dispatch.cmake: reads frame/dispatch.list and makes from it the tier objects, the dispatch entries and the export lists.
#
# The list is the one place that names exported and dispatched functions. Its rows:
#   unit   PATH BODIES...      a tier unit, compiled from PATH.tier.cpp once per body; A=R=S=V is one body for four letters,
#                              built for the least demanding of them
#   export NAME [ALIAS...]     a dispatched function of the unit, exported in the nine-name form; aliases share addresses
#   plain  NAME                a dispatched function of the unit, of which only the entry is exported
#   intern NAME                a dispatched function of the unit that nothing outside sees
#   single NAME                an exported function with one build

include(${CMAKE_CURRENT_LIST_DIR}/tiers.cmake)

set(TONEKIT_DISPATCH_LIST ${PROJECT_SOURCE_DIR}/frame/dispatch.list)
set(TONEKIT_GENERATED ${PROJECT_BINARY_DIR}/generated)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${TONEKIT_DISPATCH_LIST})

# Gives a unit other sources than PATH.tier.cpp. Called before tonekit_read_dispatch_list.
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
    message(FATAL_ERROR "frame/dispatch.list: no tier letter in '${body}'")
endfunction()

# Fails unless the bodies of a unit serve each letter exactly once.
function(tonekit_check_bodies unit)
    string(REPLACE "=" ";" letters "${ARGN}")
    list(SORT letters)
    if(NOT "${letters}" STREQUAL "${TONEKIT_LETTERS}")
        message(FATAL_ERROR "frame/dispatch.list: unit ${unit} must name each of ${TONEKIT_LETTERS} once, not '${ARGN}'")
    endif()
endfunction()

# Assembler lines that give symbol NAME the further name ALIAS in the same object.
function(tonekit_alias_lines alias name hidden result)
    set(lines ".globl ${alias}\\n")
    if(NOT WIN32)
        string(APPEND lines ".type ${alias}, @function\\n")
        if(hidden)
            string(APPEND lines ".hidden ${alias}\\n")
        endif()
    endif()
    string(APPEND lines ".set ${alias}, ${name}\\n")
    set(${result} "__asm__(\"${lines}\");\n" PARENT_SCOPE)
endfunction()

# The rows of a unit as a header for tier.h, with the aliases of the letters that share a body.
function(tonekit_write_rows header unit letter letters rows)
    set(text "// Generated from frame/dispatch.list: the rows and shared letters of ${unit}, body ${letter}.\n")
    foreach(row IN LISTS rows)
        string(REPLACE "|" ";" fields "${row}")
        list(POP_FRONT fields kind name)
        set(hidden TRUE)
        if(kind STREQUAL "export")
            set(hidden FALSE)
        endif()
        string(APPEND text "#define TONEKIT_ROW_${kind}_${name} 1\n")
        foreach(public IN LISTS name fields)
            foreach(shared IN LISTS letters)
                if(NOT "${public}.${shared}" STREQUAL "${name}.${letter}")
                    tonekit_alias_lines(${public}.${shared} ${name}.${letter} ${hidden} lines)
                    string(APPEND text "${lines}")
                endif()
                if(WIN32 AND NOT hidden)
                    tonekit_alias_lines(${public}$${shared} ${name}.${letter} FALSE lines)
                    string(APPEND text "${lines}")
                endif()
            endforeach()
        endforeach()
    endforeach()
    file(CONFIGURE OUTPUT ${header} CONTENT "${text}" @ONLY NEWLINE_STYLE LF)
endfunction()

# Joins the objects of one body into OBJECT: gives the names of the rows their suffix, inside too, and adds the names of
# the letters that share the body.
function(tonekit_join_objects object unit target letter letters rows)
    get_property(tables GLOBAL PROPERTY TONEKIT_JOINED_TABLES_${unit})
    set(aliases "")
    set(suffixes "")
    foreach(row IN LISTS rows)
        string(REPLACE "|" ";" fields "${row}")
        list(GET fields 1 name)
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

# Compiles one body of a unit. ROWS holds entries KIND|NAME|ALIAS...
function(tonekit_add_body unit body rows)
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
        tonekit_join_objects(${object} ${unit} ${target} ${letter} "${letters}" "${rows}")
    else()
        set(object $<TARGET_OBJECTS:${target}>)
        set(header ${TONEKIT_GENERATED}/${flat}.${letter}.h)
        target_link_libraries(${target} PRIVATE tonekit_settings)
        tonekit_write_rows(${header} ${unit} ${letter} "${letters}" "${rows}")
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

# The entry of a dispatched function: a slot that starts at the .A body, and a jump through it. Aliases share the entry.
function(tonekit_entry_text kind name aliases result)
    set(text "")
    foreach(public IN LISTS name aliases)
        string(APPEND text "    .globl ${public}\n")
        if(NOT WIN32)
            string(APPEND text "    .type ${public}, @function\n")
            if(kind STREQUAL "intern")
                string(APPEND text "    .hidden ${public}\n")
            endif()
        endif()
    endforeach()
    string(APPEND text "    .p2align 4\n")
    foreach(public IN LISTS name aliases)
        string(APPEND text "${public}:\n")
    endforeach()
    string(APPEND text "    jmp *slot.${name}(%rip)\n")
    if(NOT WIN32)
        foreach(public IN LISTS name aliases)
            string(APPEND text "    .size ${public}, . - ${public}\n")
        endforeach()
    endif()
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

# Writes the assembler file with entries, slots and the selection table, and the file of row names for tests.
function(tonekit_write_entries entries slots table units names strings)
    if(WIN32)
        set(constant ".section .rdata,\"dr\"")
        set(note "")
    else()
        set(constant ".section .data.rel.ro, \"aw\"")
        set(note "    .section .note.GNU-stack, \"\", @progbits\n")
    endif()
    set(hidden "")
    if(NOT WIN32)
        set(hidden "    .hidden tonekit_dispatch_rows\n    .hidden tonekit_dispatch_units\n")
    endif()
    file(CONFIGURE OUTPUT ${TONEKIT_GENERATED}/dispatch_entries.S CONTENT
"# Generated from frame/dispatch.list: the entries, their slots and the table that the selection at load works through.
${hidden}    .text
${entries}
    .data
    .p2align 3
${slots}
    ${constant}
    .p2align 3
    .globl tonekit_dispatch_rows
tonekit_dispatch_rows:
${table}
    .globl tonekit_dispatch_units
tonekit_dispatch_units:
${units}    .quad 0
${note}" @ONLY NEWLINE_STYLE LF)
    file(CONFIGURE OUTPUT ${TONEKIT_GENERATED}/dispatch_names.S CONTENT
"# Generated from frame/dispatch.list: the names of the rows, in the order of the table; for tests and benchmarks only.
    ${constant}
    .p2align 3
    .globl tonekit_dispatch_names
tonekit_dispatch_names:
${names}    .quad 0
${strings}${note}" @ONLY NEWLINE_STYLE LF)
endfunction()

# The linker's version script: the exported names and nothing else, under one version.
function(tonekit_write_version_script names)
    set(text "# Generated from frame/dispatch.list: all that the library exports.\nTONEKIT_1.0 {\n    global:\n")
    foreach(name IN LISTS names)
        string(APPEND text "        \"${name}\";\n")
    endforeach()
    string(APPEND text "    local: *;\n};\n")
    file(CONFIGURE OUTPUT ${TONEKIT_GENERATED}/tonekit.map CONTENT "${text}" @ONLY NEWLINE_STYLE LF)
endfunction()

# The module definition for Windows: the same names. The linker takes an export of a symbol with a dot for a forwarder to
# another library, so the bodies have a second symbol, with $ in place of the dot, behind their exported name.
function(tonekit_write_def names)
    set(text "; Generated from frame/dispatch.list: all that the library exports.\nLIBRARY \"tonekit.dll\"\nEXPORTS\n")
    foreach(name IN LISTS names)
        string(REPLACE "." "$" symbol "${name}")
        if(symbol STREQUAL name)
            string(APPEND text "    \"${name}\"\n")
        else()
            string(APPEND text "    \"${name}\" = \"${symbol}\"\n")
        endif()
    endforeach()
    file(CONFIGURE OUTPUT ${TONEKIT_GENERATED}/tonekit.def CONTENT "${text}" @ONLY NEWLINE_STYLE LF)
endfunction()

# Reads the list and does all of the above. Sets the global properties TONEKIT_OBJECTS and TONEKIT_TIER_TARGETS.
function(tonekit_read_dispatch_list)
    get_property(skipped_units GLOBAL PROPERTY TONEKIT_SKIPPED_UNITS)
    file(STRINGS ${TONEKIT_DISPATCH_LIST} lines)
    set(unit_names "")
    set(exports "")
    set(skipping FALSE)
    set(unit "")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "#.*$" "" line "${line}")
        string(REGEX MATCHALL "[^ \t]+" fields "${line}")
        if(NOT fields)
            continue()
        endif()
        list(POP_FRONT fields kind name)
        if(kind STREQUAL "unit")
            set(unit ${name})
            set(skipping FALSE)
            if(unit IN_LIST skipped_units)
                set(skipping TRUE)
                continue()
            endif()
            tonekit_check_bodies(${unit} ${fields})
            list(APPEND unit_names ${unit})
            set(bodies_${unit} ${fields})
            set(rows_${unit} "")
        elseif(skipping)
            continue()
        elseif(kind STREQUAL "single")
            list(APPEND exports ${name})
        elseif(kind MATCHES "^(export|plain|intern)$")
            list(JOIN fields "|" aliases)
            list(APPEND rows_${unit} "${kind}|${name}|${aliases}")
        else()
            message(FATAL_ERROR "frame/dispatch.list: unknown row '${kind} ${name}'")
        endif()
    endforeach()

    set(entries "")
    set(slots "")
    set(table "")
    set(units "")
    set(names "")
    set(strings "")
    foreach(unit IN LISTS unit_names)
        foreach(body IN LISTS bodies_${unit})
            tonekit_add_body(${unit} ${body} "${rows_${unit}}")
        endforeach()
        list(LENGTH rows_${unit} count)
        string(APPEND units "    .quad ${count} # ${unit}\n")
        foreach(row IN LISTS rows_${unit})
            string(REPLACE "|" ";" fields "${row}")
            list(POP_FRONT fields kind name)
            tonekit_entry_text(${kind} ${name} "${fields}" entry)
            string(APPEND entries "${entry}")
            string(APPEND slots "slot.${name}:\n    .quad ${name}.A\n")
            string(APPEND table "    .quad slot.${name}")
            foreach(letter IN LISTS TONEKIT_LETTERS)
                string(APPEND table ", ${name}.${letter}")
            endforeach()
            string(APPEND table "\n")
            string(APPEND names "    .quad name.${name}\n")
            string(APPEND strings "name.${name}:\n    .asciz \"${name}\"\n")
            if(kind STREQUAL "export")
                foreach(public IN LISTS name fields)
                    list(APPEND exports ${public})
                    foreach(letter IN LISTS TONEKIT_LETTERS)
                        list(APPEND exports ${public}.${letter})
                    endforeach()
                endforeach()
            elseif(kind STREQUAL "plain")
                list(APPEND exports ${name} ${fields})
            endif()
        endforeach()
    endforeach()
    tonekit_write_entries("${entries}" "${slots}" "${table}" "${units}" "${names}" "${strings}")
    tonekit_write_version_script("${exports}")
    tonekit_write_def("${exports}")
endfunction()
