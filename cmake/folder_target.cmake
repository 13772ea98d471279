# tvurev_folder(NAME SOURCES file... MAY_INCLUDE folder...)
#
# Declares the static library tvurev_NAME of one folder. MAY_INCLUDE holds the
# folders it is allowed to include from; it is linked to those and no others.
# Headers are included by their path from the root: "log/log.h".
function(tvurev_folder name)
  cmake_parse_arguments(ARG "" "" "SOURCES;MAY_INCLUDE" ${ARGN})
  add_library(tvurev_${name} STATIC ${ARG_SOURCES})
  target_include_directories(tvurev_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  foreach(folder IN LISTS ARG_MAY_INCLUDE)
    target_link_libraries(tvurev_${name} PUBLIC tvurev_${folder})
  endforeach()
endfunction()
