# Header-only libraries are installed under /usr/include. A cross compiler must not see the rest of
# that folder, so each library's headers are linked into the build folder and only that is searched.
include_guard(GLOBAL)

function(dirwatch_third_party target)
  set(folder ${CMAKE_BINARY_DIR}/third_party/include)
  file(MAKE_DIRECTORY ${folder})
  foreach(library ${ARGN})
    if(NOT EXISTS /usr/include/${library})
      message(FATAL_ERROR "/usr/include/${library} is missing: install the packages of tools/packages.txt")
    endif()
    if(NOT EXISTS ${folder}/${library})
      file(CREATE_LINK /usr/include/${library} ${folder}/${library} SYMBOLIC)
    endif()
  endforeach()
  target_include_directories(${target} SYSTEM PRIVATE ${folder})
endfunction()
