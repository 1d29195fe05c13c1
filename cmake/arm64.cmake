# A build for arm64 on another processor, whose programs run here by emulation. scripts/arm64-root makes the folder of the
# foreign system's headers and libraries.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-root)
cmake_path(NORMAL_PATH CMAKE_SYSROOT)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH) # installations of our own are packages, too

# A program's name stands for its emulation, so that tests start it as they do elsewhere.
set(CMAKE_CXX_LINKER_LAUNCHER ${CMAKE_CURRENT_LIST_DIR}/link-emulated ${CMAKE_SYSROOT})
