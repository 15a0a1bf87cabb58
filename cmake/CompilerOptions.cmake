# What every target of the project is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_package(Threads REQUIRED)

set(TESSARIL_SANITIZERS
    ""
    CACHE STRING "Sanitizers to build everything with, such as address,undefined")
option(TESSARIL_COVERAGE "Count executed lines" OFF)

# Somebody else's headers, and names in them, may bring warnings that are not ours to mend.
set(warnings_are_ours ${PROJECT_IS_TOP_LEVEL})
if(TESSARIL_PLATFORM_DIR)
  set(warnings_are_ours OFF)
endif()
option(TESSARIL_WARNINGS_AS_ERRORS "Refuse to build what the compiler warns about"
       ${warnings_are_ours})

add_library(tessaril_compiler_options INTERFACE)
target_compile_options(
  tessaril_compiler_options
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            $<$<BOOL:${TESSARIL_WARNINGS_AS_ERRORS}>:-Werror>
            # GCC 12 sees an overlap in optimised "literal" + std::string that is none.
            $<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
)
if(TESSARIL_SANITIZERS)
  target_compile_options(
    tessaril_compiler_options INTERFACE -fsanitize=${TESSARIL_SANITIZERS}
                                        -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tessaril_compiler_options INTERFACE -fsanitize=${TESSARIL_SANITIZERS})
endif()
if(TESSARIL_COVERAGE)
  # Counters that threads increment at a time lose counts otherwise, and differences of them become
  # negative, which the reader of the counts refuses.
  target_compile_options(tessaril_compiler_options
                         INTERFACE --coverage -fprofile-abs-path -fprofile-update=atomic)
  target_link_options(tessaril_compiler_options INTERFACE --coverage)
endif()
