# SPDX-License-Identifier: Apache-2.0
# orvane_man_page(PAGE TARGET "what it does" [WORD]) makes and installs PAGE.1.gz from what TARGET,
# called with WORD, says to --help and --version, and from the examples in tools/man/PAGE.h2m. Nothing is made where the program cannot run or
# help2man is missing.
find_program(HELP2MAN help2man)
mark_as_advanced(HELP2MAN)

function(orvane_man_page page target summary)
  if(CMAKE_CROSSCOMPILING OR NOT HELP2MAN)
    return()
  endif()
  set(folder ${PROJECT_BINARY_DIR}/man)
  file(GLOB examples ${PROJECT_SOURCE_DIR}/tools/man/${page}.h2m)  # none for a page that needs none
  file(GENERATE OUTPUT ${folder}/$<CONFIG>/${page}  # called as the page is: help2man takes the name
    CONTENT "#!/bin/sh\nexec '$<TARGET_FILE:${target}>' ${ARGN} \"$@\"\n"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  add_custom_command(OUTPUT ${folder}/${page}.1.gz
    COMMAND ${HELP2MAN} --no-info --name=${summary} --version-string=${PROJECT_VERSION}
      --opt-include=${PROJECT_SOURCE_DIR}/tools/man/${page}.h2m --output=${folder}/${page}.1 $<CONFIG>/${page}
    COMMAND gzip -9nf ${folder}/${page}.1
    WORKING_DIRECTORY ${folder}
    DEPENDS ${target} ${examples}
    VERBATIM)
  add_custom_target(man-${page} ALL DEPENDS ${folder}/${page}.1.gz)
  install(FILES ${folder}/${page}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endfunction()
