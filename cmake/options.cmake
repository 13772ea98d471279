# SPDX-License-Identifier: Apache-2.0
# How our targets are compiled and linked. Each target names what it wants;
# nothing hangs on a folder.

# The presets make warnings errors (CMAKE_COMPILE_WARNING_AS_ERROR); a user's
# compiler that knows more of them stops nobody's build.
add_library(tvurev_warnings INTERFACE)
target_compile_options(tvurev_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wundef
  -Wcast-align -Wcast-qual -Wpointer-arith -Wswitch-enum -Wvla -Wimplicit-fallthrough
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Wnon-virtual-dtor;-Woverloaded-virtual;-Wextra-semi;-Wmissing-declarations>
  # g++ 12 sees overlaps in its own std::string (GCC bug 105329).
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond;-Wduplicated-branches;-Wlogical-op;-Wno-restrict>)

# _FORTIFY_SOURCE needs optimisation, and the sanitizers replace it.
add_library(tvurev_hardening INTERFACE)
target_compile_options(tvurev_hardening INTERFACE -fstack-protector-strong -fstack-clash-protection)
target_link_options(tvurev_hardening INTERFACE
  -Wl,-z,relro,-z,now -Wl,-z,noexecstack -Wl,--as-needed)
if(NOT TVUREV_SANITIZER)
  target_compile_options(tvurev_hardening INTERFACE
    "$<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()

# TVUREV_SANITIZER and TVUREV_COVERAGE as flags. What is preloaded into programs
# that were built otherwise goes without. Tests and the simulated host only mark
# where their buffers end: to look for undefined behaviour in them is a third of what
# building them takes.
set(TVUREV_TEST_INSTRUMENTS)
if(TVUREV_SANITIZER STREQUAL "address")
  set(TVUREV_INSTRUMENTS -fsanitize=address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  set(TVUREV_TEST_INSTRUMENTS -fsanitize=address -fno-omit-frame-pointer)
elseif(TVUREV_SANITIZER STREQUAL "fuzzer")
  # Counts what is covered, everywhere; tests/fuzz links the driver.
  set(TVUREV_INSTRUMENTS -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer -D_GLIBCXX_ASSERTIONS)
elseif(TVUREV_SANITIZER STREQUAL "thread")
  set(TVUREV_INSTRUMENTS -fsanitize=thread -fno-omit-frame-pointer)
elseif(TVUREV_SANITIZER)
  message(FATAL_ERROR "TVUREV_SANITIZER is '${TVUREV_SANITIZER}': use address, fuzzer, thread or nothing")
endif()
if(TVUREV_COVERAGE)
  list(APPEND TVUREV_INSTRUMENTS --coverage -fprofile-update=atomic)
endif()
if(NOT TVUREV_TEST_INSTRUMENTS)
  set(TVUREV_TEST_INSTRUMENTS ${TVUREV_INSTRUMENTS})
endif()
add_library(tvurev_instruments INTERFACE)
target_compile_options(tvurev_instruments INTERFACE ${TVUREV_INSTRUMENTS})
target_link_options(tvurev_instruments INTERFACE ${TVUREV_INSTRUMENTS})
add_library(tvurev_test_instruments INTERFACE)
target_compile_options(tvurev_test_instruments INTERFACE ${TVUREV_TEST_INSTRUMENTS})
target_link_options(tvurev_test_instruments INTERFACE ${TVUREV_INSTRUMENTS})

# All of them, for whatever is shipped; the simulated host is watched as the tests are.
add_library(tvurev_options INTERFACE)
target_link_libraries(tvurev_options INTERFACE
  tvurev_warnings tvurev_hardening tvurev_instruments)
add_library(tvurev_lab_options INTERFACE)
target_link_libraries(tvurev_lab_options INTERFACE
  tvurev_warnings tvurev_hardening tvurev_test_instruments)
