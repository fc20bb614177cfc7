# The recording that the program carries inside, as a source file made from recordings/default.
file(GLOB_RECURSE recording_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/recordings/default/*)
set(embedded_recording ${CMAKE_CURRENT_BINARY_DIR}/embedded_recording.cpp)
add_custom_command(
  OUTPUT ${embedded_recording}
  COMMAND ${CMAKE_COMMAND} -DFOLDER=${CMAKE_SOURCE_DIR}/recordings/default
          -DOUTPUT=${embedded_recording} -P ${CMAKE_SOURCE_DIR}/tools/embed_recording.cmake
  DEPENDS ${recording_files} ${CMAKE_SOURCE_DIR}/tools/embed_recording.cmake
  COMMENT "Embedding recordings/default"
  VERBATIM)
target_sources(dw_platform PRIVATE ${embedded_recording})
