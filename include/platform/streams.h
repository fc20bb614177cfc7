#pragma once
// The C runtime's standard streams by their descriptors, to keep what a program prints apart from
// what it delivers.

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#else
#include <cstdio>

inline constexpr int _O_BINARY = 0x8000;

int _dup(int descriptor);               // -1 on failure
int _dup2(int descriptor, int target);  // 0, or -1 on failure
int _fileno(std::FILE* stream);
std::FILE* _fdopen(int descriptor, const char* mode);  // null on failure
int _setmode(int descriptor, int mode);                // every stream is binary here
#endif
