#include "SheetFiles.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace bench {
namespace {

void readThrough(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<char> block(1U << 20);
  while (file.read(block.data(), static_cast<std::streamsize>(block.size()))) {
  }
}

}  // namespace

const SheetFile& SheetFiles::get(const SheetShape& shape) {
  const std::string name = "sheet_" + std::to_string(shape.side) + "_" + std::to_string(shape.groups) +
                           (shape.interleaved ? "_interleaved.obj" : ".obj");
  const auto [position, inserted] = files_.try_emplace(name);
  SheetFile& file = position->second;
  if (inserted) {
    file.shape = shape;
    file.path = folder_.file(name);
    writeSheet(shape, file.path);
    file.bytes = std::filesystem::file_size(file.path);
  }
  readThrough(file.path);
  return file;
}

}  // namespace bench
