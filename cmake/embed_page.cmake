# cmake -D DIRECTORY=... -D OUTPUT=... -P embed_page.cmake: writes the files of the report's page into a C++ file.
include(${DIRECTORY}/program.cmake)

# add_text(FUNCTION FILE...): a function that returns the files, one behind the other. What is quoted here keeps every
# character of them.
function(add_text name)
  set(text "")
  foreach(file IN LISTS ARGN)
    file(READ ${DIRECTORY}/${file} content)
    string(FIND "${content}" ")kzr_page\"" end)
    if(NOT end EQUAL -1)
      message(FATAL_ERROR "${file} has the mark at which its text would end")
    endif()
    string(APPEND text "${content}")
  endforeach()
  string(SHA256 hash "${text}")
  set(code "${code}\nstd::string_view page_text::${name}() { return R\"kzr_page(${text})kzr_page\"; }\n")
  string(APPEND code "std::string_view page_text::${name}_sha256() { return \"${hash}\"; }\n")
  set(code "${code}" PARENT_SCOPE)
endfunction()

set(code "#include \"kzr/report/page_text.h\"\n")
add_text(html page.html)
add_text(style page.css)
add_text(program ${program_files})
add_text(end end.js)
file(WRITE ${OUTPUT} "${code}")
