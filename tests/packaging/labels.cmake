# SPDX-License-Identifier: Apache-2.0
# Read by ctest after the tests are known.
foreach(test IN LISTS TVUREV_BARE_TESTS)
  set_tests_properties(${test} PROPERTIES LABELS "packaging;sandbox")
endforeach()
