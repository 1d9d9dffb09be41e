#include "document/MeshArrays.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <new>
#include <string_view>
#include <unordered_set>

#include "document/DocumentWriterRun.h"
#include "document/TextKind.h"
#include "document/VectorLines.h"
#include "obj/text/FormatNumber.h"
#include "obj/text/TokenStream.h"

namespace WavefrontOBJ {
namespace {

/// Characters of the shortest text of a double, at most.
constexpr std::size_t kLongestNumber = 32;

std::size_t sizeOf(const NumberRows& numbers) {
  return std::visit([](const auto& span) { return span.size(); }, numbers);
}

std::string at(const char* name, std::size_t index) {
  return std::string(name) + "[" + std::to_string(index) + "]";
}

std::string problemOfNumbers(const char* name, const NumberRows& numbers, std::size_t width) {
  if (sizeOf(numbers) % width != 0) {
    return std::string(name) + ": rows of " + std::to_string(width) + " numbers are wanted";
  }
  return std::visit(
      [&](const auto& span) {
        const auto bad =
            std::find_if(span.begin(), span.end(), [](auto value) { return !std::isfinite(value); });
        if (bad == span.end()) return std::string();
        return at(name, static_cast<std::size_t>(bad - span.begin()) / width) + ": is not finite";
      },
      numbers);
}

/// Of indices from `least` to below `count`; of as many as `size` unless there are none and that is allowed.
std::string problemOfIndices(const char* name, std::span<const std::int32_t> indices, std::size_t size,
                             std::int32_t least, std::size_t count, bool mayMiss) {
  if (mayMiss && indices.empty()) return {};
  if (indices.size() != size) {
    return std::string(name) + ": has " + std::to_string(indices.size()) + " entries where there are " +
           std::to_string(size);
  }
  const auto limit = static_cast<std::int64_t>(count);
  const auto bad = std::find_if(indices.begin(), indices.end(),
                                [&](std::int32_t index) { return index < least || index >= limit; });
  if (bad == indices.end()) return {};
  return at(name, static_cast<std::size_t>(bad - indices.begin())) + ": index " + std::to_string(*bad) +
         " where there are " + std::to_string(count);
}

std::string problemOfStarts(std::span<const std::int32_t> starts, std::size_t corners) {
  if (starts.empty()) return corners == 0 ? "" : "face_starts: is empty";
  if (starts.front() != 0) return "face_starts[0]: is not 0";
  for (std::size_t i = 1; i < starts.size(); ++i) {
    if (std::int64_t{starts[i]} - starts[i - 1] < 3)
      return at("face_starts", i) + ": face of fewer than three corners";
  }
  if (static_cast<std::size_t>(starts.back()) == corners) return {};
  return "face_starts: ends at " + std::to_string(starts.back()) + " where there are " +
         std::to_string(corners) + " corners";
}

/// One word, or one line, of text.
std::string cleaned(std::string_view name, bool oneWord) {
  std::string text(name);
  for (char& c : text) {
    if (isControl(c) || (isSpace(c) && (oneWord || c != ' '))) c = '_';
  }
  // It would continue the line.
  if (oneWord && text.ends_with('\\')) text.back() = '_';
  return text;
}

/// One write.
class ArrayWriter {
 public:
  ArrayWriter(const MeshArrays& mesh, Sink& sink, const Progress& progress)
      : mesh_(mesh),
        out_(sink),
        progress_(progress),
        faces_(mesh.faceStarts.empty() ? 0 : mesh.faceStarts.size() - 1) {}

  Result write(WriteCounts* counts) {
    for (const std::string& comment : mesh_.comments) {
      out_.text("# ");
      out_.endLine(cleaned(comment, false));
    }
    for (const std::string& library : mesh_.libraries) writeNamed("mtllib", library);
    const std::size_t numbers = sizeOf(mesh_.positions) + sizeOf(mesh_.textures) + sizeOf(mesh_.normals);
    total_ = numbers / 3 + faces_;
    listGroups();
    const bool done = writeRows("v", mesh_.positions, 3, mesh_.colours) &&
                      writeRows("vt", mesh_.textures, 2, {}) && writeRows("vn", mesh_.normals, 3, {}) &&
                      writeFaces() && writeLines();
    if (!done) return failure_;
    out_.flush();
    if (counts != nullptr) {
      counts->vectors = {static_cast<std::uint32_t>(sizeOf(mesh_.positions) / 3),
                         static_cast<std::uint32_t>(sizeOf(mesh_.textures) / 2),
                         static_cast<std::uint32_t>(sizeOf(mesh_.normals) / 3)};
      counts->elements = {static_cast<std::uint32_t>(faces_),
                          static_cast<std::uint32_t>(mesh_.lines.size() / 2)};
      counts->bytes = out_.bytes();
    }
    return out_.result();
  }

 private:
  bool advance() {
    if (done_++ % kProgressLines != 0) return true;
    failure_ = out_.result();
    if (failure_ && progress_ &&
        !progress_(static_cast<double>(done_) / static_cast<double>(std::max(total_, done_)))) {
      failure_ = {Status::cancelled, "cancelled"};
    }
    return static_cast<bool>(failure_);
  }

  void writeNamed(std::string_view keyword, std::string_view name) {
    out_.text(keyword);
    if (!name.empty()) out_.character(' ');
    out_.endLine(cleaned(name, false));
  }

  void writeNumbers(const NumberRows& numbers, std::size_t first, std::size_t count) {
    std::visit(
        [&](const auto& span) {
          char* text = out_.reserve(count * kLongestNumber);
          for (std::size_t i = first; i < first + count; ++i) {
            *text++ = ' ';
            text = std::to_chars(text, text + kLongestNumber, span[i]).ptr;
          }
          out_.advanceTo(text);
        },
        numbers);
  }

  bool writeRows(std::string_view keyword, const NumberRows& numbers, std::size_t width,
                 const NumberRows& behind) {
    const bool more = sizeOf(behind) > 0;
    for (std::size_t row = 0; row < sizeOf(numbers) / width; ++row) {
      if (!advance()) return false;
      out_.text(keyword);
      writeNumbers(numbers, row * width, width);
      if (more) writeNumbers(behind, row * 3, 3);
      out_.character('\n');
    }
    return true;
  }

  /// The groups of each face, as compressed rows.
  void listGroups() {
    names_ = writtenGroupNames(mesh_);
    groupBegins_.assign(faces_ + 1, 0);
    for (const MeshArrays::Group& group : mesh_.groups) {
      for (const std::int32_t face : group.faces) ++groupBegins_[static_cast<std::size_t>(face) + 1];
    }
    for (std::size_t i = 1; i < groupBegins_.size(); ++i) groupBegins_[i] += groupBegins_[i - 1];
    groupsOfFaces_.resize(groupBegins_.back());
    std::vector<std::size_t> next(groupBegins_.begin(), groupBegins_.end() - 1);
    for (std::uint32_t g = 0; g < mesh_.groups.size(); ++g) {
      for (const std::int32_t face : mesh_.groups[g].faces)
        groupsOfFaces_[next[static_cast<std::size_t>(face)]++] = g;
    }
  }

  std::span<const std::uint32_t> groupsOf(std::size_t face) const {
    return std::span(groupsOfFaces_).subspan(groupBegins_[face], groupBegins_[face + 1] - groupBegins_[face]);
  }

  void writeGroups(std::size_t face) {
    const std::span<const std::uint32_t> groups = groupsOf(face);
    if (std::ranges::equal(groups, inForce_)) return;
    inForce_ = groups;
    out_.character('g');
    std::uint32_t last = 0xFFFFFFFFU;
    for (const std::uint32_t group : groups) {
      // A face may be listed twice.
      if (group == last) continue;
      last = group;
      out_.character(' ');
      out_.text(names_[group]);
    }
    out_.endLine(groups.empty() ? " default" : "");
  }

  void writeIndex(char*& text, std::int32_t index) {
    text = formatUnsigned(text, static_cast<std::uint32_t>(index) + 1);
  }

  bool writeFaces() {
    constexpr std::size_t kCornerBytes = 3 * kMaxNumberText + 4;
    std::int32_t object = kNoIndex;
    std::int32_t material = kNoIndex;
    std::int64_t smoothing = 0;
    // Says what is in force where that has changed.
    const auto writeState = [&](std::size_t face) {
      const auto writeName = [&](const char* keyword, std::span<const std::int32_t> rows, const auto& names,
                                 std::int32_t& last) {
        if (rows.empty() || rows[face] == last) return;
        last = rows[face];
        writeNamed(keyword, last == kNoIndex ? std::string_view() : names[static_cast<std::size_t>(last)]);
      };
      writeName("o", mesh_.faceObject, mesh_.objects, object);
      writeGroups(face);
      if (!mesh_.faceSmoothing.empty() && mesh_.faceSmoothing[face] != smoothing) {
        smoothing = mesh_.faceSmoothing[face];
        out_.text("s ");
        out_.endLine(smoothing == 0 ? "off" : std::to_string(smoothing));
      }
      writeName("usemtl", mesh_.faceMaterial, mesh_.materials, material);
    };
    for (std::size_t face = 0; face < faces_; ++face) {
      if (!advance()) return false;
      writeState(face);
      out_.character('f');
      for (auto c = static_cast<std::size_t>(mesh_.faceStarts[face]);
           c < static_cast<std::size_t>(mesh_.faceStarts[face + 1]); ++c) {
        char* text = out_.reserve(kCornerBytes);
        const std::int32_t texture = mesh_.faceTextures.empty() ? kNoIndex : mesh_.faceTextures[c];
        const std::int32_t normal = mesh_.faceNormals.empty() ? kNoIndex : mesh_.faceNormals[c];
        *text++ = ' ';
        writeIndex(text, mesh_.faceVertices[c]);
        if (texture != kNoIndex || normal != kNoIndex) *text++ = '/';
        if (texture != kNoIndex) writeIndex(text, texture);
        if (normal != kNoIndex) {
          *text++ = '/';
          writeIndex(text, normal);
        }
        out_.advanceTo(text);
      }
      out_.character('\n');
    }
    return true;
  }

  bool writeLines() {
    for (std::size_t i = 0; i < mesh_.lines.size(); i += 2) {
      if (!advance()) return false;
      char* text = out_.reserve(2 * kMaxNumberText + 4);
      *text++ = 'l';
      for (std::size_t end = i; end < i + 2; ++end) {
        *text++ = ' ';
        writeIndex(text, mesh_.lines[end]);
      }
      *text++ = '\n';
      out_.advanceTo(text);
    }
    return true;
  }

  const MeshArrays& mesh_;
  SinkBuffer out_;
  const Progress& progress_;
  Result failure_;
  std::size_t faces_;
  std::uint64_t done_ = 0;
  std::uint64_t total_ = 0;
  std::vector<std::string> names_;
  std::vector<std::size_t> groupBegins_;
  std::vector<std::uint32_t> groupsOfFaces_;
  std::span<const std::uint32_t> inForce_;
};

}  // namespace

std::string problemOf(const MeshArrays& mesh) {
  const std::size_t vertices = sizeOf(mesh.positions) / 3;
  const std::size_t corners = mesh.faceVertices.size();
  const std::size_t faces = mesh.faceStarts.empty() ? 0 : mesh.faceStarts.size() - 1;
  std::string problem;
  const auto check = [&problem](std::string found) {
    if (problem.empty()) problem = std::move(found);
  };
  check(problemOfNumbers("positions", mesh.positions, 3));
  check(problemOfNumbers("texcoords", mesh.textures, 2));
  check(problemOfNumbers("normals", mesh.normals, 3));
  check(problemOfNumbers("colors", mesh.colours, 3));
  if (const std::size_t colours = sizeOf(mesh.colours); colours > 0 && colours != vertices * 3) {
    check("colors: there are " + std::to_string(colours / 3) + " for " + std::to_string(vertices) +
          " vertices");
  }
  check(problemOfStarts(mesh.faceStarts, corners));
  check(problemOfIndices("face_vertices", mesh.faceVertices, corners, 0, vertices, false));
  check(problemOfIndices("face_texcoords", mesh.faceTextures, corners, kNoIndex, sizeOf(mesh.textures) / 2,
                         true));
  check(
      problemOfIndices("face_normals", mesh.faceNormals, corners, kNoIndex, sizeOf(mesh.normals) / 3, true));
  check(problemOfIndices("lines", mesh.lines, mesh.lines.size() / 2 * 2, 0, vertices, true));
  check(problemOfIndices("face_material", mesh.faceMaterial, faces, kNoIndex, mesh.materials.size(), true));
  check(problemOfIndices("face_object", mesh.faceObject, faces, kNoIndex, mesh.objects.size(), true));
  for (const MeshArrays::Group& group : mesh.groups) {
    check(problemOfIndices(("groups[" + group.name + "]").c_str(), group.faces, group.faces.size(), 0, faces,
                           true));
  }
  if (!mesh.faceSmoothing.empty() && mesh.faceSmoothing.size() != faces) {
    check("smoothing: has " + std::to_string(mesh.faceSmoothing.size()) + " entries where there are " +
          std::to_string(faces) + " faces");
  }
  const auto negative =
      std::find_if(mesh.faceSmoothing.begin(), mesh.faceSmoothing.end(), [](auto n) { return n < 0; });
  if (negative != mesh.faceSmoothing.end()) {
    check(at("smoothing", static_cast<std::size_t>(negative - mesh.faceSmoothing.begin())) + ": is negative");
  }
  return problem;
}

std::vector<std::string> writtenGroupNames(const MeshArrays& mesh) {
  std::vector<std::string> names;
  std::unordered_set<std::string> taken;
  // Names that are written as they are keep them, wherever they stand.
  for (const MeshArrays::Group& group : mesh.groups) {
    names.push_back(cleaned(group.name, true));
    if (names.back() == group.name) taken.insert(group.name);
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    std::string& name = names[i];
    if (!name.empty() && name == mesh.groups[i].name) continue;
    const std::string stem = name.empty() ? "group" : name;
    name = stem;
    for (std::size_t n = 2; !taken.insert(name).second; ++n) name = stem + "_" + std::to_string(n);
  }
  return names;
}

Result writeArrays(const MeshArrays& mesh, Sink& sink, WriteCounts* counts, const Progress& progress) {
  try {
    if (std::string problem = problemOf(mesh); !problem.empty())
      return {Status::writeFailed, std::move(problem)};
    return ArrayWriter(mesh, sink, progress).write(counts);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, "out of memory"};
  }
}

}  // namespace WavefrontOBJ
