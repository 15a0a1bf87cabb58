# The target api_pages: what the public headers say, as HTML in api/ of the build tree, with the
# documents around it. Not part of ALL. A warning of Doxygen is an error. Included last: the lists of
# public headers stand with what is installed.

find_package(Doxygen QUIET)
find_package(Python3 QUIET COMPONENTS Interpreter)
if(NOT DOXYGEN_FOUND OR NOT Python3_FOUND)
  add_custom_target(
    api_pages
    COMMAND "${CMAKE_COMMAND}" -E echo "The API pages need Debian's packages doxygen and python3."
    COMMAND "${CMAKE_COMMAND}" -E false
    VERBATIM)
  return()
endif()

# Headers that say of themselves that they are internal are installed only for others that include
# them.
set(api_inputs "")
foreach(header IN LISTS apply_headers)
  list(APPEND api_inputs "tessaril/${header}")
endforeach()
foreach(header IN LISTS reference_platform_headers)
  list(APPEND api_inputs "reference_platform/${header}")
endforeach()
file(
  GLOB_RECURSE other_headers CONFIGURE_DEPENDS
  RELATIVE "${PROJECT_SOURCE_DIR}"
  tessaril/platform/*.h diagnostics/*.h)
list(APPEND api_inputs ${other_headers})
foreach(header IN LISTS api_inputs)
  file(STRINGS "${header}" mark LIMIT_COUNT 1 REGEX "^// (.* )?Internal[ :.]")
  if(mark)
    list(REMOVE_ITEM api_inputs "${header}")
  endif()
endforeach()
file(
  GLOB documents CONFIGURE_DEPENDS
  RELATIVE "${PROJECT_SOURCE_DIR}"
  CHANGELOG.md docs/*.md examples/*/README.md fuzz/README.md bench/README.md bench/*/README.md)

set(DOXYGEN_PROJECT_NAME "Tessaril's apply framework")
set(DOXYGEN_PROJECT_NUMBER "${PROJECT_VERSION}")
set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
set(DOXYGEN_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/api")
set(DOXYGEN_HTML_OUTPUT .)
set(DOXYGEN_FILTER_PATTERNS
    "*.md=${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_LIST_DIR}/api_page.py")
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE "${PROJECT_SOURCE_DIR}/README.md")
set(DOXYGEN_FULL_PATH_NAMES YES)
set(DOXYGEN_STRIP_FROM_PATH "${PROJECT_SOURCE_DIR}")
set(DOXYGEN_STRIP_FROM_INC_PATH "${PROJECT_SOURCE_DIR}")
set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
# Names that say all there is to say have no comment.
set(DOXYGEN_EXTRACT_ALL YES)
set(DOXYGEN_EXTRACT_STATIC YES)
set(DOXYGEN_HIDE_FRIEND_COMPOUNDS YES)
set(DOXYGEN_SORT_MEMBER_DOCS NO)
set(DOXYGEN_BUILTIN_STL_SUPPORT YES)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED TESSARIL_APPLY_EXPORT= TESSARIL_PLATFORM_EXPORT=)
set(DOXYGEN_VERBATIM_HEADERS NO)
set(DOXYGEN_SOURCE_BROWSER NO)
set(DOXYGEN_IMAGE_PATH docs)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_CLASS_DIAGRAMS NO)
set(DOXYGEN_CLASS_GRAPH NO)
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
doxygen_add_docs(api_pages README.md ${documents} ${api_inputs} WORKING_DIRECTORY
                 "${PROJECT_SOURCE_DIR}" COMMENT "Writing the API pages")
add_custom_command(
  TARGET api_pages
  POST_BUILD
  COMMAND "${Python3_EXECUTABLE}" -B "${CMAKE_CURRENT_LIST_DIR}/check_api_pages.py"
          "${PROJECT_BINARY_DIR}/api"
  VERBATIM)
