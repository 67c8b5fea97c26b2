# KORVEX_SANITIZE names the sanitizers to build with, as the compiler takes them: "address,undefined".
set(KORVEX_SANITIZE "" CACHE STRING "Sanitizers to build with")
if(KORVEX_SANITIZE)
  add_compile_options(-fsanitize=${KORVEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # gcc takes the sanitizers' own code for uses of uninitialized values.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
  add_link_options(-fsanitize=${KORVEX_SANITIZE})
endif()
