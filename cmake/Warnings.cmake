# The warnings that every target of this project builds without.
add_library(korvex_warnings INTERFACE)
if(MSVC)
  target_compile_options(korvex_warnings INTERFACE /W4 /WX /permissive-)
else()
  target_compile_options(korvex_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                                   -Wno-unknown-pragmas -Werror)
  # COM interfaces have no virtual destructor by design: their objects are released, never deleted.
  target_compile_options(korvex_warnings INTERFACE -Wno-non-virtual-dtor -Wno-cast-function-type)
  # GCC 12 sees overlaps in optimised concatenations of std::string where there are none (its bug 105651).
  target_compile_options(korvex_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  target_compile_options(korvex_warnings INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>)
endif()
