# tessaril_add_conformance_tests(PROGRAM HOST_SOURCE SERVICES...)
#
# Adds PROGRAM, a GoogleTest program that asks the services of a host whether they guarantee what the
# apply framework relies on. HOST_SOURCE implements tests/platform/ConformanceHost.h: the few things
# that the tests have to see and set beyond the declarations. SERVICES are the targets that implement
# the services. The declarations are those that Tessaril::Apply was built with.
#
# From a source tree: include this file once Tessaril::Apply is known. From an installed package:
# find_package(TessarilApply COMPONENTS Conformance).

if(NOT DEFINED TESSARIL_CONFORMANCE_ROOT)
  get_filename_component(TESSARIL_CONFORMANCE_ROOT "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)
endif()

function(tessaril_add_conformance_tests program host_source)
  find_package(GTest REQUIRED)
  set(tests
      HeapWatch.cpp
      command_pattern/CommandBaseTest.cpp
      command_pattern/MacroCommandTest.cpp
      command_pattern/ThreadManagerTest.cpp
      command_pattern/ThreadedMacroCommandTest.cpp
      exceptions/TsExceptionTest.cpp
      framework_interfaces/FrameworkInterfacesTest.cpp
      identifiers/IdentifierTest.cpp
      logging/LoggingTest.cpp
      parameterization/ObjectTest.cpp
      parameterization/PathTest.cpp
      persistence_archiver/ArchiveValuesTest.cpp
      persistence_archiver/ClassRegistrationTest.cpp
      persistence_archiver/FramedBlocksTest.cpp
      persistence_archiver/PlatformRecordsTest.cpp
      persistence_archiver/SharedObjectsTest.cpp
      progress/LegacyProgressTest.cpp
      signals/SignalTest.cpp
      translation/TranslatorTest.cpp)
  list(TRANSFORM tests PREPEND "${TESSARIL_CONFORMANCE_ROOT}/tests/platform/")
  add_executable(${program} ${tests} "${host_source}")
  target_compile_features(${program} PRIVATE cxx_std_20)
  # The declarations that the library is built with stand in front of ours.
  target_include_directories(
    ${program} PRIVATE $<TARGET_PROPERTY:Tessaril::Apply,INTERFACE_INCLUDE_DIRECTORIES>
                       "${TESSARIL_CONFORMANCE_ROOT}")
  target_link_libraries(${program} PRIVATE ${ARGN} GTest::gmock_main)
endfunction()
