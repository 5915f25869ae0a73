# The folders as libraries. Which folder may include which is one table,
# tools/arrows.txt, which ./zavo lint holds every include against.

# zavo_layer(<name> SOURCES ...)
#   A folder of numerical routines: an object library zavo_<name> that sees no
#   Tcl. A program made of it names every layer that it needs.
function(zavo_layer name)
  cmake_parse_arguments(LAYER "" "" "SOURCES" ${ARGN})
  add_library(zavo_${name} OBJECT ${LAYER_SOURCES})
  target_include_directories(zavo_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/core)
endfunction()

# zavo_commands(<layer> SOURCES ...)
#   The command procedures of the layer's folder: an object library
#   zavo_<layer>_commands, the only one of the folder that sees Tcl.
function(zavo_commands layer)
  cmake_parse_arguments(COMMANDS "" "" "SOURCES" ${ARGN})
  add_library(zavo_${layer}_commands OBJECT ${COMMANDS_SOURCES})
  target_include_directories(zavo_${layer}_commands PRIVATE
    ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/core ${PROJECT_SOURCE_DIR}/quillet ${PROJECT_SOURCE_DIR}/morvel)
  target_link_libraries(zavo_${layer}_commands PRIVATE zavo_tcl)
endfunction()
