# Fails, naming the files, when a C++ file of the tree differs from its clang-format form.
file(GLOB_RECURSE files RELATIVE ${ROOT}
  ${ROOT}/src/*.cpp ${ROOT}/src/*.h ${ROOT}/tests/*.cpp ${ROOT}/tests/*.h ${ROOT}/tools/*.cpp
  ${ROOT}/bench/*.cpp ${ROOT}/bench/*.h ${ROOT}/fuzz/*.cpp ${ROOT}/fuzz/*.h)
set(bad "")
foreach(f ${files})
  execute_process(COMMAND ${CLANG_FORMAT} --dry-run --Werror ${f} WORKING_DIRECTORY ${ROOT}
    RESULT_VARIABLE rc OUTPUT_QUIET ERROR_QUIET)
  if(NOT rc EQUAL 0)
    list(APPEND bad ${f})
  endif()
endforeach()
if(bad)
  list(JOIN bad "\n  " shown)
  message(FATAL_ERROR "not in the form of .clang-format (clang-format -i them):\n  ${shown}")
endif()
