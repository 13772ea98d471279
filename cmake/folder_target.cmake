# SPDX-License-Identifier: Apache-2.0
# tvurev_folder(NAME SOURCES file... DOOR header... MAY_INCLUDE folder... [OPTIONS target]
#   [PUBLIC_HEADERS])
#
# Declares the static library tvurev_NAME of one folder (an interface library
# where there are no sources). DOOR holds the headers that other folders may
# include, MAY_INCLUDE the folders that this one may include from, which it is
# linked to. OPTIONS are tvurev_options where nothing else is said.
#
# Every folder compiles with an include root of its own, which holds the folder
# itself and the doors of those it may include from, and nothing else: an include
# against the table of docs/architecture.md finds no file. Headers are included
# by their path from the root: "log/log.h". PUBLIC_HEADERS adds those of
# include/ortinv/, for the folders that define or use what they declare.
function(tvurev_folder name)
  cmake_parse_arguments(ARG "PUBLIC_HEADERS" "OPTIONS" "SOURCES;DOOR;MAY_INCLUDE" ${ARGN})
  set_property(GLOBAL PROPERTY TVUREV_DOOR_${name} ${ARG_DOOR})
  tvurev_make_include_root(${name} ${ARG_MAY_INCLUDE})
  if(ARG_SOURCES)
    add_library(tvurev_${name} STATIC ${ARG_SOURCES})
    tvurev_use_include_root(tvurev_${name} ${name})
    if(NOT ARG_OPTIONS)
      set(ARG_OPTIONS tvurev_options)
    endif()
    target_link_libraries(tvurev_${name} PRIVATE ${ARG_OPTIONS})
    if(ARG_PUBLIC_HEADERS)
      target_include_directories(tvurev_${name} PRIVATE ${PROJECT_SOURCE_DIR}/include)
    endif()
    set(scope PRIVATE)
  else()
    add_library(tvurev_${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  foreach(folder IN LISTS ARG_MAY_INCLUDE)
    target_link_libraries(tvurev_${name} ${scope} tvurev_${folder})
  endforeach()
endfunction()

# Makes the include root of a folder anew, so that a header that left a door is
# gone from it.
function(tvurev_make_include_root name)
  set(root ${PROJECT_BINARY_DIR}/include-roots/${name})
  file(REMOVE_RECURSE ${root})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${name} ${root}/${name} SYMBOLIC)
  foreach(folder IN LISTS ARGN)
    get_property(door GLOBAL PROPERTY TVUREV_DOOR_${folder})
    file(MAKE_DIRECTORY ${root}/${folder})
    foreach(header IN LISTS door)
      file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${folder}/${header} ${root}/${folder}/${header}
        SYMBOLIC)
    endforeach()
  endforeach()
endfunction()

# Compiles a target with the include root of a folder.
function(tvurev_use_include_root target name)
  target_include_directories(${target} PRIVATE ${PROJECT_BINARY_DIR}/include-roots/${name})
endfunction()
