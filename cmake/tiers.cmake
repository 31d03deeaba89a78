# tiers.cmake: the compiler options of each body letter, from the baseline to the most demanding.

# The letters in ascending demand, from where the library has them; a later letter has every feature of the earlier ones.
set(tonekit_letters_header "${CMAKE_CURRENT_LIST_DIR}/../frame/processor.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${tonekit_letters_header}")
file(STRINGS "${tonekit_letters_header}" TONEKIT_LETTERS REGEX "kTierLetters\\[\\] = ")
string(REGEX REPLACE ".*\"([A-Z]+)\".*" "\\1" TONEKIT_LETTERS "${TONEKIT_LETTERS}")
string(REGEX MATCHALL "[A-Z]" TONEKIT_LETTERS "${TONEKIT_LETTERS}")

set(TONEKIT_TIER_OPTIONS_A "")
set(TONEKIT_TIER_OPTIONS_L -msse3)
set(TONEKIT_TIER_OPTIONS_M -mssse3)
set(TONEKIT_TIER_OPTIONS_N -msse4.1)
set(TONEKIT_TIER_OPTIONS_P -msse4.2 -mpopcnt)
set(TONEKIT_TIER_OPTIONS_R ${TONEKIT_TIER_OPTIONS_P} -mavx)
set(TONEKIT_TIER_OPTIONS_S ${TONEKIT_TIER_OPTIONS_R} -mf16c)
set(TONEKIT_TIER_OPTIONS_V ${TONEKIT_TIER_OPTIONS_S} -mavx2 -mfma -mmovbe -mbmi -mbmi2 -mlzcnt)

# For every tier unit: no exceptions and no run-time types, because their tables are weak symbols that the linker could
# take from the wrong body; no link-time optimisation, which would merge bodies.
set(TONEKIT_TIER_UNIT_OPTIONS -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-lto
    $<$<CXX_COMPILER_ID:GNU>:-fno-ipa-icf>)
