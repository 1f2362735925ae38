# The properties that every target of the project has, and the three kinds of target it is made of.

# kes_properties(TARGET): language level, warnings, floating-point rules, sanitizers.
function(kes_properties target)
  target_compile_features(${target} PUBLIC cxx_std_17 PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  # A fused multiply-add rounds once where the formulae round twice: results would depend on the machine and the
  # optimiser. Every float rounding of the library is told, so the compiler may neither drop nor add one.
  # Nobody reads errno after a sine; without it calls whose result isn't used, and square roots, cost nothing.
  target_compile_options(${target} PRIVATE -ffp-contract=off -fno-fast-math -fno-math-errno
    # Exported functions of a library may be inlined within it: nobody replaces single functions of it.
    -fno-semantic-interposition
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    # GCC 12 takes a short text plus a string for an overlapping copy (GCC bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<BOOL:${KESSENSOR_WERROR}>:-Werror>)
  target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
  target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS)
  if(KESSENSOR_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KESSENSOR_SANITIZE} -fno-omit-frame-pointer
      -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${KESSENSOR_SANITIZE})
  endif()
  if(KESSENSOR_TIDY)
    set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "clang-tidy;--quiet")
  endif()
endfunction()

# kes_folder(NAME SOURCES... [DEPENDS folder...]): one folder of src/ as an internal static library. The shared library
# is made of the objects of all of them; tests link the folder itself and so reach what is not exported.
function(kes_folder name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  set(target kessensor_${name})
  add_library(${target} STATIC ${ARG_UNPARSED_ARGUMENTS})
  kes_properties(${target})
  target_include_directories(${target} PUBLIC
    "${PROJECT_SOURCE_DIR}/include" "${PROJECT_BINARY_DIR}/include" "${PROJECT_SOURCE_DIR}/src")
  target_compile_definitions(${target} PRIVATE kessensor_EXPORTS)
  # A projection goes through small functions of several folders, which the shared library's link inlines into it. Tests
  # link the same objects in the ordinary way.
  if(KESSENSOR_LTO)
    target_compile_options(${target} PRIVATE -flto=auto -ffat-lto-objects)
  endif()
  target_link_libraries(${target} PUBLIC kesfiles kesplatform Boost::headers)
  foreach(folder IN LISTS ARG_DEPENDS)
    target_link_libraries(${target} PUBLIC kessensor_${folder})
  endforeach()
  set_property(GLOBAL APPEND PROPERTY KESSENSOR_FOLDERS ${target})
endfunction()

# kes_test(NAME SOURCES... [LIBRARIES target...]): the test program of one folder, each test its own CTest entry with the
# name as its label.
function(kes_test name)
  cmake_parse_arguments(ARG "" "" "LIBRARIES" ${ARGN})
  set(target kessensor_${name}_tests)
  add_executable(${target} ${ARG_UNPARSED_ARGUMENTS})
  kes_properties(${target})
  # The libraries under test are optimised as the preset says. The many small functions of the tests themselves would take twice
  # as long to compile, and with sanitizers three times.
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1> $<$<CONFIG:RelWithDebInfo>:-O0>)
  target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES} kessensor_test_support)
  # The linker would optimise across the folders' objects again for each test program, which takes minutes.
  if(KESSENSOR_LTO)
    target_link_options(${target} PRIVATE -fno-lto)
  endif()
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300 LABELS ${name})
endfunction()
