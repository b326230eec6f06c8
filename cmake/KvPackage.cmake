# Debian packages by CPack (./dev package): the libraries, what one compiles against, and the tools.
# Whatever else is installed names one of their components, or gets a package by kv_package: what has
# no component is in no package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kvtypemgr)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The maintainers <maintainers@kvtypemgr.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION database)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_COMPONENTS_ALL "")

configure_file(packaging/copyright.in ${PROJECT_BINARY_DIR}/packaging/copyright @ONLY)
configure_file(packaging/changelog.in ${PROJECT_BINARY_DIR}/packaging/changelog @ONLY)
execute_process(COMMAND gzip -9 -n -k -f ${PROJECT_BINARY_DIR}/packaging/changelog)

# kv_package(COMPONENT PACKAGE SECTION SUMMARY TEXT [DEPENDS components...])
macro(kv_package component package section summary text)
  cmake_parse_arguments(KV_PACKAGE "" "" "DEPENDS" ${ARGN})
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${text}")
  set(CPACK_COMPONENT_${upper}_DEPENDS ${KV_PACKAGE_DEPENDS})
  install(FILES ${PROJECT_BINARY_DIR}/packaging/copyright
    ${PROJECT_BINARY_DIR}/packaging/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endmacro()

kv_package(libraries libkvtypemgr14 libs "values, stored bytes and orders of 47 types"
  "The shared libraries of the type manager. They store, compare, hash, sort and
print the values of a database.")
# What a program needs that is linked to libkvc, whose interface has a version of its own.
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/triggers ${PROJECT_SOURCE_DIR}/packaging/shlibs)
kv_package(development libkvtypemgr-dev libdevel "headers of the type manager"
  "What one compiles against: the headers, a CMake package and a pkg-config file."
  DEPENDS libraries)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
kv_package(tools kvtm database "workbench for stored values"
  "Reads and writes stored bytes as hex and values as text, and asks the type
manager how values compare, hash, sort and step. With man pages and completions
for bash and zsh." DEPENDS libraries)

if(TARGET kvindex)
  kv_package(index kvindex database "typed records in ordered stores"
    "Keeps records of the type manager's types in LMDB, RocksDB, etcd or
PostgreSQL, and finds them by predicates." DEPENDS libraries)
endif()
if(TARGET kvsqlite)
  kv_package(sqlite libsqlite3-mod-kvsqlite database "stored values in SQL"
    "An extension that SQLite loads: stored values as text, their sort keys, orders
and checks." DEPENDS libraries)
  set(CPACK_DEBIAN_SQLITE_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
endif()
if(TARGET kvtm_python)
  kv_package(python python3-kvtm python "stored values in Python"
    "The package kvtm: stores, loads, compares, hashes and keys the values of the
type manager's types." DEPENDS libraries)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11)")
endif()

include(CPack)
