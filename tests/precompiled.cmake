# SPDX-License-Identifier: Apache-2.0
# How the programs that are built as tests are built sooner: with one precompiled
# header for all of them, and several files of a program at a time. Reading GoogleTest
# and making code of its templates again for each file is most of what building the
# tests takes. Each file includes what it needs all the same, and stands for itself:
# clang's build does neither and holds them to it.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  return()
endif()

add_executable(tests_precompiled precompiled.cc)
target_link_libraries(tests_precompiled PRIVATE tests_options GTest::gmock)
target_precompile_headers(tests_precompiled PRIVATE
  <gmock/gmock.h> <gtest/gtest.h> <algorithm> <array> <chrono> <filesystem> <fstream> <functional>
  <map> <memory> <span> <string> <string_view> <vector>)

# Targets of this folder and those below it that link GoogleTest, and so are
# compiled as the header was.
function(build_sooner folder)
  get_directory_property(subfolders DIRECTORY ${folder} SUBDIRECTORIES)
  foreach(subfolder IN LISTS subfolders)
    build_sooner(${subfolder})
  endforeach()
  get_directory_property(targets DIRECTORY ${folder} BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    get_target_property(links ${target} LINK_LIBRARIES)
    if(type STREQUAL "EXECUTABLE" AND links MATCHES "GTest::" AND NOT target STREQUAL "tests_precompiled")
      target_precompile_headers(${target} REUSE_FROM tests_precompiled)
      get_target_property(unity ${target} UNITY_BUILD)
      if(unity STREQUAL "unity-NOTFOUND")
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
        # It takes the files that are built together for headers.
        target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
      endif()
    endif()
  endforeach()
endfunction()
build_sooner(${CMAKE_CURRENT_SOURCE_DIR})
