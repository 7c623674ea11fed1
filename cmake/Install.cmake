# SPDX-License-Identifier: Apache-2.0
# Headers include each other by their path from the source root, so that root is installed as a whole.
set(public_headers
  ambisonics/ambisonics_base.h
  ambisonics/binauralizer.h
  ambisonics/encoder.h
  ambisonics/rotator.h
  base/bounded_copy.h
  base/constant.h
  base/export.h
  base/limits.h
  base/processor.h
  base/result.h
  effect/uuid.h
  numerics/float_matrix.h
  numerics/pinv.h
  orvane/effect.h
  orvane/renderer.h
  orvane/renderer.hpp
  orvane/version.h
  platform/effect_abi.h
  platform/effect_abi_declared.h
  renderer/loudspeaker_layouts.h
  renderer/parameters.h
  renderer/reflections.h
  renderer/reverb.h
  renderer/ubr.h
  room/random_state.h
  room/shoebox.h
  room/shoebox_scene.h
  room/velvet_noise.h)
foreach(header IN LISTS public_headers)
  get_filename_component(folder ${header} DIRECTORY)
  if(folder STREQUAL orvane)  # included as <orvane/version.h>
    install(FILES ${header} DESTINATION ${header_root})
  else()
    install(FILES ${header} DESTINATION ${header_root}/${folder})
  endif()
endforeach()
# The archive is in an export of its own: what it links need not be there for users of the shared library.
install(TARGETS orvane EXPORT orvane-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS orvane_static EXPORT orvane-static-targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES LICENSE NOTICE DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvane)
install(EXPORT orvane-targets NAMESPACE orvane:: DESTINATION ${package_dir})
install(EXPORT orvane-static-targets NAMESPACE orvane:: DESTINATION ${package_dir})
install(FILES cmake/orvane-config.cmake cmake/FindAndroidLog.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvane-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvane-config-version.cmake DESTINATION ${package_dir})
file(RELATIVE_PATH orvane_pc_to_prefix  # so that the package may be moved
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
# What a program needs that links the archive: pkg-config --static.
set(pc_libraries "-lm -pthread")
if(ORVANE_HWY_LIBRARY)
  string(APPEND pc_libraries " -lhwy")
endif()
if(ORVANE_LOG STREQUAL android)
  get_filename_component(log_folder ${AndroidLog_LIBRARY} DIRECTORY)
  string(APPEND pc_libraries " -L${log_folder} -Wl,-rpath,${log_folder} -llog")
endif()
configure_file(cmake/orvane.pc.in orvane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
