#include "plugin/KOBJRev01.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "KSmthVersion.h"
#include "obj/OBJModel.h"
#include "plugin/CallSupport.h"
#include "plugin/HostNumber.h"

using WavefrontOBJ::OBJModel;

OBJModel* gOBJModel = nullptr;

void KOBJRev01Priv::HelloWorldPriv(const char* text) {
  std::printf("%s\n", text != nullptr ? text : "");
}

void KOBJRev01::HelloWorld(const char* text) {
  std::make_unique<KOBJRev01Priv>()->HelloWorldPriv(text);
}

namespace {

void freeModel() {
  delete gOBJModel;
  gOBJModel = nullptr;
}

std::uint32_t groupCount() {
  return static_cast<std::uint32_t>(gOBJModel->_groupNames.size());
}

/// An empty model; null when there is no memory for it.
OBJModel* newModel() {
  try {
    return new OBJModel(true);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

/// `OBJModel::read` with an allocation failure as one more reason for a failed read.
bool readModel(OBJModel& model, const char* path) {
  try {
    return model.read(path, false);
  } catch (const std::bad_alloc&) {
    // Short enough to need no memory of its own.
    model._errorMessage = "Out of memory.";
    return false;
  }
}

}  // namespace

// One digit behind the point is all that the answer has room for.
static_assert(KSMTH_VERSION_MINOR < 10);

KSMTH_CALL(Version) {
  return static_cast<float>(KSMTH_VERSION_MAJOR + KSMTH_VERSION_MINOR / 10.0);
}

KSMTH_CALL(LoadOBJFile) {
  freeModel();
  if (text == nullptr) return 0.0F;
  const float groups = guarded(block1, [&] {
    gOBJModel = newModel();
    if (gOBJModel == nullptr) return 0.0F;
    if (readModel(*gOBJModel, text)) return static_cast<float>(groupCount());
    if (!gOBJModel->_errorMessage.empty()) answer(block1, gOBJModel->_errorMessage);
    return -1.0F;
  });
  if (groups < 0.0F) freeModel();
  return groups;
}

KSMTH_CALL(FreeOBJModel) {
  freeModel();
  return 0.0F;
}

KSMTH_CALL(ReplaceOBJVertices) {
  if (gOBJModel == nullptr || text == nullptr || *text == '\0') return -1.0F;
  return guarded(block1, [&] {
    OBJModel other(true);
    if (!readModel(other, text)) return -2.0F;
    return gOBJModel->SwapVertices(other) ? 0.0F : -3.0F;
  });
}

KSMTH_CALL(GetOBJInfo) {
  if (gOBJModel == nullptr || text == nullptr) return 0.0F;
  const std::string_view key = text;
  if (key == "vertexCount") return static_cast<float>(gOBJModel->_vertices->count);
  if (key == "faceCount") return static_cast<float>(gOBJModel->_faces->count);
  if (key == "groupCount") return static_cast<float>(groupCount());
  if (key == "smoothGroupCount") return static_cast<float>(gOBJModel->_smoothingGroupCount);
  // Not -1 as elsewhere: fixed by the host's contract.
  return 0.0F;
}

KSMTH_CALL(GetOBJGroupInfo) {
  const std::uint32_t n = indexFromNumber(number);
  if (gOBJModel == nullptr || text == nullptr || !(number > 0.0) || n > groupCount()) return -1.0F;
  const std::string_view key = text;
  return guarded(block1, [&] {
    if (key == "name") {
      if (block1 == nullptr) return -2.0F;
      // A number in (0, 1) passes the range test and addresses no group.
      if (n == 0) return -1.0F;
      answer(block1, gOBJModel->_groupNames[n - 1]);
      return 0.0F;
    }
    if (key == "vertexCount") {
      std::uint32_t start = 0;
      return static_cast<float>(gOBJModel->GetGroupVertexRange(n - 1, start));
    }
    return -1.0F;
  });
}

KSMTH_CALL(GetOBJSmoothGroupInfo) {
  if (gOBJModel == nullptr || text == nullptr) return -1.0F;
  const std::string_view key = text;
  const std::uint32_t count = gOBJModel->_smoothingGroupCount;
  if (key == "count") return static_cast<float>(count);
  if (key != "value" || !(number > 0.0)) return -1.0F;
  // A number in (0, 1) wraps round to an index that no table has.
  const std::uint32_t i = indexFromNumber(number) - 1;
  if (i > count) return -1.0F;
  // One past the end answers 0: fixed by the host's contract.
  return i == count ? 0.0F : static_cast<float>(gOBJModel->_smoothingGroups[i]);
}

KSMTH_CALL(ExportOBJGroup) {
  const std::uint32_t n = indexFromNumber(number);
  if (gOBJModel == nullptr || text == nullptr || n > groupCount()) return -1.0F;
  return guarded(block1, [&] {
    if (n == 0) return status(gOBJModel->write(text, true, nullptr));
    if (!(number > 0.0)) return -1.0F;
    return status(gOBJModel->WriteGroup(text, n - 1, nullptr));
  });
}

KSMTH_CALL(ExportOBJSmoothGroup) {
  const std::uint32_t n = indexFromNumber(number);
  if (gOBJModel == nullptr || text == nullptr || !(number > 0.0)) return -1.0F;
  const std::uint32_t count = gOBJModel->_smoothingGroupCount;
  if (n > count) return -1.0F;
  // A number in (0, 1) stands for the faces outside every smoothing group: fixed by the host's contract.
  const std::uint32_t group = n - 1 < count ? gOBJModel->_smoothingGroups[n - 1] : 0;
  return guarded(block1, [&] { return status(gOBJModel->WriteSmoothingGroup(text, group, nullptr)); });
}
