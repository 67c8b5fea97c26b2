# Programs built with mingw-w64 share one C++ runtime, or exceptions would not cross modules; its
# libraries are put beside the programs.
if(MINGW)
  foreach(library libstdc++-6.dll libgcc_s_seh-1.dll libgcc_s_dw2-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
                    OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(IS_ABSOLUTE "${found}" AND EXISTS "${found}")
      file(COPY "${found}" DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} FOLLOW_SYMLINK_CHAIN)
      list(APPEND KORVEX_RUNTIME_LIBRARIES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${library})
    endif()
  endforeach()
endif()
