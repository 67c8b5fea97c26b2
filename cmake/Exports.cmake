# korvex_limit_exports(TARGET): a shared library exports what is its own to export.
function(korvex_limit_exports target)
  if(WIN32 OR APPLE)
    return()
  endif()
  set(map ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/exports.map)
  target_link_options(${target} PRIVATE LINKER:--version-script=${map})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
