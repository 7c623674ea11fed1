# SPDX-License-Identifier: Apache-2.0
# The target orvane_warnings carries the warnings that every target of the project compiles with.
add_library(orvane_warnings INTERFACE)
target_compile_options(orvane_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wcast-qual -Wdouble-promotion
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)
if(ORVANE_WARNINGS_AS_ERRORS)
  target_compile_options(orvane_warnings INTERFACE -Werror)
endif()
