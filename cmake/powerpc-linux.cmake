# PowerPC Linux, 32-bit and big-endian, for qemu-ppc-static. Static, so that the emulator needs no PowerPC system.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR powerpc)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
