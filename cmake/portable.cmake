# What ships: built by clang and lld against the oldest C and C++ libraries that it has to run with,
# whose headers tools/sysroot.sh keeps in the user's cache. The preset names the architecture.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZEF_ARCHITECTURE)
if(ZEF_ARCHITECTURE STREQUAL arm64)
    set(CMAKE_SYSTEM_PROCESSOR aarch64)
else()
    set(CMAKE_SYSTEM_PROCESSOR x86_64)
endif()
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_LIBRARY_ARCHITECTURE ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
if(NOT CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL CMAKE_SYSTEM_PROCESSOR)
    set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${CMAKE_SYSTEM_PROCESSOR})
endif()

execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../tools/sysroot.sh --folder ${ZEF_ARCHITECTURE}
    OUTPUT_VARIABLE CMAKE_SYSROOT OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_STRIP /usr/bin/llvm-strip) # for every architecture
set(CMAKE_CXX_COMPILER_TARGET ${CMAKE_LIBRARY_ARCHITECTURE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig)

# Two folders give the same bytes, and neither stands in them.
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH source)
string(CONCAT CMAKE_CXX_FLAGS_INIT "-ffile-prefix-map=${source}/=/ "
    "-ffile-prefix-map=${CMAKE_SYSROOT}/=/ -ffunction-sections -fdata-sections")
# Qt's version tag asks for the Qt that was compiled against, although older ones would do.
string(APPEND CMAKE_CXX_FLAGS_INIT " -DQT_NO_VERSION_TAGGING")
foreach(kind SHARED MODULE EXE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -Wl,--gc-sections")
endforeach()
