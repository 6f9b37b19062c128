# The files of the page's program, in the order in which they stand in the page, one behind the other in one script.
set(program_files page.js)
