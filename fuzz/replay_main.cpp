// Runs the fuzz target on given files, and on all files of given folders, where libFuzzer is not at hand.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "EveryPart.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> filesOf(int argc, char** argv) {
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) {
      files.emplace_back(argv[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

int replay(const std::vector<std::filesystem::path>& files) {
  for (const std::filesystem::path& path : files) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "cannot read %s\n", path.c_str());
      return 1;
    }
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    // Said first: the target ends the process where something is wrong.
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  }
  std::printf("%zu files\n", files.size());
  return files.empty() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  fuzz::gEveryPart = true;
  try {
    return replay(filesOf(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "replay: %s\n", error.what());
    return 1;
  }
}
