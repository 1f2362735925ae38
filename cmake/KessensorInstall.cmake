# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

# Installs the libraries, the headers, and the package that other CMake projects find.
include(CMakePackageConfigHelpers)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/kessensor")

# Libraries and tool find each other by relative paths, so that the installed tree can be moved.
set(libraries kesfiles kesplatform kessensor keshost kesgdal)
foreach(library IN LISTS libraries)
  if(NOT TARGET ${library})
    list(REMOVE_ITEM libraries ${library})
  endif()
endforeach()
set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
foreach(library IN LISTS libraries)
  string(REGEX REPLACE "^kes(files|platform|host|gdal)$" "\\1" name ${library})
  set_target_properties(${library} PROPERTIES EXPORT_NAME ${name})
endforeach()
# Programs need the component "libraries" alone; the package for Python consists of it and "python".
install(TARGETS ${libraries} EXPORT kessensorTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT libraries NAMELINK_COMPONENT development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
if(TARGET kes)
  file(RELATIVE_PATH library_folder "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set_target_properties(kes PROPERTIES INSTALL_RPATH "$ORIGIN/${library_folder}")
  install(TARGETS kes RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

# In a folder of their own: headers named util/ or geo/ mustn't lie among those of other packages.
install(DIRECTORY "${KESSENSOR_HOST_HEADERS}/kessensor" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING PATTERN "*.h")
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}")

install(EXPORT kessensorTargets NAMESPACE kessensor:: DESTINATION "${package_folder}")
math(EXPR other_qt "11 - ${KESSENSOR_QT_VERSION}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/kessensorConfig.cmake.in" kessensorConfig.cmake
  INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file(kessensorConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/kessensorConfig.cmake" "${CMAKE_CURRENT_BINARY_DIR}/kessensorConfigVersion.cmake"
  DESTINATION "${package_folder}")
