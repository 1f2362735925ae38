# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

# cmake -DROOTS=FOLDER;... -DOUTPUT=FOLDER -DQT_VERSION=N -P HostHeaders.cmake: writes the public headers below the
# ROOTS as hosts get them, to be installed or to be read from the build.
#
# They reach one another by relative paths, so that a folder geo/ or util/ of the host's own, first on its search path,
# doesn't come between them. Those through which objects of Qt pass check the version of Qt that the host compiles with.

set(headers)
foreach(root IN LISTS ROOTS)
  file(GLOB_RECURSE found RELATIVE "${root}" "${root}/*.h")
  foreach(header IN LISTS found)
    set("root_of_${header}" "${root}")
    list(APPEND headers "${header}")
    cmake_path(GET header PARENT_PATH folder)
    list(APPEND folders ${folder})
  endforeach()
endforeach()
list(REMOVE_DUPLICATES folders)
list(JOIN folders "|" any_folder)

# write_if_different(HEADER TEXT): hosts compile anew what includes a changed header, and nothing else.
function(write_if_different header text)
  set(file "${OUTPUT}/${header}")
  set(old "")
  if(EXISTS "${file}")
    file(READ "${file}" old)
  endif()
  if(NOT old STREQUAL text)
    file(WRITE "${file}" "${text}")
  endif()
endfunction()

foreach(header IN LISTS headers)
  file(READ "${root_of_${header}}/${header}" text)
  cmake_path(GET header PARENT_PATH folder)
  set(up "")
  if(folder)
    set(up "../")
    string(REGEX REPLACE "#include <${folder}/([^>]+)>" "#include \"\\1\"" text "${text}")
  endif()
  string(REGEX REPLACE "#include <((${any_folder})/[^>]+)>" "#include \"${up}\\1\"" text "${text}")
  if(header MATCHES "^(sensor/kessensor|util/kesplatform)_export.h$")
    string(APPEND text "\n#include \"../QtVersion.h\"\n")
  endif()
  write_if_different("${header}" "${text}")
endforeach()

configure_file("${CMAKE_CURRENT_LIST_DIR}/QtVersion.h.in" "${OUTPUT}/QtVersion.h" @ONLY)
file(GLOB_RECURSE present RELATIVE "${OUTPUT}" "${OUTPUT}/*.h")
list(REMOVE_ITEM present ${headers} QtVersion.h)
foreach(header IN LISTS present)
  file(REMOVE "${OUTPUT}/${header}")
endforeach()
