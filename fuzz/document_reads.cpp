// The input as a document: however it is read, and when what was written is read again, it is the same; no
// index leads out of its table; what is asked of it is answered or refused. Behind the line "%%MTL" may stand
// the text of "m.mtl", which the document may name.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "EveryPart.h"
#include "Require.h"
#include "ScratchFolder.h"
#include "document/DocumentWriter.h"
#include "document/Lint.h"
#include "document/Materials.h"
#include "document/OBJDocument.h"
#include "document/Selection.h"
#include "document/TextKind.h"

// An input is small work: every part is always done.
bool fuzz::gEveryPart = true;

namespace {

using fuzz::require;
using namespace WavefrontOBJ;

constexpr ElementKind kElements[] = {ElementKind::face, ElementKind::line, ElementKind::point};
constexpr VectorKind kVectors[] = {VectorKind::position, VectorKind::texture, VectorKind::normal,
                                   VectorKind::parameter};

void requireSound(const OBJDocument& document) {
  for (const ElementKind kind : kElements) {
    const ElementTable& table = document.elements(kind);
    const auto inRange = [&](std::span<const std::int32_t> column, VectorKind vector, std::int32_t least) {
      const std::int64_t count = document.vectorCount(vector);
      require(std::ranges::all_of(column, [&](std::int32_t i) { return i >= least && i < count; }),
              "indices in range");
      require(column.empty() || column.size() == table.cornerTotal(), "columns of one length");
    };
    inRange(table.vertexColumn(), VectorKind::position, 0);
    inRange(table.textureColumn(), VectorKind::texture, kNoIndex);
    inRange(table.normalColumn(), VectorKind::normal, kNoIndex);
    require(std::ranges::is_sorted(table.offsets()), "elements in the file's order");
    require(table.size() == 0 || (table.runs().size() > 0 && table.runs()[0].first == 0),
            "a state from the begin");
  }
}

/// `sameText`: both are reads of one text, so that places agree, too.
void requireEqual(const OBJDocument& a, const OBJDocument& b, bool sameText) {
  for (const VectorKind kind : kVectors)
    require(a.vectorCount(kind) == b.vectorCount(kind), "as many vertex lines");
  require(a.statements().size() == b.statements().size(), "as many statements");
  for (const ElementKind kind : kElements) {
    const ElementTable& x = a.elements(kind);
    const ElementTable& y = b.elements(kind);
    require(std::ranges::equal(x.vertexColumn(), y.vertexColumn()) &&
                std::ranges::equal(x.rowStarts(), y.rowStarts()),
            "the same elements");
    if (!sameText) continue;
    require(std::ranges::equal(x.offsets(), y.offsets()), "elements at the same places");
    require(std::ranges::equal(x.textureColumn(), y.textureColumn()) &&
                std::ranges::equal(x.normalColumn(), y.normalColumn()),
            "the same texture coordinates and normals");
  }
  if (!sameText) return;
  require(std::ranges::equal(a.states(), b.states()), "the same states");
  for (std::size_t k = 0; k < kFindingKindCount; ++k) {
    const auto kind = static_cast<FindingKind>(k);
    require(a.findings().count(kind) == b.findings().count(kind), "the same findings");
  }
}

std::string textOf(const OBJDocument& document, const ElementLists& lists) {
  StringSink sink;
  DocumentWriter writer(document);
  require(static_cast<bool>(writer.write(lists, {}, sink)), "bytes in memory can be written");
  return sink.text;
}

/// What is read of the library lies in it, and asking twice is answered twice alike.
void requireLibraries(const OBJDocument& document, std::string_view mtl) {
  fuzz::writeFile(fuzz::scratchFolder() + "/m.mtl", mtl);
  require(libraryPaths(document).size() == document.libraries().size(), "a path for each library");
  MaterialLibrary library;
  const Result read = readMaterialLibrary(fuzz::scratchFolder() + "/m.mtl", library);
  require(read || read.status == Status::notText, "a library of text can be read");
  const auto exists = [&](std::size_t material) {
    return material == MaterialLibrary::kNo || material < library.materials.size();
  };
  for (const MaterialLibrary::Texture& texture : library.textures) {
    require(exists(texture.material) && !texturePath(library, texture).empty(), "textures are of materials");
  }
  for (const MaterialLibrary::Value& value : library.values) {
    require(exists(value.material), "numbers are of materials");
  }
  Findings first, second;
  require(static_cast<bool>(lint(document, {}, first)) && static_cast<bool>(lint(document, {}, second)),
          "libraries can be looked through");
  for (std::size_t k = 0; k < kFindingKindCount; ++k) {
    const auto kind = static_cast<FindingKind>(k);
    require(first.count(kind) == second.count(kind), "the same findings");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::string_view kSeparator = "\n%%MTL\n";
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t separator = input.find(kSeparator);
  const std::string text(input.substr(0, separator));
  OBJDocument document;
  const Result result = document.readBytes(text, fuzz::scratchFolder() + "/input.obj");
  if (!result) {
    require(result.status == Status::notText, "text can be read");
    return 0;
  }
  requireSound(document);
  if (separator != std::string_view::npos) {
    requireLibraries(document, input.substr(separator + kSeparator.size()));
  }
  DocumentReadOptions options;
  options.fastPath = false;
  for (const std::size_t windowBytes : {std::size_t{4096}, 1 + size % 13, 1 + size % 61}) {
    options.windowBytes = windowBytes;
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    // One thread, one thread, three. Replays have one: qemu-i386 hangs over so many short threads.
    options.threads = windowBytes == 1 + size % 61 ? 3 : 1;
#else
    options.threads = 1;
#endif
    options.threadBytes = 0;
    OBJDocument other;
    require(static_cast<bool>(other.readBytes(text, "input", options)), "every way of reading succeeds");
    requireEqual(document, other, true);
    options.fastPath = true;
  }
  const std::string whole = textOf(document, ElementLists::all());
  // Control characters of damaged lines may weigh more in what is left.
  if (textKindOf(whole) != TextKind::text) return 0;
  OBJDocument back;
  require(static_cast<bool>(back.readBytes(whole, "written")), "what was written can be read");
  requireSound(back);
  requireEqual(document, back, false);
  require(textOf(back, ElementLists::all()) == whole, "what was written is written again");
  if (!document.groups().empty()) {
    const ElementLists part = select(document, {{0}, {}, {}, {}});
    const std::string partText = textOf(document, part);
    if (textKindOf(partText) != TextKind::text) return 0;
    OBJDocument partBack;
    require(static_cast<bool>(partBack.readBytes(partText, "part")), "a part can be read");
    require(partBack.faces().size() == part.faces.size() && partBack.lines().size() == part.lines.size(),
            "a part has its elements");
  }
  Findings findings;
  LintOptions lintOptions;
  lintOptions.materials = false;
  require(static_cast<bool>(lint(document, lintOptions, findings)), "bytes in memory can be looked through");
  std::vector<float> values;
  require(static_cast<bool>(document.positions(values)) &&
              values.size() == 3 * document.vectorCount(VectorKind::position),
          "a position for each vertex");
  return 0;
}
