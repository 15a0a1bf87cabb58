#include <sys/ioctl.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "examples/gear_pair/calculation/InputError.h"
#include "examples/gear_pair/cli/Arguments.h"
#include "examples/gear_pair/cli/Script.h"

namespace {

constexpr int kBadUsage = 2;

GearPair::Console standardConsole() {
  GearPair::Console console{std::cout, std::cerr};
  console.errorIsTerminal = isatty(STDERR_FILENO) != 0;
  winsize size{};
  if (isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 &&
      size.ws_col > 0) {
    console.width = size.ws_col;
  }
  return console;
}

int runProgram(const std::vector<std::string>& words) {
  const GearPair::Arguments arguments = GearPair::parseArguments(words);
  if (arguments.help) {
    std::cout << GearPair::helpText();
    return 0;
  }
  const GearPair::OpenedDesign opened = GearPair::openDesignFile(arguments.designFile);
  return GearPair::Script(arguments, opened, standardConsole()).run();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return runProgram(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const std::exception& e) {
    std::cerr << "gear_pair: " << e.what() << std::endl;
    return kBadUsage;
  }
}
