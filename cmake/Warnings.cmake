# The warnings that every target of this project builds without.
add_library(korvex_warnings INTERFACE)
if(MSVC)
  target_compile_options(korvex_warnings INTERFACE /W4 /permissive- $<$<BOOL:${KORVEX_WARNINGS_AS_ERRORS}>:/WX>)
  return()
endif()
target_compile_options(korvex_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wno-unknown-pragmas -Wno-cast-function-type
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wsign-conversion -Wold-style-cast -Woverloaded-virtual>
  $<$<BOOL:${KORVEX_WARNINGS_AS_ERRORS}>:-Werror>)
# GCC 12 sees overlaps in optimised concatenations of std::string where there are none (its bug 105651).
target_compile_options(korvex_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
target_compile_options(korvex_warnings INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
