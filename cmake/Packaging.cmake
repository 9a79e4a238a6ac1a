# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

include(CMakePackageConfigHelpers)

install(TARGETS vel EXPORT libvelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/vel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(FILES ${VEL_GENERATED_DIR}/vel/mvel_interface.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vel)

set(VEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/libvel)
install(EXPORT libvelTargets NAMESPACE libvel:: DESTINATION ${VEL_CMAKE_DIR})
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/libvelConfig.cmake.in
  ${CMAKE_BINARY_DIR}/libvelConfig.cmake INSTALL_DESTINATION ${VEL_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/libvelConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/libvelConfig.cmake ${CMAKE_BINARY_DIR}/libvelConfigVersion.cmake
  DESTINATION ${VEL_CMAKE_DIR})

# The .pc file locates the prefix from its own place, so an installed tree can be moved.
file(RELATIVE_PATH VEL_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" VEL_PC_TO_PREFIX "${VEL_PC_TO_PREFIX}")
configure_file(${CMAKE_SOURCE_DIR}/cmake/libvel.pc.in ${CMAKE_BINARY_DIR}/libvel.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/libvel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The service's system-bus policy: who may own its name and send its signals.
install(FILES ${CMAKE_SOURCE_DIR}/data/dbus-1/system.d/com.qor.vel_communicator.conf
  DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d)

# The service's introspection description, for bindings of other languages and
# for tools; the C binding is generated from the same file.
install(FILES ${CMAKE_SOURCE_DIR}/common/interface/com.qor.vel_communicator.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces)
