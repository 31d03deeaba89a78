# mingw-w64.cmake: builds for 64-bit Windows on another system, with MinGW-w64 and POSIX threads.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(TONEKIT_MINGW x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${TONEKIT_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TONEKIT_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${TONEKIT_MINGW}-windres)

# What scripts/windows/build_dependencies has built is next to the build; nothing of the building system is looked at.
get_filename_component(TONEKIT_WINDOWS_DEPENDENCIES ${CMAKE_CURRENT_LIST_DIR}/../build-windows/dependencies ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${TONEKIT_WINDOWS_DEPENDENCIES} /usr/${TONEKIT_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${TONEKIT_WINDOWS_DEPENDENCIES}/lib/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
set(PKG_CONFIG_ARGN --static) # the dependencies are static libraries, which bring theirs along

# The 64-bit Windows stack is aligned to 16 bytes, and the compiler spills 32-byte registers as if it were aligned to 32;
# a move that demands alignment faults there. The assembler turns each into the move that does not.
set(CMAKE_C_FLAGS_INIT -Wa,-muse-unaligned-vector-move)
set(CMAKE_CXX_FLAGS_INIT -Wa,-muse-unaligned-vector-move)

# Programs of this build run under Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/windows/wine)
