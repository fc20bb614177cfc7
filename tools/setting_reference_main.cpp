// Writes docs/settings.md to standard output.

#include <cstdio>

#include "tools/setting_reference.h"

int main() {
  const std::string page = setting_reference();
  return std::fwrite(page.data(), 1, page.size(), stdout) == page.size() ? 0 : 1;
}
