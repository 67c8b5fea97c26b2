# 32-bit x86 computes in registers that are wider than a double unless it is told otherwise, and the same
# conversion would give another last digit there. Such code needs the stack aligned, which Windows does not do.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86|i.86" AND CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  add_compile_options(-msse2 -mfpmath=sse -mstackrealign)
endif()
