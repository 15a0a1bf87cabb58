# What cmake --install puts where, and what it takes to find it there: a CMake package and pkg-config
# files, none of which holds an absolute path. Included last, when all targets are known.
#
# Headers have an include root of their own, so that "reference_platform/" and "diagnostics/" stand in
# nobody's way.

include(CMakePackageConfigHelpers)

set(include_root "${CMAKE_INSTALL_INCLUDEDIR}/tessaril-apply-${PROJECT_VERSION_MAJOR}")
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/TessarilApply")
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(conformance_dir "${CMAKE_INSTALL_DATADIR}/tessaril-apply/conformance")
string(COMPARE EQUAL "${TESSARIL_PLATFORM_TARGET}" "Tessaril::ReferencePlatform"
               has_reference_platform)

# The library's public headers, and what they include.
set(apply_headers
    commands/ApplyCommand.h
    commands/ApplyMacroCmd.h
    commands/ApplyModuleDataInterface.h
    commands/ApplyUpdateInfo.h
    commands/MessageCmdFactory.h
    engine/ExceptionPolicy.h
    engine/UpdateApplyModulesCmd.h
    Export.h
    graph/ApplyGraph.h
    module/ApplyModule.h
    module/ApplyModuleInsertInfo.h
    module/LinkList.h
    module/ModuleState.h
    module/ModuleStateStorage.h
    persistence/ApplyModuleData.h
    persistence/ClassRegistration.h
    persistence/NestedRecord.h)
set(reference_platform_headers
    command_pattern/CommandHistory.h
    command_pattern/InlineThreadManager.h
    command_pattern/SteppingThreadManager.h
    command_pattern/WorkerPoolThreadManager.h
    logging/LogSinks.h
    persistence_archiver/ArchiveFile.h
    Registration.h
    translation/Catalogue.h)

# install_headers(FOLDER COMPONENT HEADER...): into the folder of the same name below include_root.
function(tessaril_install_headers folder component)
  foreach(header IN LISTS ARGN)
    get_filename_component(directory "${header}" DIRECTORY)
    install(
      FILES "${PROJECT_SOURCE_DIR}/${folder}/${header}"
      DESTINATION "${include_root}/${folder}/${directory}"
      COMPONENT ${component})
  endforeach()
endfunction()

# A library in an export set of its own, so that the package can offer it as a component.
function(tessaril_install_library target exported_name component)
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${exported_name})
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    # Libraries that lie side by side find each other wherever they are moved to.
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
  install(
    TARGETS ${target}
    EXPORT TessarilApply${exported_name}Targets
    INCLUDES
    DESTINATION "${include_root}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            COMPONENT ${component}_runtime
            NAMELINK_COMPONENT ${component}_development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component}_development)
  install(
    EXPORT TessarilApply${exported_name}Targets
    DESTINATION "${package_dir}"
    NAMESPACE Tessaril::
    COMPONENT ${component}_development)
endfunction()

# The pkg-config file NAME.pc, from what the variables of the caller that begin with "pc_" say.
function(tessaril_install_pkgconfig name component)
  file(RELATIVE_PATH pc_prefix "/${pkgconfig_dir}" "/")
  string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
  configure_file("${PROJECT_SOURCE_DIR}/packaging/library.pc.in"
                 "${CMAKE_CURRENT_BINARY_DIR}/packaging/${name}.pc" @ONLY)
  install(
    FILES "${CMAKE_CURRENT_BINARY_DIR}/packaging/${name}.pc"
    DESTINATION "${pkgconfig_dir}"
    COMPONENT ${component}_development)
endfunction()

# The declarations of the services, ours or the host's, are headers of the library, but for those that
# our own services implement: the reference platform can be used by itself.
set(declarations_component apply_development)
if(has_reference_platform)
  set(declarations_component reference_platform_development)
endif()
set(platform_dir "${PROJECT_SOURCE_DIR}/tessaril/platform")
if(TESSARIL_PLATFORM_DIR)
  get_filename_component(platform_dir "${TESSARIL_PLATFORM_DIR}" ABSOLUTE BASE_DIR
                         "${CMAKE_SOURCE_DIR}")
endif()
install(
  DIRECTORY "${platform_dir}/"
  DESTINATION "${include_root}/tessaril/platform"
  COMPONENT ${declarations_component}
  FILES_MATCHING
  REGEX "\\.(h|hh|hpp|hxx|inl|ipp)$")
tessaril_install_headers(tessaril apply_development ${apply_headers})
tessaril_install_library(tessaril_apply Apply apply)

set(pc_description "${PROJECT_DESCRIPTION}")
set(pc_library tessaril_apply)
set(pc_cflags "")
set(pc_libs "")
set(pc_requires "${TESSARIL_PLATFORM_PKGCONFIG}")
if(has_reference_platform)
  set(pc_requires "tessaril-reference-platform = ${PROJECT_VERSION}")
endif()
if(TESSARIL_LIBRARY_TYPE STREQUAL "STATIC")
  set(pc_cflags " -DTESSARIL_APPLY_STATIC")
endif()
tessaril_install_pkgconfig(tessaril-apply apply)

if(has_reference_platform)
  tessaril_install_headers(reference_platform reference_platform_development
                           ${reference_platform_headers})
  tessaril_install_library(tessaril_reference_platform ReferencePlatform reference_platform)
  set(pc_description "The apply framework's own implementation of the host's services")
  set(pc_library tessaril_reference_platform)
  set(pc_cflags "")
  set(pc_libs " -pthread")
  set(pc_requires "")
  if(TESSARIL_LIBRARY_TYPE STREQUAL "STATIC")
    set(pc_cflags " -DTESSARIL_PLATFORM_STATIC")
    set(pc_requires "zlib")
  endif()
  tessaril_install_pkgconfig(tessaril-reference-platform reference_platform)
endif()

if(TARGET tessaril_diagnostics)
  install(
    DIRECTORY "${PROJECT_SOURCE_DIR}/diagnostics"
    DESTINATION "${include_root}"
    COMPONENT diagnostics_development
    FILES_MATCHING
    PATTERN "*.h")
  tessaril_install_library(tessaril_diagnostics Diagnostics diagnostics)
  set(pc_description "What looks at graphs, runs and saved designs of the apply framework")
  set(pc_library tessaril_diagnostics)
  set(pc_cflags "")
  set(pc_libs "")
  set(pc_requires "tessaril-apply = ${PROJECT_VERSION}, nlohmann_json")
  tessaril_install_pkgconfig(tessaril-diagnostics diagnostics)
endif()

if(TARGET tessaril_inspect)
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH from_programs "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(tessaril_inspect PROPERTIES INSTALL_RPATH "$ORIGIN/${from_programs}")
  endif()
  install(TARGETS tessaril_inspect RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT inspect)
  if(EXISTS "${PROJECT_SOURCE_DIR}/tools/inspect/tessaril-inspect.1")
    configure_file(tools/inspect/tessaril-inspect.1 packaging/tessaril-inspect.1 COPYONLY)
    execute_process(COMMAND gzip -9nf "${CMAKE_CURRENT_BINARY_DIR}/packaging/tessaril-inspect.1"
                            COMMAND_ERROR_IS_FATAL ANY)
    install(
      FILES "${CMAKE_CURRENT_BINARY_DIR}/packaging/tessaril-inspect.1.gz"
      DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
      COMPONENT inspect)
  endif()
endif()

# The conformance tests, for hosts that connect services of their own.
install(
  DIRECTORY "${PROJECT_SOURCE_DIR}/tests/platform"
  DESTINATION "${conformance_dir}/tests"
  COMPONENT apply_development
  FILES_MATCHING
  PATTERN "*.h"
  PATTERN "*.cpp"
  PATTERN "reference" EXCLUDE)
install(
  FILES cmake/TessarilConformance.cmake
  DESTINATION "${package_dir}"
  COMPONENT apply_development)

configure_package_config_file(
  cmake/TessarilApplyConfig.cmake.in "${CMAKE_CURRENT_BINARY_DIR}/packaging/TessarilApplyConfig.cmake"
  INSTALL_DESTINATION "${package_dir}"
  PATH_VARS conformance_dir
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(
  "${CMAKE_CURRENT_BINARY_DIR}/packaging/TessarilApplyConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(
  FILES "${CMAKE_CURRENT_BINARY_DIR}/packaging/TessarilApplyConfig.cmake"
        "${CMAKE_CURRENT_BINARY_DIR}/packaging/TessarilApplyConfigVersion.cmake"
  DESTINATION "${package_dir}"
  COMPONENT apply_development)

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/Packaging.cmake)
endif()
