# SPDX-License-Identifier: Apache-2.0
# orvane_completions(TARGET [WORD...]) makes and installs what bash and zsh complete for a program, from what it says to
# --help, by itself and with each WORD. Nothing is made where the program cannot run.
find_package(Python3 COMPONENTS Interpreter)

function(orvane_completions target)
  if(CMAKE_CROSSCOMPILING OR NOT Python3_FOUND)
    return()
  endif()
  set(script ${PROJECT_SOURCE_DIR}/tools/completions.py)
  set(folder ${PROJECT_BINARY_DIR}/completions)
  file(MAKE_DIRECTORY ${folder})
  foreach(shell IN ITEMS bash zsh)
    add_custom_command(OUTPUT ${folder}/${target}.${shell}
      COMMAND ${Python3_EXECUTABLE} ${script} ${shell} $<TARGET_FILE:${target}> ${ARGN} > ${folder}/${target}.${shell}
      DEPENDS ${target} ${script}
      VERBATIM)
  endforeach()
  add_custom_target(completions-${target} ALL DEPENDS ${folder}/${target}.bash ${folder}/${target}.zsh)
  install(FILES ${folder}/${target}.bash RENAME ${target}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${folder}/${target}.zsh RENAME _${target}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
endfunction()
