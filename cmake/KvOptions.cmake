# Compiler options that every target shares. Stored bytes and orders depend on signed characters
# and on IEEE arithmetic without excess precision, so those two are not a matter of taste.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_INTERPROCEDURAL_OPTIMIZATION OFF)
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g")

# Installed programs find the libraries beside them, built ones in the build tree.
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

add_library(kv_options INTERFACE)
target_compile_options(kv_options INTERFACE
  -fsigned-char -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Unique symbols would keep the libraries loaded for good after dlclose.
  target_compile_options(kv_options INTERFACE -fno-gnu-unique)
else()
  # The catalogue takes the addresses of rows that their families' files instantiate; where one does
  # not, the linker says so.
  target_compile_options(kv_options INTERFACE -Wno-undefined-var-template)
endif()
if(KV_ABI32)
  # SSE arithmetic: the x87 unit would carry excess precision into stored values.
  target_compile_options(kv_options INTERFACE -m32 -msse2 -mfpmath=sse)
  target_link_options(kv_options INTERFACE -m32)
endif()
if(KV_SANITIZE)
  target_compile_options(kv_options INTERFACE
    -fsanitize=${KV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(kv_options INTERFACE -fsanitize=${KV_SANITIZE})
endif()
if(KV_FUZZ)
  target_compile_options(kv_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

include(CheckCXXSourceCompiles)
check_cxx_source_compiles("static_assert(char(-1) < 0); int main() {}" KV_CHAR_IS_SIGNED)

# kv_shared_library(NAME OUTPUT sources...): one of the three shared libraries.
function(kv_shared_library name output)
  add_library(${name} SHARED ${ARGN})
  add_library(kvtypemgr::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES OUTPUT_NAME ${output})
  target_compile_definitions(${name} PRIVATE KV_BUILDING_LIBRARY)
  target_include_directories(${name} PRIVATE ${PROJECT_BINARY_DIR}/generated)
  # Programs in C++17 read the headers too (kvstd.h apart), and nobody is told what they know.
  target_compile_features(${name} PRIVATE cxx_std_20 INTERFACE cxx_std_17)
  if(NOT KV_CHAR_IS_SIGNED)
    target_compile_options(${name} INTERFACE -fsigned-char)
  endif()
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:kv_options>)
  # A library's calls of its own functions are its own: nobody replaces one from outside, so none
  # goes through the procedure linkage table.
  target_compile_options(${name} PRIVATE -fno-semantic-interposition)
  # A short hot function is up to a fifth slower where it straddles cache lines. With every function
  # at the start of a line, none gets slower because the code before it grew.
  target_compile_options(${name} PRIVATE -falign-functions=64)
  target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions)
  # A row's handlers are instantiated all together; those that no slot names are left out here.
  target_compile_options(${name} PRIVATE -ffunction-sections)
  target_link_options(${name} PRIVATE -Wl,--gc-sections)
  if(NOT KV_SANITIZE)
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
