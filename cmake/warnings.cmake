# Every warning is an error, with g++ 12 and clang 14 alike.
set(TVUREV_WARNINGS
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wundef
  -Wcast-align -Wcast-qual -Wpointer-arith -Wswitch-enum -Wvla -Wimplicit-fallthrough -Werror)
set(TVUREV_CXX_WARNINGS
  -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi -Wmissing-declarations)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(APPEND TVUREV_WARNINGS -Wduplicated-cond -Wduplicated-branches -Wlogical-op)
  # g++ 12 sees overlaps in its own std::string (GCC bug 105329).
  list(APPEND TVUREV_WARNINGS -Wno-restrict)
endif()
add_compile_options(${TVUREV_WARNINGS} "$<$<COMPILE_LANGUAGE:CXX>:${TVUREV_CXX_WARNINGS}>")
