#include "agent/main.h"

int main(int argument_count, char** arguments) { return Main(argument_count, arguments); }
