# SPDX-License-Identifier: Apache-2.0
# Read by ctest after the tests are known.
foreach(test IN LISTS TVUREV_RECEIVER_TESTS)
  set_tests_properties(${test} PROPERTIES LABELS "e2e;sandbox")
endforeach()
