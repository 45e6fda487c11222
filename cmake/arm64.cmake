# Cross build for 64-bit Arm against Debian's arm64 packages; tests run under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)

# Multiarch keeps both architectures' files below one root: only the library folder differs.
# Qt's moc and rcc are therefore the native ones.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
# The native pkg-config serves, once it reads the other architecture's files.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
