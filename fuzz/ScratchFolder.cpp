#include "ScratchFolder.h"

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "Require.h"

namespace fuzz {
namespace {

// Never destroyed: exit handlers still need it.
std::string& folder() {
  static auto* const path = new std::string;
  return *path;
}

void removeFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder(), ignored);
}

}  // namespace

const std::string& scratchFolder() {
  if (!folder().empty()) return folder();
  const char* const memory = "/dev/shm";
  const std::filesystem::path base = access(memory, W_OK | X_OK) == 0
                                         ? std::filesystem::path(memory)
                                         : std::filesystem::temp_directory_path();
  std::string name = (base / "fuzz_obj_XXXXXX").string();
  require(mkdtemp(name.data()) != nullptr, "a folder for the files can be made");
  folder() = name;
  std::atexit(removeFolder);
  return folder();
}

InScratchFolder::InScratchFolder() : before_(std::filesystem::current_path().string()) {
  require(chdir(scratchFolder().c_str()) == 0, "the folder can be entered");
}

InScratchFolder::~InScratchFolder() {
  require(chdir(before_.c_str()) == 0, "the folder can be left");
}

void writeFile(const std::string& path, std::string_view text) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  require(file != nullptr, "an input file can be written");
  std::setvbuf(file, nullptr, _IONBF, 0);
  // Empty text may come without an address, which fwrite must not be given.
  const bool written = text.empty() || std::fwrite(text.data(), 1, text.size(), file) == text.size();
  require(written, "all of the input is written");
  std::fclose(file);
}

std::string readFile(const std::string& path) {
  std::string text;
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  require(file != nullptr, "an exported file can be read");
  std::setvbuf(file, nullptr, _IONBF, 0);
  char block[16384];
  std::size_t got = 0;
  while ((got = std::fread(block, 1, sizeof block, file)) > 0) text.append(block, got);
  std::fclose(file);
  return text;
}

}  // namespace fuzz
