// Writes the motions that the tests draw to a folder, to be looked at:
//   write_motions FOLDER && for f in FOLDER/*.csv; do orvek23-replay $f --plot ${f%.csv}.svg; done
#include <filesystem>
#include <fstream>
#include <iostream>

#include "tests/motions.hpp"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "write_motions FOLDER\n";
    return 1;
  }
  std::filesystem::create_directories(argv[1]);
  for (const std::string& name : motions::names()) {
    std::ofstream(std::filesystem::path(argv[1]) / (name + ".csv")) << motions::csv(name);
  }
}
