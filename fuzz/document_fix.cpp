// The input as a document, fixed: what comes out is not changed by another fix, and the host reads it whole
// and sees the document's positions in faces without a vertex that comes twice.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "EveryPart.h"
#include "Require.h"
#include "ScratchFolder.h"
#include "document/Fix.h"
#include "document/TextKind.h"
#include "obj/OBJModel.h"

// An input is small work: every part is always done.
bool fuzz::gEveryPart = true;

namespace {

using fuzz::require;
using namespace WavefrontOBJ;

std::string fixed(const OBJDocument& document, const FixOptions& options, FixReport& report) {
  StringSink sink;
  require(static_cast<bool>(fix(document, options, sink, report)), "bytes in memory can be fixed");
  return sink.text;
}

void requireSameInHost(const OBJDocument& document, const std::string& text, const FixReport& report) {
  const fuzz::InScratchFolder inFolder;
  const std::string path = fuzz::scratchFolder() + "/fixed.obj";
  fuzz::writeFile(path, text);
  OBJModel model(true);
  require(model.read(path, false), "the host reads what was fixed");
  require(model._vertices->count == document.vectorCount(VectorKind::position) &&
              model._textureCoords->count == document.vectorCount(VectorKind::texture) &&
              model._normals->count == document.vectorCount(VectorKind::normal),
          "the host has all vertex lines");
  std::vector<float> positions;
  require(static_cast<bool>(document.positions(positions)), "positions can be read");
  for (std::uint32_t i = 0; i < model._vertices->count; ++i) {
    const OBJVector& read = (*model._vertices)[i];
    const float values[3] = {read.x, read.y, read.z};
    for (std::size_t k = 0; k < 3; ++k) {
      const float value = positions[3 * i + k];
      const bool same =
          values[k] == value || !std::isfinite(value) || report.count(FixKind::numberWithComma) > 0;
      require(same && std::isfinite(values[k]), "the host has the document's positions");
    }
  }
  const bool uncut = report.count(FixKind::manyCorners) + report.count(FixKind::longElement) +
                         report.count(FixKind::vertexMetAgain) + report.count(FixKind::flatFace) ==
                     0;
  require(!uncut || model._faces->count == document.faces().size(), "the host has all faces");
  std::vector<std::uint32_t> corners;
  for (std::uint32_t i = 0; i < model._faces->count; ++i) {
    const OBJFaceView face = model._faces->view(i);
    corners.clear();
    for (std::uint32_t c = 0; c < face.vertexCount; ++c) corners.push_back(face.vertexIndex[c]);
    std::sort(corners.begin(), corners.end());
    require(corners.size() >= 3, "faces have three corners");
    require(std::adjacent_find(corners.begin(), corners.end()) == corners.end(), "no vertex comes twice");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  OBJDocument document;
  if (!document.readBytes({reinterpret_cast<const char*>(data), size}, "input")) return 0;
  FixOptions options;
  options.objects = size % 2 == 0;
  options.oneName = size % 3 == 0;
  FixReport report;
  const std::string once = fixed(document, options, report);
  // Control characters of odd names may weigh more in what is left.
  if (textKindOf(once) != TextKind::text) return 0;
  OBJDocument back;
  require(static_cast<bool>(back.readBytes(once, "fixed")), "what was fixed can be read");
  FixReport second;
  require(fixed(back, options, second) == once, "what was fixed stays as it is");
  require(second.count(FixEffect::rewritten) + second.count(FixEffect::leftOut) == 0,
          "nothing is left to fix");
  requireSameInHost(document, once, report);
  return 0;
}
