# Cross-compiling for 64-bit Arm, with what `scripts/aarch64.sh` has unpacked of Debian's arm64
# packages; its tests run under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++-12)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

if(DEFINED ENV{ORVEK23_AARCH64_ROOT})
  set(root "$ENV{ORVEK23_AARCH64_ROOT}")
else()
  get_filename_component(root "${CMAKE_CURRENT_LIST_DIR}/../build/aarch64-root" ABSOLUTE)
endif()
set(CMAKE_SYSROOT "${root}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
find_program(ORVEK23_QEMU qemu-aarch64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR "${ORVEK23_QEMU}" -L "${root}")
