// Writes docs/tables.md to standard output: run it again whenever the catalogue changes.

#include <cstdio>

#include "tools/table_reference.h"

int main() {
  const std::string page = table_reference();
  const bool written = std::fwrite(page.data(), 1, page.size(), stdout) == page.size();
  return std::fflush(stdout) == 0 && written ? 0 : 1;
}
