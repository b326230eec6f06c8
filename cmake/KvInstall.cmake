# What an installation holds: the headers, the three libraries, kvtm, a CMake package
# (find_package(kvtypemgr), target kvtypemgr::kvtypemgr) and kvtypemgr.pc.
include(CMakePackageConfigHelpers)

file(GLOB KV_PUBLIC_HEADERS CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/kvcore/inc/*.h
  ${PROJECT_SOURCE_DIR}/platform/zbs/inc/*.h
  ${PROJECT_SOURCE_DIR}/platform/zin/inc/*.h)
install(FILES ${KV_PUBLIC_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvtypemgr
  COMPONENT development)

install(TARGETS zbs zin kvtypemgr kvtm EXPORT kvtypemgr-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvtypemgr)
install(EXPORT kvtypemgr-targets NAMESPACE kvtypemgr::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvtypemgr
  COMPONENT development)

configure_package_config_file(cmake/kvtypemgr-config.cmake.in
  ${PROJECT_BINARY_DIR}/kvtypemgr-config.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvtypemgr)
if(KV_ABI32)
  # The compiler was asked about itself before -m32: the package must refuse 64-bit users.
  set(CMAKE_SIZEOF_VOID_P 4)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kvtypemgr-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/kvtypemgr-config.cmake
  ${PROJECT_BINARY_DIR}/kvtypemgr-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvtypemgr
  COMPONENT development)

if(KV_ABI32)
  set(KV_PC_FLAGS "-m32 -msse2 -mfpmath=sse")
  set(KV_PC_LINK_FLAGS "-m32")
else()
  set(KV_PC_FLAGS "")
  set(KV_PC_LINK_FLAGS "")
endif()
# From the file to the prefix: two folders up from lib/pkgconfig, three where lib has one a host.
file(RELATIVE_PATH KV_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
if(NOT KV_CHAR_IS_SIGNED)
  string(APPEND KV_PC_FLAGS " -fsigned-char")
endif()
configure_file(cmake/kvtypemgr.pc.in ${PROJECT_BINARY_DIR}/kvtypemgr.pc @ONLY)
configure_file(bindings/c/kvc.pc.in ${PROJECT_BINARY_DIR}/kvc.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kvtypemgr.pc ${PROJECT_BINARY_DIR}/kvc.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# What an installation is made of, and nothing of the tests: `./dev install` builds it.
add_custom_target(installed)
foreach(target zbs zin kvtypemgr kvtm kvtm_manual kvindex kvindex_manual kvc kvsqlite kvtm_python)
  if(TARGET ${target})
    add_dependencies(installed ${target})
  endif()
endforeach()
