# cmake -DFILE=... -P CorrectOutStrings.cmake
# widl lets an [out] LPWSTR* parameter begin at the type of the text instead of at the reference to it, four
# bytes before: the text is then never carried, and the caller gets null and S_OK. The parameters of the stub
# code FILE are set right; a file in which they look different from both forms is refused.
file(READ ${FILE} code)

set(comment "/\\* ([0-9]+) \\([^)]*\\) \\*/")
set(reference "${comment}[ \t\r\n]+0x11, 0x14,[^\n]*\n[^\n]*/\\* Offset= 2 [^\n]*\n")
set(text "${comment}[ \t\r\n]+0x13, 0x8,[^\n]*\n[^\n]*\n[ \t]*0x25,")
string(REGEX MATCHALL "${reference}${text}" references "${code}")
if(NOT references)
  message(FATAL_ERROR "${FILE}: no reference to a text; this widl writes something else than expected")
endif()

set(short "NdrFcShort\\(0x[0-9a-f]+\\),[ \t]+")
set(out_parameter "(${short}/\\* flags: [^\n*]*out[^\n]*\n[^\n]*/\\* stack offset[^\n]*\n[ \t]*)${short}/\\* type offset = ")
set(found 0)
foreach(each IN LISTS references)
  string(REGEX MATCH "${reference}${text}" each "${each}")
  set(right ${CMAKE_MATCH_1})
  set(wrong ${CMAKE_MATCH_2})
  math(EXPR right_hex "${right}" OUTPUT_FORMAT HEXADECIMAL)
  string(REGEX REPLACE "${out_parameter}${wrong} \\*/" "\\1NdrFcShort(${right_hex}),\t/* type offset = ${right} */"
         code "${code}")
  string(REGEX MATCHALL "${out_parameter}${right} \\*/" parameters "${code}")
  list(LENGTH parameters count)
  if(count EQUAL 0)
    message(FATAL_ERROR "${FILE}: no parameter begins at the reference ${right}")
  endif()
  math(EXPR found "${found} + ${count}")
endforeach()
message(STATUS "${found} texts that methods give out in ${FILE}")
file(WRITE ${FILE} "${code}")
