# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

# Installs the libraries, the headers, and the package that other CMake projects find.
include(CMakePackageConfigHelpers)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/kessensor")

# Libraries and tool find each other by relative paths, so that the installed tree can be moved.
set_target_properties(kesplatform kessensor keshost kesgdal PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(kesfiles PROPERTIES EXPORT_NAME files)
set_target_properties(kesplatform PROPERTIES EXPORT_NAME platform)
set_target_properties(keshost PROPERTIES EXPORT_NAME host)
set_target_properties(kesgdal PROPERTIES EXPORT_NAME gdal)
install(TARGETS kesfiles kesplatform kessensor keshost kesgdal EXPORT kessensorTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
if(TARGET kes)
  file(RELATIVE_PATH library_folder "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set_target_properties(kes PROPERTIES INSTALL_RPATH "$ORIGIN/${library_folder}")
  install(TARGETS kes RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

# kes_install_headers(FROM FOLDER...): installs the headers in each of these folders below FROM.
function(kes_install_headers from)
  foreach(folder IN LISTS ARGN)
    file(GLOB headers CONFIGURE_DEPENDS "${from}/${folder}/*.h")
    install(FILES ${headers} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${folder}")
  endforeach()
endfunction()
kes_install_headers("${PROJECT_SOURCE_DIR}/include" sensor xmlFileData)
kes_install_headers("${PROJECT_SOURCE_DIR}/platform/include" . geo dsm raster util)
kes_install_headers("${PROJECT_SOURCE_DIR}/host/include" kes)
install(FILES "${PROJECT_BINARY_DIR}/host/include/kes/keshost_export.h"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kes")
kes_install_headers("${PROJECT_SOURCE_DIR}/gdal/include" kesgdal)
install(FILES "${PROJECT_BINARY_DIR}/gdal/include/kesgdal/kesgdal_export.h"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/kesgdal")
install(FILES "${PROJECT_BINARY_DIR}/include/sensor/kessensor_export.h"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/sensor")
install(FILES "${PROJECT_BINARY_DIR}/platform/include/util/kesplatform_export.h"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/util")
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}")

install(EXPORT kessensorTargets NAMESPACE kessensor:: DESTINATION "${package_folder}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/kessensorConfig.cmake.in" kessensorConfig.cmake
  INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file(kessensorConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/kessensorConfig.cmake" "${CMAKE_CURRENT_BINARY_DIR}/kessensorConfigVersion.cmake"
  DESTINATION "${package_folder}")
