# The .deb packages, one for each component; the preset "package" builds what belongs into them:
#
#     cmake --workflow --preset package

set(TESSARIL_PACKAGE_CONTACT
    "The authors of Tessaril <tessaril@example.com>"
    CACHE STRING "Name and address of whoever answers for the packages")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "${TESSARIL_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Each package has its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_THREADS 0)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE tessaril-apply)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    "${PROJECT_BINARY_DIR}/tessaril" "${PROJECT_BINARY_DIR}/reference_platform"
    "${PROJECT_BINARY_DIR}/diagnostics")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(CPACK_COMPONENTS_ALL)

set(debian_version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
configure_file(packaging/copyright.in packaging/copyright @ONLY)
configure_file(packaging/changelog.Debian.in packaging/changelog.Debian @ONLY)
configure_file(CHANGELOG.md packaging/changelog COPYONLY)
foreach(file IN ITEMS changelog.Debian changelog)
  execute_process(COMMAND gzip -9nf "${CMAKE_CURRENT_BINARY_DIR}/packaging/${file}"
                          COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# tessaril_package(COMPONENT PACKAGE SECTION DEPENDS SUMMARY DETAILS)
macro(tessaril_package component package section depends summary details)
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${details}")
  # Not with cmake --install as a whole, which knows nothing of packages.
  install(
    FILES "${CMAKE_CURRENT_BINARY_DIR}/packaging/copyright"
          "${CMAKE_CURRENT_BINARY_DIR}/packaging/changelog.Debian.gz"
          "${CMAKE_CURRENT_BINARY_DIR}/packaging/changelog.gz"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}"
    COMPONENT ${component}
    EXCLUDE_FROM_ALL)
endmacro()

# A shared library: its package tells the loader.
macro(tessaril_package_library component package depends summary details)
  tessaril_package(${component} ${package} libs "${depends}" "${summary}" "${details}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")
endmacro()

set(apply_depends "")
set(apply_dev_depends "")
if(TESSARIL_LIBRARY_TYPE STREQUAL "SHARED")
  set(apply_dev_depends "libtessaril-apply1 (= ${debian_version})")
endif()
if(has_reference_platform)
  set(platform_dev_depends "zlib1g-dev")
  if(TESSARIL_LIBRARY_TYPE STREQUAL "SHARED")
    set(platform_dev_depends "libtessaril-reference-platform1 (= ${debian_version})")
    set(apply_depends "libtessaril-reference-platform1 (= ${debian_version})")
    tessaril_package_library(
      reference_platform_runtime libtessaril-reference-platform1 ""
      "services for Tessaril's apply framework"
      "Commands and threads, progress, the parameter tree, archives, signals, logging
and translation for design applications without services of their own."
    )
  endif()
  tessaril_package(
    reference_platform_development libtessaril-reference-platform-dev libdevel
    "${platform_dev_depends}" "services for Tessaril's apply framework - development files"
    "Headers, CMake package and pkg-config file.")
  list(APPEND apply_dev_depends "libtessaril-reference-platform-dev (= ${debian_version})")
  list(JOIN apply_dev_depends ", " apply_dev_depends)
endif()
if(TESSARIL_LIBRARY_TYPE STREQUAL "SHARED")
  tessaril_package_library(
    apply_runtime libtessaril-apply1 "${apply_depends}"
    "graphs of design steps and the commands that update them"
    "Keeps the steps of a design as a directed graph and brings the graph up to date
in the right order, only where needed, with progress, undo and a clear rule for
failures."
  )
endif()
tessaril_package(
  apply_development libtessaril-apply-dev libdevel "${apply_dev_depends}"
  "graphs of design steps - development files"
  "Headers, CMake package, pkg-config file and the conformance tests for services
of one's own.")
# The conformance tests.
set(CPACK_DEBIAN_APPLY_DEVELOPMENT_PACKAGE_SUGGESTS "libgmock-dev, libgtest-dev")

set(inspect_depends "")
if(TESSARIL_LIBRARY_TYPE STREQUAL "SHARED")
  set(inspect_depends "libtessaril-apply1 (= ${debian_version})" "${apply_depends}")
endif()
if(TARGET tessaril_diagnostics)
  set(diagnostics_depends "libtessaril-apply-dev (= ${debian_version}), nlohmann-json3-dev")
  get_target_property(diagnostics_type tessaril_diagnostics TYPE)
  if(diagnostics_type STREQUAL "SHARED_LIBRARY")
    string(APPEND diagnostics_depends ", libtessaril-diagnostics1 (= ${debian_version})")
    list(APPEND inspect_depends "libtessaril-diagnostics1 (= ${debian_version})")
    tessaril_package_library(
      diagnostics_runtime libtessaril-diagnostics1 "libtessaril-apply1 (= ${debian_version})"
      "diagnostics of graphs of design steps"
      "Checks, explains, draws and measures graphs, their updates and saved designs.")
  endif()
  tessaril_package(
    diagnostics_development libtessaril-diagnostics-dev libdevel "${diagnostics_depends}"
    "diagnostics of graphs of design steps - development files"
    "Checks, explains, draws and measures graphs, their updates and saved designs.")
  # Draws the pictures.
  set(CPACK_DEBIAN_DIAGNOSTICS_DEVELOPMENT_PACKAGE_RECOMMENDS graphviz)
endif()
if(TARGET tessaril_inspect)
  list(JOIN inspect_depends ", " inspect_depends)
  tessaril_package(
    inspect tessaril-inspect devel "${inspect_depends}" "looks at saved designs"
    "Lists, checks, draws and compares the designs that Tessaril's archives hold.")
  set(CPACK_DEBIAN_INSPECT_PACKAGE_RECOMMENDS graphviz)
endif()

include(CPack)
