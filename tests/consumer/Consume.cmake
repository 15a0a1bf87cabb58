# Installs the library and uses it as other projects do, in a folder of its own.
#
# KIND         what is installed, and how: see the end of this file
# SOURCE_DIR   the library's sources
# BUILD_DIR    where they are built, for what is installed from there
# WORK_DIR     made anew
# HAS_DIAGNOSTICS, HAS_INSPECT     whether the build tree has the diagnostics and tessaril-inspect
# COMPILER, BUILD_TYPE, LAUNCHER   for what is built here

cmake_minimum_required(VERSION 3.25)

set(here "${CMAKE_CURRENT_LIST_DIR}")
set(update_output "Update Design up to: Apply roof: 9, 1\nundone: 0, 0\n")
set(snapshot_output "/mesh (Step)\n/parts (Step)\n")
set(services_output "Drehmoment\nrefused\nObject is known\n")
set(stored_output "requirements -> parts -> mesh (frozen)\n")

function(fail why)
  message(NOTICE "${why}")
  message(FATAL_ERROR "See above.")
endfunction()

# Says what was said only when it fails. Leaves the standard output in `output`.
function(run)
  execute_process(
    COMMAND ${ARGN}
    WORKING_DIRECTORY "${WORK_DIR}"
    RESULT_VARIABLE result
    OUTPUT_VARIABLE said
    ERROR_VARIABLE complained)
  if(NOT result EQUAL 0)
    string(JOIN " " command ${ARGN})
    fail("${command}\n${said}\n${complained}\nended with ${result}")
  endif()
  set(output
      "${said}"
      PARENT_SCOPE)
endfunction()

function(expect_output expected)
  run(${ARGN})
  if(NOT output STREQUAL expected)
    fail("${ARGN} said\n${output}\ninstead of\n${expected}")
  endif()
endfunction()

function(configure source build)
  run("${CMAKE_COMMAND}"
      -S
      "${source}"
      -B
      "${WORK_DIR}/${build}"
      -G
      Ninja
      "-DCMAKE_CXX_COMPILER=${COMPILER}"
      "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}"
      "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}"
      # Nothing that happens to be installed on this machine.
      -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
      ${ARGN})
endfunction()

# Configuring `source` with these arguments fails, and says `words`.
function(expect_refused source words)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -S "${source}" -B "${WORK_DIR}/refused" -G Ninja
            "-DCMAKE_CXX_COMPILER=${COMPILER}" ${ARGN}
    WORKING_DIRECTORY "${WORK_DIR}"
    RESULT_VARIABLE result
    OUTPUT_QUIET
    ERROR_VARIABLE complained)
  string(REGEX REPLACE "[ \n]+" " " complained "${complained}")
  string(FIND "${complained}" "${words}" found)
  if(result EQUAL 0 OR found EQUAL -1)
    fail("${ARGN} ended with ${result} and without \"${words}\":\n${complained}")
  endif()
  file(REMOVE_RECURSE "${WORK_DIR}/refused")
endfunction()

function(build tree)
  run("${CMAKE_COMMAND}" --build "${WORK_DIR}/${tree}" -j 2 ${ARGN})
endfunction()

function(install build prefix)
  run("${CMAKE_COMMAND}" --install "${build}" --prefix "${WORK_DIR}/${prefix}")
endfunction()

# The library alone.
function(build_library build)
  configure(
    "${SOURCE_DIR}"
    ${build}
    -DTESSARIL_BUILD_TESTS=OFF
    -DTESSARIL_BUILD_EXAMPLES=OFF
    -DTESSARIL_BUILD_DIAGNOSTICS=OFF
    ${ARGN})
  build(${build})
endfunction()

# No text that has been installed names a place of this machine.
function(expect_relocatable prefix)
  file(GLOB_RECURSE files "${WORK_DIR}/${prefix}/*")
  list(LENGTH files count)
  if(count LESS 50)
    fail("Only ${count} files have been installed")
  endif()
  foreach(file IN LISTS files)
    if(file MATCHES "\\.(a|gz|so[.0-9]*)$" OR file MATCHES "/bin/")
      continue()
    endif()
    file(READ "${file}" text)
    foreach(place IN ITEMS "${WORK_DIR}" "${SOURCE_DIR}" "${BUILD_DIR}")
      string(FIND "${text}" "${place}" found)
      if(NOT found EQUAL -1)
        fail("${file} names ${place}")
      endif()
    endforeach()
  endforeach()
endfunction()

# To where it was not installed.
function(move prefix)
  file(RENAME "${WORK_DIR}/${prefix}" "${WORK_DIR}/moved ${prefix}")
endfunction()

# The README's program.
function(extract_program)
  run("${CMAKE_COMMAND}" "-DDOCUMENT=${SOURCE_DIR}/README.md" "-DPROGRAM=${WORK_DIR}/update.cpp" -P
      "${SOURCE_DIR}/tests/docs/ExtractProgram.cmake")
endfunction()

function(use_through_cmake prefix)
  set(ENV{CMAKE_PREFIX_PATH} "${WORK_DIR}/${prefix}:$ENV{CMAKE_PREFIX_PATH}")
  configure("${here}/application" application "-DUPDATE_PROGRAM=${WORK_DIR}/update.cpp" ${ARGN})
  build(application)
  expect_output("${update_output}" "${WORK_DIR}/application/update")
  expect_output("${stored_output}" "${WORK_DIR}/application/stored")
  if(NOT KIND MATCHES "foreign")
    expect_output("${services_output}" "${WORK_DIR}/application/reference_services")
  endif()
endfunction()

# What only a build tree with diagnostics has.
function(use_diagnostics prefix)
  if(HAS_DIAGNOSTICS)
    expect_output("${snapshot_output}" "${WORK_DIR}/application/snapshot")
    # Whoever can do without the diagnostics can do without what they need.
    configure("${here}/application" without_json "-DUPDATE_PROGRAM=${WORK_DIR}/update.cpp"
              -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON)
  endif()
  if(HAS_INSPECT)
    run("${WORK_DIR}/${prefix}/bin/tessaril-inspect" --help)
  endif()
endfunction()

# From now on pkg-config looks where that package has been installed.
function(find_pkgconfig prefix package)
  file(GLOB_RECURSE description "${WORK_DIR}/${prefix}/*/${package}.pc")
  get_filename_component(directory "${description}" DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} "${directory}")
endfunction()

function(use_through_pkgconfig prefix)
  find_pkgconfig("${prefix}" tessaril-apply)
  expect_program("${update_output}" tessaril-apply "${WORK_DIR}/update.cpp")
  expect_program("${stored_output}" tessaril-apply "${here}/application/stored.cpp")
  if(EXISTS "$ENV{PKG_CONFIG_PATH}/tessaril-diagnostics.pc")
    expect_program("${snapshot_output}" tessaril-diagnostics "${here}/application/snapshot.cpp")
  endif()
endfunction()

# A program of one source file, built with what pkg-config says of a package.
function(expect_program expected package source)
  run(pkg-config --cflags --libs ${package})
  separate_arguments(flags UNIX_COMMAND "${output}")
  get_filename_component(libraries "$ENV{PKG_CONFIG_PATH}" DIRECTORY)
  run("${COMPILER}" -std=c++20 -o through_pkgconfig "${source}" ${flags} "-Wl,-rpath,${libraries}")
  expect_output("${expected}" "${WORK_DIR}/through_pkgconfig")
endfunction()

# The NUMBERth CMake block of a document.
function(extract_project document number project)
  file(READ "${SOURCE_DIR}/${document}" text)
  foreach(block RANGE 1 ${number})
    string(FIND "${text}" "```cmake\n" begin)
    if(begin EQUAL -1)
      fail("${document} has no CMake block ${number}")
    endif()
    math(EXPR begin "${begin} + 9")
    string(SUBSTRING "${text}" ${begin} -1 text)
  endforeach()
  string(FIND "${text}" "```" end)
  string(SUBSTRING "${text}" 0 ${end} text)
  file(WRITE "${WORK_DIR}/${project}/CMakeLists.txt" "${text}")
endfunction()

# The project in the NUMBERth CMake block of the guide, with all that it names beside it.
function(build_documented_project number)
  extract_project(docs/connecting_services.md ${number} design)
  file(COPY_FILE "${WORK_DIR}/update.cpp" "${WORK_DIR}/design/main.cpp")
  file(CREATE_LINK "${here}/workshop" "${WORK_DIR}/design/workshop" SYMBOLIC)
  file(CREATE_LINK "${SOURCE_DIR}" "${WORK_DIR}/design/tessaril" SYMBOLIC)
  configure("${WORK_DIR}/design" design/built)
  build(design/built ${ARGN})
endfunction()

# The module that a guide builds up, with the project that it shows for it.
function(build_documented_module)
  set(document "-DDOCUMENT=${SOURCE_DIR}/docs/writing_a_module.md")
  extract_project(docs/writing_a_module.md 1 shelf)
  run("${CMAKE_COMMAND}" "${document}" "-DPROGRAM=${WORK_DIR}/shelf/shelf.cpp" -DALL_BLOCKS=ON -P
      "${SOURCE_DIR}/tests/docs/ExtractProgram.cmake")
  configure("${WORK_DIR}/shelf" shelf/built)
  build(shelf/built)
  run("${CMAKE_COMMAND}" "${document}" "-DPROGRAM=${WORK_DIR}/shelf/built/shelf" -DALL_BLOCKS=ON -P
      "${SOURCE_DIR}/tests/docs/RunProgram.cmake")
endfunction()

# A field of a package that cpack has made, whose file the variable of its name tells from now on.
function(expect_field package field pattern)
  file(GLOB file "${WORK_DIR}/packages/${package}_*.deb")
  set(${package}
      "${file}"
      PARENT_SCOPE)
  list(APPEND packages ${package})
  set(packages
      ${packages}
      PARENT_SCOPE)
  run(dpkg-deb --field "${file}" ${field})
  if(NOT output MATCHES "${pattern}")
    fail("${package} has the ${field} ${output}instead of ${pattern}")
  endif()
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
extract_program()

if(KIND STREQUAL "shared")
  # What this build tree has built.
  install("${BUILD_DIR}" installed)
  expect_relocatable(installed)
  move(installed)
  use_through_cmake("moved installed")
  use_diagnostics("moved installed")
  use_through_pkgconfig("moved installed")
  build_documented_module()

elseif(KIND STREQUAL "static")
  build_library(library -DBUILD_SHARED_LIBS=OFF "-DTESSARIL_BUILD_DIAGNOSTICS=${HAS_DIAGNOSTICS}")
  install("${WORK_DIR}/library" installed)
  expect_relocatable(installed)
  move(installed)
  use_through_cmake("moved installed")
  use_diagnostics("moved installed")
  use_through_pkgconfig("moved installed")

elseif(KIND STREQUAL "mistakes")
  expect_refused("${SOURCE_DIR}" "TESSARIL_PLATFORM_TARGET has to name the target"
                 "-DTESSARIL_PLATFORM_DIR=${here}/workshop/declarations")
  expect_refused("${SOURCE_DIR}" "does not hold command_pattern/CommandBase.h"
                 -DTESSARIL_PLATFORM_DIR=no/such/directory -DTESSARIL_PLATFORM_TARGET=Workshop::Services)
  expect_refused("${SOURCE_DIR}" "TESSARIL_BUILD_TESTS needs TESSARIL_BUILD_EXAMPLES"
                 -DTESSARIL_BUILD_EXAMPLES=OFF)

elseif(KIND STREQUAL "foreign_services")
  # The host's services are a package of their own, which the library's package names.
  configure("${here}/workshop" services)
  build(services)
  install("${WORK_DIR}/services" services_installed)
  set(ENV{CMAKE_PREFIX_PATH} "${WORK_DIR}/services_installed")
  build_library(
    library "-DTESSARIL_PLATFORM_DIR=${here}/workshop/declarations"
    -DTESSARIL_PLATFORM_TARGET=Workshop::Services
    "-DTESSARIL_PLATFORM_PACKAGE=WorkshopServices 2.3"
    -DTESSARIL_BUILD_DIAGNOSTICS=ON)
  install("${WORK_DIR}/library" installed)
  expect_relocatable(installed)
  move(installed)
  use_through_cmake("moved installed")
  expect_output("${snapshot_output}" "${WORK_DIR}/application/snapshot")
  build_documented_project(2)
  expect_output("${update_output}" "${WORK_DIR}/design/built/design")
  run("${WORK_DIR}/design/built/services_conformance" --gtest_brief=1)
  if(NOT output MATCHES "\\[  PASSED  \\] ([0-9]+) tests" OR CMAKE_MATCH_1 LESS 500)
    fail("Too few conformance tests were run:\n${output}")
  endif()
  message(STATUS "${CMAKE_MATCH_1} conformance tests passed")

elseif(KIND STREQUAL "foreign_services_in_tree")
  build_documented_project(1 --target design)
  expect_output("${update_output}" "${WORK_DIR}/design/built/design")

elseif(KIND STREQUAL "debian")
  run("${CMAKE_CPACK_COMMAND}" --config "${BUILD_DIR}/CPackConfig.cmake" -B "${WORK_DIR}/packages")
  expect_field(libtessaril-apply1 Depends "libtessaril-reference-platform1 \\(= .*libc6 .*libstdc")
  expect_field(libtessaril-reference-platform1 Depends "libc6 .*zlib1g")
  expect_field(libtessaril-apply-dev Depends
               "libtessaril-apply1 \\(= .*libtessaril-reference-platform-dev \\(= ")
  expect_field(libtessaril-reference-platform-dev Depends "libtessaril-reference-platform1 \\(= ")
  # The services can do without the library.
  foreach(package IN ITEMS libtessaril-reference-platform1 libtessaril-reference-platform-dev)
    run(dpkg-deb --extract "${${package}}" services)
  endforeach()
  find_pkgconfig(services tessaril-reference-platform)
  expect_program("${services_output}" tessaril-reference-platform
                 "${here}/application/reference_services.cpp")
  # The library alone is no place for what is needed to build with it.
  run(dpkg-deb --contents "${libtessaril-apply1}")
  if(output MATCHES "include|cmake|\\.so\n")
    fail("The package of the library holds\n${output}")
  endif()
  if(HAS_DIAGNOSTICS)
    expect_field(libtessaril-diagnostics-dev Depends "libtessaril-apply-dev \\(= .*nlohmann-json3-dev")
  endif()
  if(HAS_INSPECT)
    expect_field(tessaril-inspect Depends
                 "libtessaril-apply1 \\(= .*libtessaril-reference-platform1 \\(= ")
    expect_field(tessaril-inspect Recommends "^graphviz\n$")
    file(GLOB shared_diagnostics "${WORK_DIR}/packages/libtessaril-diagnostics1_*.deb")
    if(shared_diagnostics)
      expect_field(libtessaril-diagnostics1 Depends "libtessaril-apply1 \\(= ")
      expect_field(tessaril-inspect Depends "libtessaril-diagnostics1 \\(= ")
    endif()
  endif()
  foreach(package IN LISTS packages)
    run(dpkg-deb --extract "${${package}}" installed)
  endforeach()
  use_through_cmake(installed/usr)
  use_diagnostics(installed/usr)
  use_through_pkgconfig(installed/usr)

else()
  fail("Nothing is known about \"${KIND}\"")
endif()
