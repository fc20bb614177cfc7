// ntfrsutl forcerepl: no controller of this system has the file replication service, so that it is
// never there to be bound.

#include <cstdio>

int main(int count, char** arguments) {
  std::printf("ERROR - Cannot bind w/authentication to computer, %s; 000006d9 (1753)\r\n",
              count > 2 ? arguments[2] : "");
  return 1;
}
