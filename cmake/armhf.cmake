# Cross-compiles for the unit, a 32-bit ARM Linux of Debian's armhf, with Debian's compiler of that name. What is linked
# stands in a folder that script/build-armhf fills; programs run by the emulator. ORVANE_NEON is for a unit whose
# processor has it, which armhf does not promise.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

get_filename_component(project "${CMAKE_CURRENT_LIST_DIR}" DIRECTORY)
set(CMAKE_SYSROOT "${project}/build/armhf-sysroot")
set(CMAKE_FIND_ROOT_PATH "${CMAKE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")

# The compiler tells, for every function with a va_list or an aligned argument, that older ones passed it otherwise.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
if(ORVANE_NEON)
    string(APPEND CMAKE_CXX_FLAGS_INIT " -mfpu=neon-vfpv3")
endif()
# Indirectly needed libraries of the folder, which the linker does not look for by itself.
set(rpaths "-Wl,-rpath-link,${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf:${CMAKE_SYSROOT}/lib/arm-linux-gnueabihf")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${rpaths}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${rpaths}")

set(CMAKE_CROSSCOMPILING_EMULATOR "qemu-arm-static;-L;${CMAKE_SYSROOT}")
