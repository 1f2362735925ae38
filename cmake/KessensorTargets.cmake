# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

# The properties that all targets share, and functions for the two most frequent kinds of target.

# Counts the runs of each line and branch as the source has them; threads count together.
set(KESSENSOR_COUNTERS -O0 --coverage -fprofile-update=atomic)

# kes_properties(TARGET): language level, warnings, floating-point rules, sanitizers, counters.
function(kes_properties target)
  target_compile_features(${target} PUBLIC cxx_std_17 PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON
    KESSENSOR_OWN ON)
  # A fused multiply-add rounds once where the formulae round twice: results would depend on the machine and the
  # optimiser. The sources state every rounding to float, so the compiler may neither drop nor add one.
  # Nobody reads errno after a call such as sin(). Without it, the compiler inlines square roots and drops unused calls.
  target_compile_options(${target} PRIVATE -ffp-contract=off -fno-fast-math -fno-math-errno
    # Exported functions may be inlined within their own library: nobody replaces single functions of it.
    -fno-semantic-interposition
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    # GCC 12 mistakes a string literal plus a std::string for an overlapping copy (GCC bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<BOOL:${KESSENSOR_WERROR}>:-Werror>)
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
  target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS)
  if(KESSENSOR_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KESSENSOR_SANITIZE} -fno-omit-frame-pointer
      -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${KESSENSOR_SANITIZE})
  endif()
  if(KESSENSOR_COVERAGE)
    target_link_options(${target} PRIVATE --coverage)
    # The tests themselves aren't measured.
    if(NOT target MATCHES "_tests$|_test_support$")
      target_compile_options(${target} PRIVATE ${KESSENSOR_COUNTERS})
    endif()
  endif()
endfunction()

# Where the public headers lie as hosts get them: see HostHeaders.cmake.
set(KESSENSOR_HOST_HEADERS "${PROJECT_BINARY_DIR}/host_headers")

# kes_public_headers(TARGET FOLDER...): the folders of a library's public headers. The project's own targets read them
# there. Hosts reach them as <sensor/KESStripModel.h>, or as <kessensor/sensor/KESStripModel.h> where they have a folder
# of that name themselves.
function(kes_public_headers target)
  set(own "$<BOOL:$<TARGET_PROPERTY:KESSENSOR_OWN>>")
  foreach(folder IN LISTS ARGN)
    target_include_directories(${target} PUBLIC "$<BUILD_INTERFACE:$<${own}:${folder}>>")
  endforeach()
  foreach(folder "/kessensor" "")
    target_include_directories(${target} PUBLIC
      "$<BUILD_INTERFACE:$<$<NOT:${own}>:${KESSENSOR_HOST_HEADERS}${folder}>>"
      "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}${folder}>")
  endforeach()
  add_dependencies(${target} kessensor_host_headers)
  set_property(GLOBAL APPEND PROPERTY KESSENSOR_PUBLIC_HEADERS ${ARGN})
endfunction()

# kes_host_headers(): writes the public headers of all libraries for hosts, whenever one has changed.
function(kes_host_headers)
  get_property(roots GLOBAL PROPERTY KESSENSOR_PUBLIC_HEADERS)
  set(headers)
  set(written "${KESSENSOR_HOST_HEADERS}/kessensor/QtVersion.h")
  foreach(root IN LISTS roots)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS RELATIVE "${root}" "${root}/*.h")
    foreach(header IN LISTS found)
      list(APPEND headers "${root}/${header}")
      list(APPEND written "${KESSENSOR_HOST_HEADERS}/kessensor/${header}")
    endforeach()
  endforeach()
  set(script "${PROJECT_SOURCE_DIR}/cmake/HostHeaders.cmake")
  set(stamp "${KESSENSOR_HOST_HEADERS}/written")
  add_custom_command(OUTPUT "${stamp}" BYPRODUCTS ${written}
    COMMAND "${CMAKE_COMMAND}" "-DROOTS=${roots}" "-DOUTPUT=${KESSENSOR_HOST_HEADERS}/kessensor"
      "-DQT_VERSION=${KESSENSOR_QT_VERSION}" -P "${script}"
    COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
    DEPENDS ${headers} "${script}" "${PROJECT_SOURCE_DIR}/cmake/QtVersion.h.in"
    COMMENT "Writing the headers for hosts" VERBATIM)
  add_custom_target(kessensor_host_headers ALL DEPENDS "${stamp}")
endfunction()

# kes_folder(NAME SOURCES... [DEPENDS folder...]): one folder of src/ as an internal static library. The shared library
# consists of the objects of all folders; tests link a folder itself, and so reach what isn't exported.
function(kes_folder name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  set(target kessensor_${name})
  add_library(${target} STATIC ${ARG_UNPARSED_ARGUMENTS})
  kes_properties(${target})
  target_include_directories(${target} PUBLIC
    "${PROJECT_SOURCE_DIR}/include" "${PROJECT_BINARY_DIR}/include" "${PROJECT_SOURCE_DIR}/src")
  target_compile_definitions(${target} PRIVATE kessensor_EXPORTS)
  # A projection calls small functions of several folders, which the link of the shared library inlines. Tests link the
  # same objects without link-time optimisation.
  if(KESSENSOR_LTO)
    target_compile_options(${target} PRIVATE -flto=auto -ffat-lto-objects)
  endif()
  target_link_libraries(${target} PUBLIC kesfiles kessensor::platform Boost::headers)
  foreach(folder IN LISTS ARG_DEPENDS)
    target_link_libraries(${target} PUBLIC kessensor_${folder})
  endforeach()
  set_property(GLOBAL APPEND PROPERTY KESSENSOR_FOLDERS ${target})
endfunction()

set(KESSENSOR_TEST_OPTIMISATION -O1 CACHE STRING "Level of optimisation of test programs in a release build")
mark_as_advanced(KESSENSOR_TEST_OPTIMISATION)

option(KESSENSOR_TESTS_TOGETHER "Run the tests of a program in two processes, in place of one for each" OFF)
mark_as_advanced(KESSENSOR_TESTS_TOGETHER)

# kes_test(NAME SOURCES... [LIBRARIES target...] [APART]): a test program of a folder; each of its tests is a CTest entry
# with the label NAME. With KESSENSOR_TESTS_TOGETHER its two halves are, unless its tests need processes of their own
# (APART): most tests take less time than a process needs to start, above all with sanitizers.
function(kes_test name)
  cmake_parse_arguments(ARG "APART" "" "LIBRARIES" ${ARGN})
  set(target kessensor_${name}_tests)
  add_executable(${target} ${ARG_UNPARSED_ARGUMENTS})
  kes_properties(${target})
  # The libraries under test are optimised as the preset says. Their tests aren't: they would take twice as long to
  # compile, with sanitizers three times.
  target_compile_options(${target} PRIVATE
    $<$<CONFIG:Release>:${KESSENSOR_TEST_OPTIMISATION}> $<$<CONFIG:RelWithDebInfo>:-O0>)
  target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES} kessensor_test_support)
  if(KESSENSOR_COVERAGE)
    # Sources of a library or the tool that the tests compile anew.
    set(measured ${ARG_UNPARSED_ARGUMENTS})
    list(FILTER measured INCLUDE REGEX "^${PROJECT_SOURCE_DIR}/")
    list(FILTER measured EXCLUDE REGEX "^${PROJECT_SOURCE_DIR}/tests/")
    set_property(SOURCE ${measured} APPEND PROPERTY COMPILE_OPTIONS ${KESSENSOR_COUNTERS})
  endif()
  # Otherwise the linker would optimise across the folders again for each test program, which takes minutes.
  if(KESSENSOR_LTO)
    target_link_options(${target} PRIVATE -fno-lto)
  endif()
  if(ARG_APART OR NOT KESSENSOR_TESTS_TOGETHER)
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300 LABELS ${name})
    return()
  endif()
  foreach(half 0 1)
    add_test(NAME ${name}.tests.${half} COMMAND ${target} --gtest_brief=1)
    set_tests_properties(${name}.tests.${half} PROPERTIES LABELS ${name} TIMEOUT 1800 COST 200
      ENVIRONMENT "GTEST_TOTAL_SHARDS=2;GTEST_SHARD_INDEX=${half}")
  endforeach()
endfunction()
