#pragma once
// The process entry.

// Imports the configuration, starts the background threads, and then runs as a service (no
// argument) or as a console program (argument TEST). Leaves by ExitProcess or exit; in console mode
// it normally ends with its thread instead, and the process lives on with its other threads.
int Main(int argument_count, char** arguments);
