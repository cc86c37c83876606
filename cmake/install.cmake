# Install rules and the Debian packages (cpack -G DEB, see `make package`).
#
# Components: runtime (the shared library and its SONAME link), dev (header, the
# development link, kvclient.pc, the CMake package, the API documents) and tools (kvsim with
# its default forecourt, kvcli). The library goes to the multiarch directory of the
# architecture being built, under any prefix, so both architectures install side by side.

if(KV_M32)
  set(KV_MULTIARCH i386-linux-gnu)
  set(KV_DEB_ARCH i386)
else()
  set(KV_MULTIARCH x86_64-linux-gnu)
  set(KV_DEB_ARCH amd64)
endif()
# Plain "lib" (GNUInstallDirs' choice outside /usr) gives way to the multiarch directory;
# any other directory given by the user stays.
if(NOT DEFINED CMAKE_INSTALL_LIBDIR OR CMAKE_INSTALL_LIBDIR STREQUAL "lib")
  set(CMAKE_INSTALL_LIBDIR lib/${KV_MULTIARCH} CACHE PATH "Object code libraries (multiarch)" FORCE)
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
# Installing and packaging need only the installed targets, not every test program.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set(KV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kvclient)

# The build tree keeps its own include path; installed users get the installed header.
set_property(TARGET kvclient PROPERTY INTERFACE_INCLUDE_DIRECTORIES
  "$<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include>"
  "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")

install(TARGETS kvclient EXPORT kvclientTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(FILES ${CMAKE_SOURCE_DIR}/include/kvclient.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT kvclientTargets NAMESPACE kvclient::
  DESTINATION ${KV_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/kvclientConfig.cmake.in
  ${CMAKE_BINARY_DIR}/kvclientConfig.cmake INSTALL_DESTINATION ${KV_CMAKE_DIR})
# The library's ABI follows its SONAME: any 2.x satisfies a request for 2.y with y <= x.
write_basic_package_version_file(${CMAKE_BINARY_DIR}/kvclientConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/kvclientConfig.cmake ${CMAKE_BINARY_DIR}/kvclientConfigVersion.cmake
  DESTINATION ${KV_CMAKE_DIR} COMPONENT dev)

# kvclient.pc names the prefix that the install actually goes to (cmake --install --prefix,
# or /usr inside a package), so it is written at install time, straight to its place:
# installs of one build tree into two prefixes at once must not share a file.
install(CODE "
  set(KV_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
  set(CMAKE_INSTALL_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(CMAKE_INSTALL_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
  set(PROJECT_VERSION \"${PROJECT_VERSION}\")
  set(pc \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/kvclient.pc\")
  message(STATUS \"Installing: \${pc}\")
  configure_file(\"${CMAKE_CURRENT_LIST_DIR}/kvclient.pc.in\" \"\${pc}\" @ONLY)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${pc}\")
" COMPONENT dev)

install(FILES ${CMAKE_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev
  FILES_MATCHING PATTERN "*.md")
install(FILES ${CMAKE_SOURCE_DIR}/examples/pos_demo.c
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT dev)

# An installed kvsim finds its default forecourt in the data directory of its own prefix.
install(TARGETS kvsim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
install(FILES ${CMAKE_SOURCE_DIR}/sim/forecourt.ini DESTINATION ${CMAKE_INSTALL_DATADIR}/kvclient
  COMPONENT tools)
target_compile_definitions(kvsim PRIVATE KV_SIM_INSTALLED_INI="../${CMAKE_INSTALL_DATADIR}/kvclient/forecourt.ini")
if(TARGET kvcli)
  install(TARGETS kvcli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()

# ---- Debian packages ------------------------------------------------------------------------
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kvclient)
set(CPACK_PACKAGE_VENDOR "kvclient developers")
set(CPACK_PACKAGE_CONTACT "kvclient developers <kvclient@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# Install scripts then run with CMAKE_INSTALL_PREFIX=/usr, so kvclient.pc says /usr
# whatever prefix the build tree was configured with.
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Debian ships stripped binaries (debug information goes to separate packages).
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 2)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${KV_DEB_ARCH})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(KV_DEB_VERSION "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
# Written out rather than computed by dpkg-shlibdeps, which cannot resolve the i386
# libraries of a multilib toolchain on an amd64 build machine. The floor is what the
# library and the tools reference (GLIBC_2.34, GLIBCXX_3.4.30 of g++ 12).
set(KV_DEB_CXX_DEPENDS "libc6 (>= 2.34), libstdc++6 (>= 12), libgcc-s1 (>= 3.0)")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkvclient2)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${KV_DEB_CXX_DEPENDS}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)  # only the runtime package holds a library
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "client library of the KVServer forecourt controller
The shared library through which point-of-sale, back-office and other station
programs talk to the forecourt controller server: pumps, deliveries, tanks,
grades, cards and the server's events, over the call and events connections.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libkvclient-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libkvclient2 (= ${KV_DEB_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION "client library of the KVServer forecourt controller - development files
The C header kvclient.h, the development link, the pkg-config file kvclient.pc,
the CMake package (find_package(kvclient) gives kvclient::kvclient), the API
documents and a point-of-sale example.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kvclient-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libkvclient2 (= ${KV_DEB_VERSION}), ${KV_DEB_CXX_DEPENDS}")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "forecourt simulator and command line for the KVServer
kvsim serves the whole KVServer protocol over a simulated forecourt, for
developing and testing station software without hardware. kvcli asks the
forecourt controller for pumps, deliveries, grades, tanks and clients, drives
pumps and follows the events live.")

include(CPack)
