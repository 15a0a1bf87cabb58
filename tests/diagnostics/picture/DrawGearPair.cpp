#include <exception>
#include <iostream>

#include "tests/diagnostics/picture/GearPairPicture.h"

// draw_gear_pair DESIGN.gear > PICTURE.svg
int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: draw_gear_pair DESIGN.gear > PICTURE.svg\n";
    return 2;
  }
  try {
    const GearPairPicture picture = gearPairPicture(argv[1]);
    std::cout << svgText(picture.snapshot, picture.options);
  } catch (const std::exception& error) {
    std::cerr << "draw_gear_pair: " << error.what() << '\n';
    return 1;
  }
}
