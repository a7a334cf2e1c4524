# Toolchain: 32-bit Windows, by mingw-w64 with POSIX threads (std::thread and friends need that variant).

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)

get_filename_component(norix_root ${CMAKE_CURRENT_LIST_DIR}/.. ABSOLUTE)

# What scripts/deps.sh built. Libraries and headers come from there or from mingw, never from the build machine.
set(NORIX_DEPS ${norix_root}/build/deps)
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_PREFIX_PATH ${NORIX_DEPS})
list(APPEND CMAKE_FIND_ROOT_PATH ${NORIX_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Hosts call in with the stack aligned to four bytes only, and some leave the x87 unit in a state of their own.
set(norix_machine "-mstackrealign -msse2 -mfpmath=sse")
set(CMAKE_C_FLAGS_INIT "${norix_machine}")
set(CMAKE_CXX_FLAGS_INIT "${norix_machine}")
# In the cache, because CMake would append its own defaults to the ..._INIT variables of a build type.
set(CMAKE_C_FLAGS_RELEASE "-O2 -g0 -ffunction-sections -fdata-sections -DNDEBUG" CACHE STRING "")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g0 -ffunction-sections -fdata-sections -DNDEBUG" CACHE STRING "")
set(CMAKE_C_FLAGS_DEBUG "-O0 -g" CACHE STRING "")
set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g" CACHE STRING "")

# The module is one file: compiler and thread runtime go into it.
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
    set(CMAKE_${kind}_LINKER_FLAGS_RELEASE_INIT "-Wl,--gc-sections -s")
endforeach()

set(CMAKE_CROSSCOMPILING_EMULATOR ${norix_root}/scripts/wine-run)
