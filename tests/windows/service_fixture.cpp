// service_fixture.exe create|remove NAME

#include "service_fixture.h"

#include <cstdio>
#include <string_view>

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const std::string narrow = arguments[2];
  const std::wstring name(narrow.begin(), narrow.end());
  const bool done = std::string_view(arguments[1]) == "create" ? fixture::create(name.c_str())
                                                               : fixture::remove(name.c_str());
  if (!done) std::fprintf(stderr, "service_fixture: error %lu\n", GetLastError());
  return done ? 0 : 1;
}
