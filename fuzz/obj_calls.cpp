// Fuzz target: OBJ and MTL text through the plug-in calls, and through the reader's two paths side by side.
// An input is the OBJ text, the line "%%MTL" and the text of "m.mtl", which the OBJ text may name.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "EveryPart.h"
#include "MeshChecks.h"
#include "ModelChecks.h"
#include "PluginCalls.h"
#include "Require.h"
#include "ScratchFolder.h"
#include "obj/OBJAssert.h"
#include "obj/internal/OBJReader.h"

namespace fuzz {

bool gEveryPart = false;

namespace {

using WavefrontOBJ::OBJModel;
using WavefrontOBJ::OBJReader;
using WavefrontOBJ::OBJReadOptions;

constexpr std::string_view kSeparator = "\n%%MTL\n";
/// Bytes read at a time where that is not what is tested: the default is large and would cost the most here.
constexpr std::size_t kSmallBlock = 4096;

/// Some failures end the process by contract. Here they end the call.
struct AssertionFailure {};

void throwAssertionFailure(const char*, const char*, int, const char*) {
  throw AssertionFailure();
}

struct Files {
  std::string obj;
  std::string mtl;
  std::string exported;

  Files() {
    const std::string& folder = scratchFolder();
    std::filesystem::create_directory(folder + "/in");
    std::filesystem::create_directory(folder + "/out");
    obj = folder + "/in/m.obj";
    mtl = folder + "/in/m.mtl";
    // Apart from the input, which could otherwise name it as a library.
    exported = folder + "/out/exported.obj";
  }
};

enum class Ending { complete, failed, assertion };

Ending read(OBJModel& model, const std::string& path, bool strict, const OBJReadOptions& options) {
  try {
    return OBJReader(model, path, strict, options).read() ? Ending::complete : Ending::failed;
  } catch (const AssertionFailure&) {
    return Ending::assertion;
  }
}

/// Threads of reads in tiny blocks. Replays have one: qemu-i386 hangs over so many short threads.
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
constexpr unsigned kThreads = 2;
#else
constexpr unsigned kThreads = 1;
#endif

/// Reads the file by the fast path, without it and in tiny blocks; all three must agree.
Ending readEveryWay(OBJModel& model, const std::string& path, bool strict, std::size_t blockBytes) {
  const Ending ending = read(model, path, strict, {true, kSmallBlock});
  requireSound(model);
  OBJModel exact(true);
  require(read(exact, path, strict, {false, kSmallBlock}) == ending, "the exact path ends as the fast path");
  requireEqual(model, exact);
  OBJModel inTinyBlocks(true);
  require(read(inTinyBlocks, path, strict, {true, blockBytes, kThreads}) == ending,
          "a read in tiny blocks ends as one in larger ones");
  requireEqual(model, inTinyBlocks);
  return ending;
}

/// A longer line comes back as two.
bool linesFit(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    if (length > WavefrontOBJ::kMaxLineCharacters) return false;
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return true;
}

/// An exported file without what depends on the materials, which exported files do not bring along.
std::string withoutMaterials(std::string_view text) {
  std::string rest;
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
    const std::string_view line = text.substr(0, length);
    if (!line.starts_with("usemtl ") && !line.starts_with("#Material Count ")) rest += line;
    text.remove_prefix(length);
  }
  return rest;
}

/// Loads the file as the current model. `expected` is what a direct read of it came to.
bool load(const std::string& path, const OBJModel& expected, Ending ending) {
  // Room for the text and not a byte more.
  std::vector<char> block(expected._errorMessage.size() + 1);
  const float answer = loadModel(path, block.data());
  if (ending == Ending::complete) {
    require(gOBJModel != nullptr && answer == static_cast<float>(expected._groupNames.size()),
            "a load answers the number of groups");
    requireEqual(*gOBJModel, expected);
    return true;
  }
  require(answer == -1.0F, "a load that fails answers -1");
  require(gOBJModel == nullptr, "a load that fails leaves no model");
  if (ending == Ending::failed) {
    require(
        std::equal(block.begin(), block.end() - 1, expected._errorMessage.begin()) && block.back() == '\0',
        "a load that fails says why");
  }
  return false;
}

constexpr double kOddNumbers[] = {0.0,
                                  -0.0,
                                  0.5,
                                  -0.5,
                                  -1.0,
                                  4294967297.0,
                                  -4294967295.0,
                                  1e300,
                                  -1e300,
                                  std::numeric_limits<double>::quiet_NaN(),
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity()};

void query() {
  const OBJModel& model = *gOBJModel;
  require(modelInfo("vertexCount") == static_cast<float>(model._vertices->count), "the vertex count");
  require(modelInfo("faceCount") == static_cast<float>(model._faces->count), "the face count");
  require(modelInfo("groupCount") == static_cast<float>(model._groupNames.size()), "the group count");
  require(modelInfo("smoothGroupCount") == static_cast<float>(model._smoothingGroupCount),
          "the smoothing group count");
  require(modelInfo("") == 0.0F, "no other counts");

  std::size_t longestName = 0;
  const std::size_t groups = model._groupNames.size();
  for (std::size_t i = 0; i < groups; ++i) longestName = std::max(longestName, model._groupNames[i].size());
  for (std::size_t i = 0; i < std::min<std::size_t>(groups, 64); ++i) {
    const std::string& name = model._groupNames[i];
    const auto number = static_cast<double>(i + 1);
    std::vector<char> block(name.size() + 1);
    require(groupInfo("name", number, block.data()) == 0.0F && block.data() == name, "a group's name");
    const float range = groupInfo("vertexCount", number, nullptr);
    require(range >= 0.0F && range <= 2.0F * static_cast<float>(model._vertices->count),
            "a group's vertex range is bounded");
  }
  std::vector<char> block(longestName + 1);
  for (const double number : kOddNumbers) {
    const float name = groupInfo("name", number, block.data());
    const float range = groupInfo("vertexCount", number, nullptr);
    smoothGroupInfo("value", number);
    const bool isIndex = number > 0.0 && std::isfinite(number);
    require(isIndex || (name == -1.0F && range == -1.0F), "no group for a number that is no index");
  }

  const auto smoothingGroups = static_cast<std::size_t>(smoothGroupInfo("count", 0.0));
  require(smoothingGroups == model._smoothingGroupCount, "the smoothing group count");
  for (std::size_t i = 0; i < smoothingGroups; ++i) {
    require(
        smoothGroupInfo("value", static_cast<double>(i + 1)) == static_cast<float>(model._smoothingGroups[i]),
        "a smoothing group's number");
  }
  const auto end = static_cast<double>(smoothingGroups);
  require(smoothGroupInfo("value", end + 1) == 0.0F && smoothGroupInfo("value", end + 2) == -1.0F,
          "the table ends with 0");
}

/// Requires that the exported part of the model comes back with these counts.
void requireReadable(const std::string& path, std::uint32_t vertices, std::size_t faces) {
  if (!linesFit(readFile(path))) return;
  OBJModel part(true);
  require(read(part, path, false, {true, kSmallBlock}) == Ending::complete, "an exported part can be read");
  require(part._vertices->count == vertices && part._faces->count == faces,
          "an exported part comes back whole");
}

void exportParts(const std::string& path) {
  const OBJModel& model = *gOBJModel;
  const auto groups = std::min<std::uint32_t>(static_cast<std::uint32_t>(model._groupNames.size()), 2);
  for (std::uint32_t i = 0; i < groups; ++i) {
    std::uint32_t start = 0;
    const std::uint32_t range = model.GetGroupVertexRange(i, start);
    require((exportGroup(path, i + 1) == 0.0F) == (range != 0), "a group with a vertex range is exported");
    if (range != 0) requireReadable(path, range, model.getGroupElements(model._groupNames[i]).size());
    requireSoundExtract(model, i);
  }
  // 0.5 stands for the faces outside every smoothing group.
  for (const double number : {0.5, 1.0}) {
    if (number == 1.0 && model._smoothingGroupCount == 0) break;
    const std::uint32_t value = number == 1.0 ? model._smoothingGroups[0] : 0;
    std::uint32_t start = 0;
    const std::uint32_t range = model.GetSmoothingGroupVertexRange(value, start);
    require((exportSmoothGroup(path, number) == 0.0F) == (range != 0),
            "a smoothing group with a vertex range is exported");
    if (range != 0) requireReadable(path, range, model.GetSmoothingGroupFaceCount(value));
  }
  for (const double number : kOddNumbers) {
    // These write the whole model or the smoothing group above.
    if (number > -1.0 && number < 1.0) continue;
    exportGroup(path, number);
    exportSmoothGroup(path, number);
  }
}

/// Exports the whole model and brings the file back in, first its vertices, then as the current model. The
/// exported text must come out the same each time.
void exportWhole(const std::string& path) {
  const OBJModel& model = *gOBJModel;
  const std::uint32_t vertices = model._vertices->count;
  const std::uint32_t faces = model._faces->count;
  // Texture coordinates are written in the place of normals, as many as there are normals.
  const WavefrontOBJ::OBJVectorArray& textures = *model._textureCoords;
  const bool enoughTextures = model._normals->count <= textures.blocks.size() * textures.blockSize;
  require((exportGroup(path, 0.0) == 0.0F) == enoughTextures, "the whole model is exported");
  if (!enoughTextures) return;

  const std::string text = readFile(path);
  const bool fits = linesFit(text);
  const bool readable = indicesExist(model);
  // A number between 0 and 1 is no group but stands for the whole model, too.
  require(exportGroup(path, 0.5) == 0.0F && readFile(path) == text, "the whole model is exported again");
  const float replaced = replaceVertices(path);
  if (!fits) return;
  require(replaced == (readable ? 0.0F : -2.0F), "vertices come back from an export");
  if (!readable) return;
  require(exportGroup(path, 0.0) == 0.0F && readFile(path) == text, "coordinates come back as written");

  require(loadModel(path, nullptr) >= 0.0F && gOBJModel != nullptr, "an export can be loaded");
  require(gOBJModel->_vertices->count == vertices && gOBJModel->_faces->count == faces,
          "an export comes back whole");
  require(exportGroup(path, 0.0) == 0.0F, "an export can be exported");
  require(withoutMaterials(readFile(path)) == withoutMaterials(text), "an export comes back as written");
}

void runOne(const Files& files, std::string_view input) {
  const std::size_t separator = input.find(kSeparator);
  const std::string_view obj = input.substr(0, separator);
  const std::string_view mtl =
      separator == std::string_view::npos ? std::string_view() : input.substr(separator + kSeparator.size());
  writeFile(files.obj, obj);
  static std::optional<std::string> written;
  if (written != mtl) {
    writeFile(files.mtl, mtl);
    written = mtl;
  }
  // As many are needed to fill the smoothing table, upon which the library leaves a log.
  std::optional<InScratchFolder> inScratchFolder;
  if (std::count(input.begin(), input.end(), 's') + std::count(input.begin(), input.end(), 'S') >
      std::ptrdiff_t{WavefrontOBJ::kMaxSmoothingGroups}) {
    inScratchFolder.emplace();
  }

  // What the input does besides being read: a part of it, chosen by the input, for the sake of speed.
  const unsigned sum = std::accumulate(input.begin(), input.end(), 0U, [](unsigned total, char c) {
    return total + static_cast<unsigned char>(c);
  });
  const std::size_t blockBytes = 1 + sum % 40;
  const auto chosen = [sum](unsigned part) { return gEveryPart || sum % 4 == part; };
  if (chosen(0)) {
    OBJModel strict(true);
    readEveryWay(strict, files.obj, true, blockBytes);
  }
  OBJModel direct(true);
  const Ending ending = readEveryWay(direct, files.obj, false, blockBytes);
  if (chosen(1) && load(files.obj, direct, ending)) {
    query();
    exportParts(files.exported);
  }
  if (chosen(2) && load(files.obj, direct, ending)) {
    require(replaceVertices(files.obj) == 0.0F, "the vertices of the same file fit");
    exportWhole(files.exported);
  }
  if (chosen(3) && load(files.obj, direct, ending)) requireMarksAsReference();
  freeModel();
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto* const files = new fuzz::Files;
  static const auto previous = OBJSetAssertionHandler(fuzz::throwAssertionFailure);
  static_cast<void>(previous);
  if (size == 0) return 0;
  fuzz::runOne(*files, std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}
