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
            -Werror
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
  target_compile_options(tessaril_compiler_options INTERFACE --coverage -fprofile-abs-path)
  target_link_options(tessaril_compiler_options INTERFACE --coverage)
endif()
