// The plug-in calls, the classes and the C interface with every call of the system failing in turn: the
// answer is the contract's, nothing leaks, files are whole, and the same call on the same objects succeeds
// afterwards.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "Faults.h"
#include "c/KSmthGrp.h"
#include "document/Borders.h"
#include "document/Companions.h"
#include "document/Diff.h"
#include "document/DocumentWriter.h"
#include "document/Fix.h"
#include "document/Lint.h"
#include "document/Materials.h"
#include "document/Merge.h"
#include "document/MeshArrays.h"
#include "document/Output.h"
#include "document/Replace.h"
#include "document/SelectionPatterns.h"
#include "document/Split.h"
#include "host/HostMesh.h"
#include "image/BitMap.h"
#include "image/PSDFile.h"
#include "obj/OBJModel.h"
#include "plugin/CallLimits.h"
#include "plugin/PluginCall.h"

namespace {

using namespace WavefrontOBJ;
namespace fs = std::filesystem;

std::string sFolder;

/// Paths that are there already where calls fail.
const std::string& pathOf(const char* folder, const char* name) {
  static std::map<std::pair<std::string_view, std::string_view>, std::string> paths;
  std::string& path = paths[{folder, name}];
  if (path.empty()) path = sFolder + folder + name;
  return path;
}
const std::string& in(const char* name) {
  return pathOf("/in/", name);
}
const std::string& out(const char* name) {
  return pathOf("/out/", name);
}
std::string content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Which call fails, and how.
struct Plan {
  FaultKind kind = kMemory;
  long nth = -1;  ///< negative: none
  int error = 0;
  bool forGood = false;
};
Plan sPlan;
long sCalls = 0;
std::string sExpected;  ///< empty: this try tells
std::string sAgain;     ///< what came of the same once more, without a fault

struct Faulty {
  explicit Faulty(const Plan& plan) { faults_arm(plan.kind, plan.nth, plan.error, plan.forGood ? 1 : 0); }
  ~Faulty() { sCalls = faults_disarm(); }
};

/// What `tell` makes of the answer of `call`, in which alone calls fail. Failures begin with "!"; after one
/// the same is tried again. `prepare` puts in place what a try needs.
template <class Prepare, class Call, class Tell>
std::string tried(Prepare prepare, Call call, Tell tell) {
  const auto once = [&](const Plan& plan) -> std::string {
    prepare();
    try {
      decltype(call()) answer = [&] {
        const Faulty faulty(plan);
        return call();
      }();
      return tell(answer);
    } catch (const std::bad_alloc&) {
      return "!bad_alloc";
    }
  };
  std::string first = once(sPlan);
  sAgain = first.starts_with('!') ? once({}) : first;
  return first;
}
template <class Call, class Tell>
std::string tried(Call call, Tell tell) {
  return tried([] {}, call, tell);
}
std::string told(const Result& result) {
  return result ? "ok" : "!" + std::to_string(static_cast<int>(result.status)) + " " + result.text;
}
std::string told(KSmthStatus status) {
  if (status == KSMTH_OK) return "ok";
  char reason[512];
  ksmth_error_text(reason, sizeof reason);
  return "!" + std::to_string(status) + " " + reason;
}
std::string toldOf(float answer, const std::string& state) {
  return (answer < 0 ? "!" : "") + std::to_string(static_cast<int>(answer)) + " " + state;
}

// ---- plug-in calls ----

std::string modelState() {
  if (gOBJModel == nullptr) return "none";
  const OBJModel& model = *gOBJModel;
  return std::to_string(model._groupNames.size()) + " groups " + std::to_string(model._faces->count) +
         " faces " + std::to_string(std::lround((*model._vertices)[0].x)) + " " +
         std::to_string(model._materials.size());
}
void load() {
  if (gOBJModel == nullptr) call(LoadOBJFile, in("m.obj").c_str());
}
void freeModel() {
  call(FreeOBJModel, nullptr);
}
std::string callLoad() {
  char text[4096] = "";
  std::string result =
      tried([&] { text[0] = '\0'; }, [&] { return call(LoadOBJFile, in("m.obj").c_str(), 0, text); },
            [&](float answer) {
              if (answer == 0.0F) return std::string("!0 none");
              return toldOf(answer, (answer < 0 ? text + std::string(" ") : "") + modelState());
            });
  freeModel();
  return result;
}
/// One call on a loaded model.
template <class Call>
std::string onModel(Call work, const std::function<std::string()>& more = {}) {
  std::string result =
      tried(load, work, [&](float answer) { return toldOf(answer, modelState() + (more ? more() : "")); });
  freeModel();
  return result;
}
std::string callReplace() {
  return onModel([] { return call(ReplaceOBJVertices, in("p.obj").c_str()); });
}
std::string callExport(double group) {
  return onModel([=] { return call(ExportOBJGroup, out("old").c_str(), group); },
                 [] { return gOBJModel == nullptr ? "" : content(out("old")); });
}
std::string callExportSmoothing() {
  return onModel([] { return call(ExportOBJSmoothGroup, out("old").c_str(), 1); },
                 [] { return gOBJModel == nullptr ? "" : content(out("old")); });
}
std::string callMark(decltype(&Version) function, const char* key) {
  host::HostMesh mesh(5, 4);
  return onModel([&] { return call(function, mesh, key, 1); },
                 [&] { return " " + std::to_string(mesh.creases(0)) + std::to_string(mesh.creases(1)); });
}
std::string callQueries() {
  char text[256] = "";
  return onModel([&] {
    return call(GetOBJGroupInfo, "vertexCount", 1) + call(GetOBJSmoothGroupInfo, "count") +
           call(GetOBJInfo, "groupCount") + call(GetOBJGroupInfo, "name", 2, text);
  });
}
std::string callFolder() {
  char name[256] = "";
  return tried([&] { return call(OpenFolder, in("").c_str()); },
               [&](float answer) {
                 const float entry = call(GetFile, nullptr, 0, name);
                 call(CloseFolder, nullptr);
                 return toldOf(answer, std::to_string(static_cast<int>(entry)));
               });
}

// ---- the model's classes ----

std::string modelRead() {
  std::unique_ptr<OBJModel> model;
  return tried([&] { model = std::make_unique<OBJModel>(true); },
               [&] { return model->read(in("m.obj"), false); },
               [&](bool read) {
                 const std::string state =
                     std::to_string(model->_faces->count) + " " + std::to_string(model->_materials.size());
                 return (read ? state + " " : "!") + model->_errorMessage;
               });
}
/// The same of a file that is large enough for threads. A read error behind the first block ends the text.
std::string modelReadOnThreads() {
  KSmthGrpImpt_SetThreads(4);
  std::unique_ptr<OBJModel> model;
  std::string result = tried([&] { model = std::make_unique<OBJModel>(true); },
                             [&] { return model->read(in("pieces.obj"), false); },
                             [&](bool read) {
                               const std::uint32_t faces = model->_faces->count;
                               if (!read) return "!" + model->_errorMessage;
                               if (faces < 30'002) return std::string("less");
                               return std::to_string(model->_groups["part7"].size()) + " " +
                                      std::to_string(model->_faces->geometry(faces - 1).center.x);
                             });
  KSmthGrpImpt_SetThreads(0);
  return result;
}
std::string modelReadBytes() {
  const std::string text = content(in("m.obj"));
  std::unique_ptr<OBJModel> model;
  return tried([&] { model = std::make_unique<OBJModel>(true); },
               [&] { return model->readBytes(text, in("m.obj"), false); },
               [&](bool read) {
                 const std::string state =
                     std::to_string(model->_faces->count) + " " + std::to_string(model->_materials.size());
                 return (read ? state + " " : "!") + model->_errorMessage;
               });
}
std::string modelWrite() {
  OBJModel model(true);
  model.read(in("m.obj"), false);
  std::string text;
  return tried([&] { text.clear(); },
               [&] {
                 return model.write(
                     [&](std::string_view part) {
                       text += part;
                       return true;
                     },
                     false, "m.mtl");
               },
               [&](bool written) { return written ? text : "!"; });
}
std::string modelExtract() {
  OBJModel model(true);
  model.read(in("m.obj"), false);
  return tried([&] { return model.ExtractGroup(0); },
               [&](const std::unique_ptr<OBJModel>& part) {
                 return part == nullptr ? "!" : std::to_string(part->_faces->count);
               });
}
std::string modelSwap() {
  OBJModel model(true), other(true);
  model.read(in("m.obj"), false);
  other.read(in("p.obj"), false);
  return tried(
      [&] { return model.SwapVertices(other) && model.IsSubsetOf(model); },
      [&](bool done) { return std::string(done ? "" : "!") + std::to_string((*model._vertices)[3].z); });
}
std::string modelLinks() {
  OBJModel model(true);
  model.read(in("m.obj"), false);
  return tried([&] { return model.LinkVertsToFaces(); },
               [&](bool done) { return done ? std::to_string(model.GetVertToFaceCount(1)) : "!"; });
}
/// Both arrays at 4 to a block, past the first.
std::string arrays() {
  OBJVectorArray vectors(4);
  OBJFaceArray faces(4);
  return tried(
      [&] {
        while (vectors.count < 9 && vectors.push_back({1, 2, 3})) {
        }
        while (faces.count < 9 && faces.push_back(gNullFace)) {
        }
        return vectors.count + faces.count;
      },
      [&](std::uint32_t count) { return count == 18 ? std::to_string(vectors[8].z) : "!"; });
}

// ---- bitmaps and Photoshop documents ----

struct Picture : ABitMap {
  Picture() { Allocate(6, 4, 32), std::memset(buffer, 77, static_cast<std::size_t>(BufferBytes())); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  ~Picture() { Free(); }
  std::string text() const {
    return std::to_string(width) + "x" + std::to_string(height) + ":" +
           (buffer == nullptr
                ? "-"
                : std::string(reinterpret_cast<const char*>(buffer), std::size_t(BufferBytes())));
  }
};
/// `work` on a picture; a failure that leaves it as it was tells so.
template <class Work>
std::string onPicture(Work work) {
  Picture picture;
  const std::string before = picture.text();
  return tried(
      [&] { return work(picture); },
      [&](std::int32_t answer) {
        return answer == 0 ? picture.text() : picture.text() == before ? "!as it was" : "!" + picture.text();
      });
}
std::string loadPSD() {
  return onPicture([](Picture& picture) { return picture.LoadPSD(in("l.psd").c_str(), true); });
}
std::string loadPSDLayer() {
  return onPicture([](Picture& picture) { return picture.LoadPSDLayer(in("l.psd").c_str(), 0, false); });
}
std::string savePSD() {
  return onPicture([](Picture& picture) { return picture.SavePSD(out("old").c_str(), true); }) +
         content(out("old"));
}
std::string saveLayers() {
  return onPicture([](Picture& picture) {
           const ABitMap* const layers[] = {&picture, &picture};
           return SavePSDMultiLayered(out("old").c_str(), layers, 2, &picture, nullptr, 0);
         }) +
         content(out("old"));
}
std::string halfSize() {
  Picture half;
  return onPicture([&](Picture& picture) { return picture.CreateHalfSizeBitMap(half); }) + half.text();
}
std::string unpadded() {
  Picture from;
  return onPicture([&](Picture& picture) { return picture.CreateUnpaddedFrom(from); });
}
/// A host's bitmap of 6 x 4 pixels, all in one 4 GiB window.
const ABMap* hostMap() {
  struct Records {
    ABMap map;
    ABMapPixels holder;
    unsigned char pixels[96];
  };
  alignas(4096) static unsigned char memory[4096];
  auto& host = *reinterpret_cast<Records*>(memory);
  const auto point = [](void* field, const void* target) {
    const auto bits = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(target));
    std::memcpy(field, &bits, sizeof bits);
  };
  point(&host.map.pixels, &host.holder);
  point(&host.holder.buffer, host.pixels);
  host.map.width = 6;
  host.map.height = 4;
  host.map.depth = 32;
  return &host.map;
}
std::string fromHosts(std::int32_t (ABitMap::*create)(const ABMap*)) {
  return onPicture([&](Picture& picture) { return (picture.*create)(hostMap()); });
}
std::string allocate() {
  return onPicture([](Picture& picture) {
    picture.Free();
    return picture.Allocate(6, 4, 32) != nullptr ? std::memset(picture.buffer, 7, 96), 0 : -1;
  });
}
std::string alphaOfBuffer() {
  const std::vector<unsigned char> alpha(17, 0);
  return onPicture(
      [&](Picture& picture) { return picture.ReadAlphaFromBuffer(alpha.data(), 17, 6, 4, 0, 0, 3, 5); });
}
std::string crop() {
  return onPicture([](Picture& picture) {
    picture.Paint(0, 0, 0, 2, 4);
    return picture.CropRGBASides(1) < 0 ? -1 : 0;
  });
}
std::string alphaOfPieces() {
  return onPicture([](Picture& picture) {
    FileSpec* const file = Sys_FileOpen(in("f.psd").c_str(), false);
    PSDHeader header = {};
    std::int32_t done = PSDFileReadHeader(file, &header);
    for (int i = 0; i < 2 && done != 0; ++i) done = PSDFileSkipSection(file);
    if (done != 0) {
      done = PSDFileSkipCompChannelsAndGetAlpha(file, 5, 3, header.channels, header.channels - 1, &picture);
    }
    Sys_FileClose(file, false);
    return done != 0 ? 0 : -1;
  });
}
std::string wholeFile() {
  std::int32_t size = 0;
  return tried(
      [&] {
        return std::unique_ptr<void, void (*)(void*)>(LoadFromFile(in("m.mtl").c_str(), &size), std::free);
      },
      [&](const auto& block) {
        return block ? std::string(static_cast<const char*>(block.get()), 10) : "!";
      });
}

// ---- documents ----

std::unique_ptr<OBJDocument> documentOf(const char* name) {
  auto document = std::make_unique<OBJDocument>();
  static_cast<void>(document->read(in(name)));
  return document;
}
std::string documentRead() {
  OBJDocument document;
  return tried([&] { return document.read(in("m.obj")); },
               [&](const Result& result) { return told(result) + std::to_string(document.faces().size()); });
}
/// The same on threads, by pieces that are as small.
std::string documentReadOnThreads() {
  OBJDocument document;
  DocumentReadOptions options;
  options.threads = 4;
  options.threadBytes = 0;
  options.windowBytes = 16;
  return tried([&] { return document.read(in("m.obj"), options); },
               [&](const Result& result) { return told(result) + std::to_string(document.faces().size()); });
}
/// What `work` puts into an output.
template <class Work>
std::string toOutput(Work work) {
  return tried(
      [&] {
        Output output(out("old"));
        Result result = output.open();
        if (result) result = work(output);
        return result ? output.commit() : result;
      },
      [](const Result& result) { return result ? content(out("old")) : told(result); });
}
std::string documentWrite() {
  const auto document = documentOf("m.obj");
  return toOutput([&](Sink& sink) {
    return DocumentWriter(*document).write(select(*document, {{0}, {}, {}, {}}), {}, sink);
  });
}
std::string documentFix() {
  const auto document = documentOf("bad.obj");
  FixReport report;
  return toOutput([&](Sink& sink) { return fix(*document, {}, sink, report = FixReport()); });
}
std::string documentReplace() {
  const auto document = documentOf("m.obj"), positions = documentOf("p.obj");
  return toOutput([&](Sink& sink) { return writeWithPositions(*document, *positions, {}, sink); });
}
std::string documentMerge() {
  const auto first = documentOf("m.obj"), second = documentOf("p.obj");
  const OBJDocument* const both[] = {first.get(), second.get()};
  return toOutput([&](Sink& sink) { return merge(both, {}, sink); });
}
std::string documentSplit() {
  const auto document = documentOf("m.obj");
  return tried(
      [&] {
        DocumentSplit split(*document, Division::group);
        std::vector<std::unique_ptr<Output>> outputs;
        for (std::size_t i = 0; i < split.partCount(); ++i) {
          outputs.push_back(std::make_unique<Output>(out("part") + std::to_string(i)));
          Result result = split.writePart(i, {}, *outputs.back());
          if (result) result = outputs.back()->finish();
          if (!result) return result;
        }
        return Output::commitAll(outputs);
      },
      [](const Result& result) {
        return result ? content(out("part0")) + content(out("part1")) : told(result);
      });
}
std::string documentDiff() {
  const auto first = documentOf("m.obj"), second = documentOf("p.obj");
  DocumentDifference difference;
  return tried(
      [&] { return diff(*first, *second, difference = DocumentDifference()); },
      [&](const Result& result) { return told(result) + std::to_string(result ? difference.moved : 0); });
}
std::string documentLint() {
  const auto document = documentOf("bad.obj");
  Findings findings;
  return tried([&] { return lint(*document, {}, findings = Findings()); },
               [&](const Result& result) {
                 const auto missing = findings.count(FindingKind::libraryUnreadable);
                 return told(result) +
                        std::to_string(result ? findings.count(FindingKind::unusedVertices) : 0) +
                        (missing > 0 ? " without its library" : "");
               });
}
std::string documentCompanions() {
  const auto document = documentOf("m.obj");
  const std::string folder = out("");
  Companions companions;
  return tried([&] { companions = {}; },
               [&] {
                 std::vector<std::unique_ptr<Output>> outputs;
                 Result result = planCompanions(*document, folder, true, companions);
                 if (result) result = makeCopies(companions, outputs);
                 return result ? Output::commitAll(outputs) : result;
               },
               [&](const Result& result) {
                 if (result && !companions.warnings.empty()) return "warned: " + companions.warnings[0];
                 return result ? content(out("m.mtl")) + content(out("red.png")) : told(result);
               });
}
std::string documentPatterns() {
  const auto document = documentOf("m.obj");
  SelectionPatterns patterns;
  patterns.groups = {"long_name*", "1-2"};
  patterns.smoothing = {"0-9"};
  return tried(
      [&] {
        Selection selection;
        return resolve(*document, patterns, selection)
                   ? 0
                   : selection.groups.size() + smoothingNumbers(*document).size();
      },
      [](std::size_t count) { return std::to_string(count); });
}
std::string documentBorders() {
  const auto document = documentOf("m.obj");
  const std::vector<std::uint32_t> faces{0};
  return tried(
      [&] {
        const FaceEdges edges(*document);
        return borderOf(edges, faces, true).edges.size() + maskOf(*document, faces, 9).size() +
               smoothingBorders(edges).edges.size();
      },
      [](std::size_t sum) { return std::to_string(sum); });
}
std::string documentArrays() {
  const auto document = documentOf("m.obj");
  std::vector<float> positions;
  static_cast<void>(document->positions(positions));
  const std::vector<std::int32_t> starts{0, 3}, vertices{0, 1, 2};
  MeshArrays mesh;
  mesh.positions = std::span<const float>(positions);
  mesh.faceStarts = starts;
  mesh.faceVertices = vertices;
  return toOutput([&](Sink& sink) { return writeArrays(mesh, sink); });
}
std::string documentLines() {
  const auto document = documentOf("m.obj");
  std::vector<float> positions;
  std::uint64_t number = 0;
  std::string text;
  const std::uint64_t place = document->vectorOffsets(VectorKind::position)[1];
  return tried(
      [&] {
        Result result = document->positions(positions);
        if (result) result = document->lineNumber(place, number);
        return result ? document->lineText(place, text) : result;
      },
      [&](const Result& result) { return result ? std::to_string(number) + text : told(result); });
}

std::string documentValues() {
  OBJDocument document;
  static_cast<void>(document.readBytes("v 1 2 3 .25 .5 1\nv 4 5 6 2\nvt .5 1\n", "bytes"));
  std::vector<double> textures;
  std::vector<float> colours, weights;
  return tried(
      [&] {
        Result result = document.values(VectorKind::texture, 2, textures);
        if (result) result = document.vertexColours(colours);
        return result ? document.vertexWeights(weights) : result;
      },
      [&](const Result& result) {
        return result ? std::to_string(textures[0] + colours[1] + weights[1]) : told(result);
      });
}
std::string documentReadDescriptor() {
  OBJDocument document;
  const int file = open(in("m.obj").c_str(), O_RDONLY);
  std::string told_ =
      tried([&] { lseek(file, 0, SEEK_SET); }, [&] { return document.readDescriptor(file, "input"); },
            [&](const Result& result) { return told(result) + std::to_string(document.faces().size()); });
  close(file);
  return told_;
}
std::string materialLibrary() {
  MaterialLibrary library;
  return tried(
      [&] { return readMaterialLibrary(in("m.mtl"), library = {}); },
      [&](const Result& result) { return result ? std::to_string(library.materials.size()) : told(result); });
}

// ---- the C interface ----

std::string cDocument() {
  return tried(
      [&] {
        KSmthDocument *first = nullptr, *second = nullptr;
        const KSmthMembers* members = nullptr;
        const KSmthFinding* findings = nullptr;
        const KSmthDifference* difference = nullptr;
        const float* floats = nullptr;
        std::size_t count = 0;
        const auto to = [](const char* name) {
          return KSmthTarget{sizeof(KSmthTarget), out(name).c_str(), nullptr, nullptr};
        };
        const KSmthTarget fixed = to("fixed"), merged = to("merged"), replaced = to("replaced"),
                          written = to("old");
        KSmthStatus status = ksmth_document_open(in("m.obj").c_str(), nullptr, nullptr, &first);
        if (status == KSMTH_OK) status = ksmth_document_open(in("p.obj").c_str(), nullptr, nullptr, &second);
        if (status == KSMTH_OK) status = ksmth_document_members(first, KSMTH_GROUPS, KSMTH_FACES, &members);
        if (status == KSMTH_OK) status = ksmth_document_floats(first, KSMTH_POSITIONS, 3, &floats);
        if (status == KSMTH_OK) {
          status = ksmth_document_findings(first, KSMTH_LINT_NUMBERS | KSMTH_LINT_GEOMETRY, nullptr,
                                           &findings, &count);
        }
        if (status == KSMTH_OK) status = ksmth_diff(first, second, nullptr, &difference);
        ksmth_difference_free(difference);
        if (status == KSMTH_OK) status = ksmth_document_fix(first, nullptr, &fixed, nullptr, nullptr);
        const KSmthDocument* const both[] = {first, second};
        if (status == KSMTH_OK) status = ksmth_merge(both, 2, nullptr, &merged, nullptr, nullptr);
        if (status == KSMTH_OK)
          status = ksmth_document_replace(first, second, nullptr, &replaced, nullptr, nullptr);
        if (status == KSMTH_OK) {
          status = ksmth_document_replace_floats(first, floats,
                                                 ksmth_document_vector_count(first, KSMTH_POSITIONS), nullptr,
                                                 &replaced, nullptr, nullptr);
        }
        if (status == KSMTH_OK) {
          status = ksmth_document_write(first, nullptr, nullptr, &written, nullptr, nullptr);
        }
        ksmth_document_close(first);
        ksmth_document_close(second);
        return status;
      },
      [](KSmthStatus status) { return told(status) + (status == KSMTH_OK ? content(out("old")) : ""); });
}
std::string cLargeDocument() {
  ksmth_set_threads(4);
  const float* positions = nullptr;
  std::size_t count = 0;
  KSmthDocument* document = nullptr;
  std::string result = tried(
      [&] {
        ksmth_document_close(document);
        document = nullptr;
      },
      [&] {
        const KSmthTarget target{sizeof target, out("old").c_str(), nullptr, nullptr};
        KSmthStatus status = ksmth_document_open(in("large.obj").c_str(), nullptr, nullptr, &document);
        count = ksmth_document_vector_count(document, KSMTH_POSITIONS);
        if (status == KSMTH_OK) status = ksmth_document_floats(document, KSMTH_POSITIONS, 3, &positions);
        if (status == KSMTH_OK)
          status = ksmth_document_write(document, nullptr, nullptr, &target, nullptr, nullptr);
        return status;
      },
      [&](KSmthStatus status) {
        const std::string_view values(reinterpret_cast<const char*>(positions),
                                      3 * count * sizeof *positions);
        return told(status) + (status == KSMTH_OK ? std::string(values) + content(out("old")) : "");
      });
  ksmth_document_close(document);
  ksmth_set_threads(0);
  return result;
}
std::string cModel() {
  return tried(
      [&] {
        KSmthModel* model = nullptr;
        const KSmthModelFaces* faces = nullptr;
        const KSmthModelGroup* groups = nullptr;
        const KSmthMaterial* materials = nullptr;
        std::size_t count = 0;
        const KSmthTarget group{sizeof group, out("group").c_str(), nullptr, nullptr};
        const KSmthTarget target{sizeof target, out("old").c_str(), nullptr, nullptr};
        KSmthStatus status = ksmth_model_open(in("m.obj").c_str(), nullptr, nullptr, &model);
        if (status == KSMTH_OK) status = ksmth_model_faces(model, &faces);
        if (status == KSMTH_OK) status = ksmth_model_groups(model, &groups, &count);
        if (status == KSMTH_OK) status = ksmth_model_smoothing(model, &groups, &count);
        if (status == KSMTH_OK) status = ksmth_model_materials(model, &materials, &count);
        if (status == KSMTH_OK) status = ksmth_model_write_group(model, 0, nullptr, &group, nullptr);
        if (status == KSMTH_OK) status = ksmth_model_write_smoothing(model, 3, nullptr, &group, nullptr);
        if (status == KSMTH_OK)
          status = ksmth_model_write(model, 0, count > 0 ? "m.mtl" : "none", &target, nullptr);
        ksmth_model_close(model);
        return status;
      },
      [](KSmthStatus status) { return told(status) + (status == KSMTH_OK ? content(out("old")) : ""); });
}

// ---- all of them ----

struct Row {
  const char* name;
  std::function<std::string()> work;
  /// What failures begin with, without the "!"; a bar between them. Empty: any.
  const char* failures = "";
  /// Other successes by contract begin so.
  const char* others = nullptr;
  /// Writes straight into the file, by the host's contract, and passes over errors of writing.
  bool direct = false;
  /// Of a file that is large enough for threads, whose start alone fails.
  bool large = false;
};

const std::vector<Row>& rows() {
  static const std::vector<Row> all = {
      {"LoadOBJFile", callLoad, "0 none|-1 Out of memory. none|-1 ", "3 3 groups 2 faces 0 0"},
      {"ReplaceOBJVertices", callReplace, "-1 3 groups|-2 3 groups", nullptr},
      {"ExportOBJGroup, whole", [] { return callExport(0); }, "-1 ", nullptr, true},
      {"ExportOBJGroup", [] { return callExport(1); }, "-1 ", nullptr, true},
      {"ExportOBJSmoothGroup", callExportSmoothing, "-1 ", nullptr, true},
      {"crease a group", [] { return callMark(SetMesh3DFromOBJGroup, "crease"); },
       "-1 3 groups 2 faces 0 1 00"},
      {"crease a smoothing group", [] { return callMark(SetMesh3DFromOBJSmoothGroup, "crease"); },
       "-1 3 groups 2 faces 0 1 00"},
      {"mask a group", [] { return callMark(SetMesh3DFromOBJGroup, "mask"); }, "-1 3 groups 2 faces"},
      {"queries", callQueries},
      {"OpenFolder", callFolder, "-1 -1"},
      {"OBJModel::read", modelRead, "", "2 0 "},
      {"OBJModel::readBytes", modelReadBytes, "", "2 0 "},
      {"OBJModel::read on threads", modelReadOnThreads, "", "less"},
      {"OBJModel::write", modelWrite},
      {"OBJModel::ExtractGroup", modelExtract, "|"},
      {"OBJModel::SwapVertices", modelSwap},
      {"OBJModel::LinkVertsToFaces", modelLinks},
      {"arrays", arrays, "|"},
      {"LoadPSD", loadPSD, "as it was"},
      {"LoadPSDLayer", loadPSDLayer, "as it was"},
      {"SavePSD", savePSD, "as it was", "6x4", true},
      {"SavePSDMultiLayered", saveLayers, "as it was", nullptr, true},
      {"CreateHalfSizeBitMap", halfSize, "as it was"},
      {"CreateUnpaddedFrom", unpadded},
      {"CreateFromABMap", [] { return fromHosts(&ABitMap::CreateFromABMap); }, "6x4:-|0x0:-"},
      {"CreateFullFromABMap", [] { return fromHosts(&ABitMap::CreateFullFromABMap); }, "6x4:-|0x0:-"},
      {"Allocate", allocate, "6x4:-|0x0:-"},
      {"ReadAlphaFromBuffer", alphaOfBuffer, "6x4:-|0x0:-|5x3:-"},
      {"CropRGBASides", crop},
      {"alpha channel by pieces", alphaOfPieces, "as it was|6x4:-"},
      {"LoadFromFile", wholeFile, "|", nullptr, true},
      {"OBJDocument::read", documentRead},
      {"OBJDocument::read on threads", documentReadOnThreads},
      {"DocumentWriter", documentWrite},
      {"fix", documentFix},
      {"writeWithPositions", documentReplace},
      {"merge", documentMerge},
      {"DocumentSplit", documentSplit},
      {"diff", documentDiff},
      {"lint", documentLint, "", "ok1 without its library"},
      {"libraries and textures taken along", documentCompanions, "", "warned"},
      {"patterns", documentPatterns, "bad_alloc"},
      {"borders", documentBorders, "bad_alloc"},
      {"writeArrays", documentArrays},
      {"lines and positions", documentLines},
      {"values", documentValues},
      {"OBJDocument::readDescriptor", documentReadDescriptor},
      {"readMaterialLibrary", materialLibrary},
      {"C: documents", cDocument, "", "ok"},
      {"C: models", cModel, "", "ok"},
      {"C: a large document", cLargeDocument, "", nullptr, false, true}};
  return all;
}

bool beginsWithOne(std::string_view text, std::string_view list) {
  for (;;) {
    const std::size_t bar = list.find('|');
    if (text.starts_with(list.substr(0, bar))) return true;
    if (bar == std::string_view::npos) return false;
    list.remove_prefix(bar + 1);
  }
}

int descriptors() {
  int open = 0;
  for (int i = 0; i < 64; ++i) open += fcntl(i, F_GETFD) >= 0 ? 1 : 0;
  return open;
}

std::map<std::string, std::string> outputs() {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(sFolder + "/out"))
    files[entry.path().filename()] = content(entry.path());
  return files;
}

void resetOutputs() {
  fs::remove_all(sFolder + "/out");
  fs::create_directory(sFolder + "/out");
  std::ofstream(out("old")) << "old";
}

bool sFailed = false;  ///< the last try, as it should where a call fails

struct Totals {
  long tried = 0, failed = 0, found = 0;
};

/// One row with one plan. `answer` and `after` are what comes of it without a fault.
std::string wrongOf(const Row& row, const std::string& expected,
                    const std::map<std::string, std::string>& after) {
  resetOutputs();
  const long blocks = faults_blocks();
  const int open = descriptors();
  std::string answer;
  try {
    answer = row.work();
  } catch (const std::exception& error) {
    return std::string("exception: ") + error.what();
  }
  const std::string again = std::exchange(sAgain, {});
  answer.shrink_to_fit();
  std::string wrong;
  const bool failed = sFailed = answer.starts_with('!');
  if (failed && answer != "!bad_alloc" && !beginsWithOne(answer.substr(1), row.failures))
    wrong = "answers " + answer;
  if (failed && answer == "!bad_alloc" && *row.failures != '\0' && !beginsWithOne("bad_alloc", row.failures))
    wrong = "throws";
  if (failed && sPlan.kind == kThread) wrong = "needs a thread";
  if (!failed && answer != expected && !(row.others != nullptr && answer.starts_with(row.others))) {
    if (!row.direct || sPlan.kind == kMemory) wrong = "succeeds, with " + answer;
  }
  if (failed && again != expected.substr(0, again.size())) wrong = "afterwards " + again;
  for (const auto& [name, text] : outputs()) {
    const bool asItShould = text == "old" || row.direct || row.others != nullptr;
    if (!after.contains(name) || (!asItShould && after.at(name) != text)) wrong = "leaves " + name;
  }
  if (descriptors() != open) wrong = "leaves files open";
  if (wrong.empty()) {
    answer = {};
    if (const long more = faults_blocks() - blocks; more > 3)
      wrong = "leaks " + std::to_string(more) + " blocks";
  }
  return wrong.substr(0, 160);
}

Totals runRow(const Row& row, bool brief, std::mt19937& random) {
  struct How {
    FaultKind kind;
    std::vector<int> errors;
  };
  static const How hows[] = {{kMemory, {ENOMEM}},
                             {kOpen, {EACCES, EMFILE}},
                             {kRead, {EIO, EINTR, kShort}},
                             {kWrite, {ENOSPC, EINTR, kShort}},
                             {kSync, {EIO}},
                             {kRename, {EACCES}},
                             {kClose, {EIO}},
                             {kStat, {EIO}},
                             {kMap, {ENOMEM}},
                             {kFolder, {EACCES}},
                             {kThread, {EAGAIN}}};
  Totals totals;
  for (const auto& [kind, errors] : hows) {
    if (row.large && kind != kThread) continue;
    sPlan = {kind, -1, 0, false};
    resetOutputs();
    row.work();  // whatever is made once is made now
    resetOutputs();
    const std::string expected = row.work();
    const auto after = outputs();
    const long count = sCalls;
    if (row.large && count == 0) {
      std::printf("found: %s starts no threads\n", row.name);
      ++totals.found;
    }
    const long blocks = faults_blocks();
    for (const int error : errors) {
      for (const bool forGood : {false, true}) {
        const bool goesOn = error == kShort || error == EINTR;
        if (goesOn && forGood) continue;
        for (long nth = 0; nth < count; ++nth) {
          if (brief && count > 30 && random() % static_cast<unsigned long>(count) >= 30) continue;
          sPlan = {kind, nth, error, forGood};
          std::string wrong = wrongOf(row, expected, after);
          ++totals.tried;
          totals.failed += sFailed ? 1 : 0;
          if (wrong.empty()) continue;
          ++totals.found;
          std::printf("found: %s, kind %d, call %ld of %ld%s, error %d: %s\n", row.name, kind, nth, count,
                      forGood ? " and later" : "", error, wrong.c_str());
        }
      }
    }
    // A block at each failure is too few to be seen there.
    if (const long more = faults_blocks() - blocks; more > 3) {
      std::printf("found: %s, kind %d: leaks %ld blocks in all\n", row.name, kind, more);
      ++totals.found;
    }
  }
  return totals;
}

}  // namespace

/// faults_calls FOLDER [--brief [SEED]]: FOLDER has the inputs in "in".
int main(int argc, char** argv) {
  if (argc < 2) return 2;
  sFolder = argv[1];
  const bool brief = argc > 2;
  std::mt19937 random(argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 0);
  KSmthGrpImpt_SetAssertionAnswers(1);
  Totals all;
  for (const Row& row : rows()) {
    std::fflush(stdout);
    const Totals totals = runRow(row, brief, random);
    all.tried += totals.tried;
    all.failed += totals.failed;
    all.found += totals.found;
  }
  std::printf("%ld tried %ld failed %ld found\n", all.tried, all.failed, all.found);
  return all.found > 0 ? 1 : 0;
}
