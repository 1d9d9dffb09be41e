#include "c/LibraryNames.h"

#include <utility>

#include "document/Companions.h"
#include "document/Materials.h"

namespace ksmth {

std::vector<std::string> libraryNames(const WavefrontOBJ::OBJDocument& document,
                                      const KSmthWriteOptions& options, const Target& target,
                                      const Listener& listener) {
  std::string folder;
  if (options.folder != nullptr) {
    folder = options.folder;
    if (!folder.empty() && folder.back() != '/') folder += '/';
  } else if (target.isFile()) {
    folder = WavefrontOBJ::folderPrefix(target.path());
  } else {
    return {};
  }
  WavefrontOBJ::Companions companions;
  require(planCompanions(document, folder, false, companions));
  for (const std::string& warning : companions.warnings) {
    listener.log(KSMTH_WARNING, "library-unreadable", 0, warning);
  }
  return std::move(companions.libraries);
}

}  // namespace ksmth
