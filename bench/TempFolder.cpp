#include "TempFolder.h"

#include <stdlib.h>

#include <cerrno>
#include <system_error>

namespace bench {

TempFolder::TempFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "bench_obj_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
  path_ = name;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace bench
