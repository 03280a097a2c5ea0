# Converter modules: shared libraries the import library loads by name at run
# time (core/loadable_module.h), so that it runs, with a clear message, where
# one is not installed.  Each is built into the folder "kestro/" beside
# libks_imp.so and installed into ${CMAKE_INSTALL_LIBDIR}/kestro, where the
# library looks for it; $KESTRO_MODULE_DIR points elsewhere (the tests).
#
#   ks_add_module(TARGET NAME SOURCES...)   makes kestro/libNAME.so
set(KS_MODULE_DIR ${PROJECT_BINARY_DIR}/src/kestro)
set_property(GLOBAL PROPERTY KS_MODULE_TARGETS "")

function(ks_add_module target name)
  add_library(${target} MODULE ${ARGN})
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${name} PREFIX lib
                        LIBRARY_OUTPUT_DIRECTORY ${KS_MODULE_DIR})
  target_link_options(${target} PRIVATE -Wl,--no-undefined)
  install(TARGETS ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/kestro)
  set_property(GLOBAL APPEND PROPERTY KS_MODULE_TARGETS ${target})
endfunction()
