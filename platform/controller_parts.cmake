# The parts of the platform layer that answer the calls of a controller's machine. They are plain
# portable C++ over include/platform, with nothing of the system that they are built for: here part
# of dw_platform, and once more a library of the test equipment for the Windows build.
set(platform_folder ${CMAKE_CURRENT_LIST_DIR})
set(folders adsi automation commands counters directory_services dns recorded registry services)
set(patterns ${folders})
list(TRANSFORM patterns PREPEND ${platform_folder}/)
list(TRANSFORM patterns APPEND /*.cpp)
file(GLOB controller_parts CONFIGURE_DEPENDS ${patterns})
list(APPEND controller_parts
  ${platform_folder}/kernel/accounting.cpp ${platform_folder}/kernel/command_line.cpp
  ${platform_folder}/kernel/fault_point.cpp ${platform_folder}/kernel/local_machine.cpp
  ${platform_folder}/kernel/machine.cpp ${platform_folder}/kernel/message_texts.cpp
  ${platform_folder}/shares/recorded_shares.cpp)
# Windows has events, apartments and COM values of its own, and no live controllers.
list(REMOVE_ITEM controller_parts
  ${platform_folder}/adsi/apartment.cpp ${platform_folder}/adsi/com_values.cpp
  ${platform_folder}/directory_services/asked_services.cpp
  ${platform_folder}/directory_services/netlogon_answer.cpp
  ${platform_folder}/directory_services/reps_from.cpp
  ${platform_folder}/recorded/open_controller.cpp ${platform_folder}/registry/change_event.cpp)
