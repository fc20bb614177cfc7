#include "platform/streams.h"

#include <unistd.h>

int _dup(int descriptor) { return ::dup(descriptor); }
int _dup2(int descriptor, int target) { return ::dup2(descriptor, target) < 0 ? -1 : 0; }
int _fileno(std::FILE* stream) { return ::fileno(stream); }
std::FILE* _fdopen(int descriptor, const char* mode) { return ::fdopen(descriptor, mode); }
int _setmode(int /*descriptor*/, int /*mode*/) { return _O_BINARY; }
