# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

# Installs the libraries, the headers, and the package that other CMake projects find.
include(CMakePackageConfigHelpers)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/kessensor")

# Libraries and tool find each other by relative paths, so that the installed tree can be moved.
set(libraries kesfiles kesplatform kessensor keshost kesadjust kesgdal)
foreach(library IN LISTS libraries)
  if(NOT TARGET ${library})
    list(REMOVE_ITEM libraries ${library})
  endif()
endforeach()
set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
foreach(library IN LISTS libraries)
  string(REGEX REPLACE "^kes(files|platform|host|adjust|gdal)$" "\\1" name ${library})
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
  install(TARGETS kes RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
  # The tool writes its own man pages and completions.
  if(NOT CMAKE_CROSSCOMPILING)
    install(CODE "
      set(prefix \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
      function(from_tool)
        execute_process(COMMAND \"$<TARGET_FILE:kes>\" \${ARGN} COMMAND_ERROR_IS_FATAL ANY)
      endfunction()
      from_tool(manual \"\${prefix}/${CMAKE_INSTALL_MANDIR}/man1\")
      foreach(place bash/bash-completion/completions/kes zsh/zsh/site-functions/_kes fish/fish/vendor_completions.d/kes.fish)
        string(REGEX MATCH \"^[a-z]+\" shell \${place})
        string(REGEX REPLACE \"^[a-z]+\" \"\${prefix}/${CMAKE_INSTALL_DATAROOTDIR}\" file \${place})
        cmake_path(GET file PARENT_PATH folder)
        file(MAKE_DIRECTORY \"\${folder}\")
        from_tool(completion \${shell} OUTPUT_FILE \"\${file}\")
      endforeach()" COMPONENT tool)
  endif()
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

# kes_pkg_config(NAME LIBS DESCRIPTION REQUIRES...): for builds without CMake.
file(RELATIVE_PATH prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" prefix "${prefix}")
function(kes_pkg_config name libs description)
  string(REPLACE ";" ", " requires "${ARGN}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/kessensor.pc.in" ${name}.pc @ONLY)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endfunction()
set(flags "-I\${includedir}/kessensor")
if(KESSENSOR_PLATFORM STREQUAL "own")
  kes_pkg_config(kessensor "-lkessensor -lkesplatform" "${PROJECT_DESCRIPTION}"
    Qt${KESSENSOR_QT_VERSION}Core Qt${KESSENSOR_QT_VERSION}Xml)
  kes_pkg_config(keshost -lkeshost "Front door of kessensor in C++20: strips, blocks, projections in bulk" kessensor)
  if(TARGET kesadjust)
    kes_pkg_config(kesadjust -lkesadjust "Adjustment of kessensor's orientations" keshost)
  endif()
  if(KESSENSOR_BUILD_GDAL)
    kes_pkg_config(kesgdal -lkesgdal "Orthophotos and footprints of kessensor" keshost)
  endif()
endif()

# An archive of the installed tree, which runs from anywhere.
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_FILE_NAME "kessensor-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
