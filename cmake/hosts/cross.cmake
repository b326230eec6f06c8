# Cross compiling for one of the hosts that ./dev hosts proves: KV_HOST is its Debian name (s390x,
# armhf, aarch64). ./dev hosts unpacks compiler, C library and emulator launcher into
# build/hosts/KV_HOST; `bin` there holds wrappers that find the libraries of the unpacked compiler.
set(KV_HOST_ROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/hosts/${KV_HOST})
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KV_HOST)

set(CMAKE_SYSTEM_NAME Linux)
if(KV_HOST STREQUAL "armhf")
  set(CMAKE_SYSTEM_PROCESSOR armv7l)
  set(KV_HOST_TRIPLE arm-linux-gnueabihf)
else()
  set(CMAKE_SYSTEM_PROCESSOR ${KV_HOST})
  set(KV_HOST_TRIPLE ${KV_HOST}-linux-gnu)
endif()

set(CMAKE_C_COMPILER ${KV_HOST_ROOT}/bin/gcc)
set(CMAKE_CXX_COMPILER ${KV_HOST_ROOT}/bin/g++)
# A C program finds the C++ library that a library of it needs only here.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${KV_HOST_ROOT}/usr/${KV_HOST_TRIPLE}/lib")
set(CMAKE_CROSSCOMPILING_EMULATOR ${KV_HOST_ROOT}/bin/run)

# Headers without code of their own (doctest) are unpacked beside the C library; nothing else of
# this machine fits the host.
set(CMAKE_FIND_ROOT_PATH ${KV_HOST_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
