# Says at once what is wrong with the settings that name the host's services; the compiler would say it
# later, and in other words.

if(TESSARIL_PLATFORM_DIR)
  get_filename_component(platform_dir "${TESSARIL_PLATFORM_DIR}" ABSOLUTE BASE_DIR
                         "${CMAKE_SOURCE_DIR}")
  if(NOT EXISTS "${platform_dir}/command_pattern/CommandBase.h")
    message(
      FATAL_ERROR
        "TESSARIL_PLATFORM_DIR is ${platform_dir}, which does not hold command_pattern/CommandBase.h. "
        "It has to be the directory that takes the place of tessaril/platform/.")
  endif()
  if(TESSARIL_PLATFORM_TARGET STREQUAL "Tessaril::ReferencePlatform")
    message(
      FATAL_ERROR
        "TESSARIL_PLATFORM_DIR has declarations of services: TESSARIL_PLATFORM_TARGET has to name the "
        "target that implements them.")
  endif()
endif()
