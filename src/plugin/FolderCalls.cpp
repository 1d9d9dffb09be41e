#include <dirent.h>

#include <cstdio>

#include "plugin/CallSupport.h"
#include "plugin/KOBJRev01.h"

namespace {

/// The one folder being listed, null for none.
DIR* folder = nullptr;

}  // namespace

KSMTH_CALL(FileDelete) {
  return text != nullptr ? static_cast<float>(std::remove(text)) : -1.0F;
}

KSMTH_CALL(OpenFolder) {
  // A folder that is still open is not closed but lost, whether the new one opens or not: fixed by the host's
  // contract.
  folder = text != nullptr ? opendir(text) : nullptr;
  return status(folder != nullptr);
}

KSMTH_CALL(GetFile) {
  if (folder == nullptr) return -1.0F;
  const dirent* entry = readdir(folder);
  if (entry == nullptr) return -3.0F;
  if (block1 == nullptr) return -2.0F;
  answer(block1, entry->d_name);
  return 0.0F;
}

KSMTH_CALL(CloseFolder) {
  if (folder == nullptr) return -1.0F;
  closedir(folder);
  folder = nullptr;
  return 0.0F;
}
