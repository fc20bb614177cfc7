# Compiler options that every target shares, and the two helpers that rooms and tests are made with.

add_compile_options(-Wall -Wextra -Wpedantic)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  add_compile_options(-Wshadow=local)
  if(CMAKE_BUILD_TYPE STREQUAL Release AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # Optimised string concatenation makes this one warn of accesses that cannot happen.
    add_compile_options(-Wno-restrict)
  endif()
endif()
if(DIRWATCH_WERROR)
  add_compile_options(-Werror)
endif()
if(CMAKE_BUILD_TYPE STREQUAL Debug)
  add_compile_options(-O1 -g1 -fno-omit-frame-pointer)
endif()
if(CMAKE_BUILD_TYPE STREQUAL Release AND NOT WIN32)
  # The tables of addresses are settled at the start and then closed for writing.
  add_link_options(-Wl,-z,relro,-z,now)
endif()
if(DIRWATCH_SANITIZE)
  add_compile_options(-fsanitize=${DIRWATCH_SANITIZE} -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${DIRWATCH_SANITIZE})
endif()
if(WIN32)
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601  __USE_MINGW_ANSI_STDIO=1
                          INCL_WINSOCK_API_TYPEDEFS=1)
  # Beyond the compiler's usual ones: counters, directory interfaces and their identifiers, sockets.
  link_libraries(pdh activeds adsiid ws2_32)
endif()

find_package(Threads REQUIRED)

# A room's library: every source of its folder (not of sub-folders).
function(dirwatch_room name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "_main\\.cpp$")
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC ${ARGN})
endfunction()

# The day of the build, in its one source unit.
string(TIMESTAMP _build_day "%b %d %Y" UTC)
add_library(dw_build_date STATIC ${CMAKE_SOURCE_DIR}/include/build_date.cpp)
target_compile_definitions(dw_build_date
  PRIVATE DIRWATCH_BUILD_DATE="${_build_day}" DIRWATCH_BUILD_TIME="00:00:00")
link_libraries(dw_build_date)
