#include <iostream>

#include "tools/inspect/CommandLine.h"

int main(int argc, char** argv) {
  return Tessaril::Inspect::runCommandLine(argc, argv, std::cout, std::cerr);
}
