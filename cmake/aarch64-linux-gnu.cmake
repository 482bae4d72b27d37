# Builds for AArch64 Linux with Clang, against the sysroot that scripts/make-sysroot.sh makes; what was
# built is run by an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-aarch64)
cmake_path(NORMAL_PATH CMAKE_SYSROOT)
if(NOT EXISTS ${CMAKE_SYSROOT}/made-from.txt)
    message(FATAL_ERROR "${CMAKE_SYSROOT} is missing: make it with ./dev cross.")
endif()

set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
# The sysroot's own headers of the standard library: those beside the compiler may be of another
# version than the library that is linked. The compiler then has no use for -stdlib.
string(CONCAT CMAKE_CXX_FLAGS_INIT
    "-stdlib=libc++ -Wno-unused-command-line-argument "
    "-stdlib++-isystem \"${CMAKE_SYSROOT}/usr/lib/llvm-19/include/c++/v1\"")
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${CMAKE_SYSROOT})
