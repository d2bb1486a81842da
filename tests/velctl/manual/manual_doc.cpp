// Prints docs/velctl.1.

#include <iostream>

#include "tests/velctl/manual/manual.h"

int main() {
  std::cout << velctl_manual::manualPage();
}
