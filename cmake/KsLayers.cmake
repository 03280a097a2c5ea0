# One static library per layer of the source tree.  A layer's include path
# offers its own folder and, through what it links, the layers below it and
# nothing else: each layer's folder is reached through a link of its own in
# the build tree, so an #include that reaches upward does not compile.
#
#   ks_add_layer(NAME FOLDER [LINKS ...])
#     NAME    the library target
#     FOLDER  the layer's folder below src/ (core, importers/text, ...); its
#             headers are included as "FOLDER/name.h"
#     LINKS   the layers and libraries it builds on (public)
function(ks_add_layer name folder)
  set(root ${CMAKE_BINARY_DIR}/layers/${name})
  get_filename_component(parent ${root}/${folder} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/${folder} ${root}/${folder} SYMBOLIC)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp)
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${root})
  target_link_libraries(${name} PUBLIC ${ARGN})
endfunction()
