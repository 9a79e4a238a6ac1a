# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# vel_add_man_page(<target> DESCRIPTION <text> [HELP_OPTION <option>] [KINDS <kind>...])
#
# Generates <target>.1 from the tool's --help output (help2man) after the tool
# is built, and installs it into section 1 (not in cross builds). Hand-written sections come from
# <target>.h2m beside the tool's sources. Sanitized builds skip the page: they
# are never installed, and running their tools at build time needs the
# sanitizer runtime's leak checker quiet.
option(VEL_BUILD_MAN_PAGES "Generate the tools' man pages with help2man" ON)
if(VEL_BUILD_MAN_PAGES AND CMAKE_CROSSCOMPILING)
  # The pages come from running the tools, which a cross build cannot do.
  message(STATUS "Cross-compiling: the tools' man pages are not generated")
  set(VEL_BUILD_MAN_PAGES OFF)
endif()
if(VEL_BUILD_MAN_PAGES AND NOT VEL_SANITIZE)
  find_program(HELP2MAN help2man REQUIRED)
endif()

function(vel_add_man_page target)
  if(NOT VEL_BUILD_MAN_PAGES OR VEL_SANITIZE)
    return()
  endif()
  cmake_parse_arguments(PAGE "" "DESCRIPTION;HELP_OPTION" "KINDS" ${ARGN})
  if(NOT PAGE_HELP_OPTION)
    set(PAGE_HELP_OPTION --help)
  endif()
  set(include_file ${CMAKE_CURRENT_SOURCE_DIR}/${target}.h2m)
  set(page ${CMAKE_CURRENT_BINARY_DIR}/${target}.1)
  add_custom_command(
    OUTPUT ${page}
    COMMAND ${CMAKE_SOURCE_DIR}/cmake/help2man-page.sh $<TARGET_FILE:${target}> ${page}
            ${PROJECT_VERSION} ${PAGE_DESCRIPTION} ${PAGE_HELP_OPTION} ${include_file} ${PAGE_KINDS}
    DEPENDS ${target} ${include_file} ${CMAKE_SOURCE_DIR}/cmake/help2man-page.sh
    COMMENT "Generating the ${target}(1) man page"
    VERBATIM)
  add_custom_target(${target}-man-page ALL DEPENDS ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endfunction()
