#pragma once
// The agent as a service of this machine: of the service manager on Windows, of systemd on Linux.
// Each operation says on standard output what it did, and on standard error why it could not and
// what to do next. False when things are not as was asked. Asking for what is so already is no
// failure.

namespace cli {

// Registers the service of the programs that this one stands beside, to start with the machine and
// after a failure, and makes the settings that are missing. What is there already stays, so that it
// serves an upgrade, too. Does not start it.
bool install_service();

// Stops the service and takes it out. With purge its settings and what the agent wrote go as well.
bool uninstall_service(bool purge);

// Both wait until the service is up or down, or has been silent for a minute.
bool start_service();
bool stop_service();

// Prints how it stands. False when it does not run.
bool show_service_status();

}  // namespace cli
