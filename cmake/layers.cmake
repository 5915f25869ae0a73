# zavo_layer(<name> SOURCES ... [USES layer ...])
#   A library folder: an object library zavo_<name> that links only the layers
#   it names. A target made of it must name every layer it needs, so an include
#   that points upwards fails at link time.
function(zavo_layer name)
  cmake_parse_arguments(LAYER "" "" "SOURCES;USES" ${ARGN})
  add_library(zavo_${name} OBJECT ${LAYER_SOURCES})
  target_include_directories(zavo_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/core)
  foreach(used IN LISTS LAYER_USES)
    target_include_directories(zavo_${name} PUBLIC
      $<TARGET_PROPERTY:zavo_${used},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
endfunction()
