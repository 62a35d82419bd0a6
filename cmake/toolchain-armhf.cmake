# Cross build for the board: 32-bit ARM, hard float, with Debian's cross
# compiler (g++-arm-linux-gnueabihf) and the armhf development packages of a
# multiarch host (dpkg --add-architecture armhf; libnl-3-dev:armhf, ...).
# Test programs run under qemu user-mode emulation; no binfmt registration.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(HAPI_CROSS_TRIPLET arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${HAPI_CROSS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${HAPI_CROSS_TRIPLET}-g++)
# Multiarch keeps the armhf libraries, their pkg-config files and the GTest
# package configuration in /usr/lib/arm-linux-gnueabihf of the host's root.
set(CMAKE_LIBRARY_ARCHITECTURE ${HAPI_CROSS_TRIPLET})
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${HAPI_CROSS_TRIPLET}/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")

# The multiarch root is the emulator's: its loader, C library and C++ runtime
# come from one release. The cross toolchain's own libc under
# /usr/arm-linux-gnueabihf may be older than the multiarch one, and a loader
# of one with the other's libc crashes in the first pthread_create.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm-static -L /)

# Every object is built by this one compiler, so GCC 7.1's change to how
# ARM passes some aggregates (the -Wpsabi note) concerns no caller of ours.
set(CMAKE_C_FLAGS_INIT -Wno-psabi)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
