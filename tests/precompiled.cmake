# SPDX-License-Identifier: Apache-2.0
# One precompiled header for all programs that are built as tests: reading
# GoogleTest and the C++ library again for each file is most of what building the
# tests takes. Each file includes what it needs all the same: clang's build has no
# such header and holds them to it.
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
function(use_precompiled_header folder)
  get_directory_property(subfolders DIRECTORY ${folder} SUBDIRECTORIES)
  foreach(subfolder IN LISTS subfolders)
    use_precompiled_header(${subfolder})
  endforeach()
  get_directory_property(targets DIRECTORY ${folder} BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    get_target_property(links ${target} LINK_LIBRARIES)
    if(type STREQUAL "EXECUTABLE" AND links MATCHES "GTest::" AND NOT target STREQUAL "tests_precompiled")
      target_precompile_headers(${target} REUSE_FROM tests_precompiled)
    endif()
  endforeach()
endfunction()
use_precompiled_header(${CMAKE_CURRENT_SOURCE_DIR})
