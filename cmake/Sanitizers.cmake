# KORVEX_SANITIZE names the sanitizers to build with, as the compiler takes them: "address,undefined".
set(KORVEX_SANITIZE "" CACHE STRING "Sanitizers to build with")
if(KORVEX_SANITIZE)
  add_compile_options(-fsanitize=${KORVEX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KORVEX_SANITIZE})
endif()
