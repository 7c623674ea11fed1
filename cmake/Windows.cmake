# SPDX-License-Identifier: Apache-2.0
# orvane_export(TARGET MAP) makes TARGET a library as Windows knows it, NAME.dll, that exports the names of the GNU version
# script MAP and needs nothing but the system's own libraries.
function(orvane_export target map)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${map})
  file(STRINGS ${map} names REGEX "^    [A-Za-z_]+;$")
  list(TRANSFORM names REPLACE "[ ;]" "")
  list(TRANSFORM names REPLACE "^AELI$" "AELI DATA")
  list(JOIN names "\n" names)
  set(definition ${PROJECT_BINARY_DIR}/${target}.def)
  file(CONFIGURE OUTPUT ${definition} CONTENT "EXPORTS\n@names@\n" @ONLY)
  target_sources(${target} PRIVATE ${definition})
  set_target_properties(${target} PROPERTIES PREFIX "")
  target_link_options(${target} PRIVATE -static)
endfunction()
