#include <algorithm>
#include <deque>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "obj/OBJAssert.h"
#include "obj/OBJModel.h"
#include "obj/text/FormatNumber.h"
#include "obj/text/TextSink.h"

namespace WavefrontOBJ {
namespace {

constexpr std::string_view kMakerLine = "# https://talvex.example/ksmthgrpimpt";

/// Where a text goes: a file, with the assertion that fails where it cannot be opened, or a sink.
struct Target {
  Target(const std::string& path_, const char* function_, int assertionLine_)
      : path(&path_), function(function_), assertionLine(assertionLine_) {}
  explicit Target(const OBJByteSink& sink_) : sink(&sink_) {}

  const std::string* path = nullptr;
  const char* function = nullptr;
  int assertionLine = 0;
  const OBJByteSink* sink = nullptr;
};

/// Writes the lines of one text. Numbers and line forms are fixed to the byte by the host's contract,
/// trailing spaces included.
class OBJLineWriter {
 public:
  OBJLineWriter(const OBJModel& model, const Target& target)
      : model_(model), out_(target.sink != nullptr ? OBJTextSink(*target.sink) : OBJTextSink(*target.path)) {
    if (target.sink == nullptr && !out_.isOpen()) {
      OBJAssertionFailed(target.function, "OBJModel", target.assertionLine,
                         "!\"Couldn't write to .OBJ file '\"");
    }
  }

  void header(const std::string& text) { out_.text(text); }
  /// Hands over what is left.
  void finish() { out_.flush(); }

  /// `index`, for an element of `array`. Where its block is missing and the array will fail its assertion,
  /// which ends the process, the lines before are in the file by then.
  template <class Array>
  std::uint32_t checked(const Array& array, std::uint32_t index) {
    if (!array.hasBlock(index)) out_.flush();
    return index;
  }

  /// "v", "vt" or "vn" with three components, each followed by a space.
  void vector(std::string_view keyword, const OBJVector& vector) {
    char* text = out_.room(8 + 3 * (kMaxNumberText + 1));
    text = std::copy(keyword.begin(), keyword.end(), text);
    for (const float component : {vector.x, vector.y, vector.z}) {
      text = formatCoordinate(text, component);
      *text++ = ' ';
    }
    *text++ = '\n';
    out_.written(text);
  }

  void positions(std::uint32_t start, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) vector("v ", model_._vertices->elementOrZero(start + i));
  }

  void group(std::string_view name) {
    out_.text("g ");
    out_.text(name);
    out_.character('\n');
  }
  void group(std::uint32_t number) {
    out_.text("g ");
    out_.written(formatUnsigned(out_.room(kMaxNumberText), number));
    out_.character('\n');
  }
  /// The next face with a material gets a material line.
  void resetMaterial() { material_ = -1; }

  /// What the numbers of a face's corners are.
  enum class Corners : std::uint8_t { complete, positionsOnly };

  /// A face, its vertex numbers counted from `start`, with a material line before it where that changes.
  void face(const OBJFaceView& face, Corners corners, std::uint32_t start = 0) {
    material(face.materialIndex);
    const bool texture = face.hasTexture && corners == Corners::complete;
    const bool normal = face.hasNormal && corners == Corners::complete;
    out_.character('f');
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      char* text = out_.room(3 * (kMaxNumberText + 1));
      *text++ = ' ';
      text = formatUnsigned(text, face.vertexIndex[i] - start + 1);
      if (texture) {
        *text++ = '/';
        text = formatUnsigned(text, face.textureIndex[i] + 1);
      }
      if (normal) {
        *text++ = '/';
        if (!texture) *text++ = '/';
        text = formatUnsigned(text, face.normalIndex[i] + 1);
      }
      out_.written(text);
    }
    out_.text(face.vertexCount == 0 ? " \n" : "\n");
  }
  /// The faces of a list, in its order.
  void faces(const OBJElementList& list, Corners corners, std::uint32_t start = 0) {
    for (const std::uint32_t index : list) {
      face(model_._faces->view(checked(*model_._faces, index)), corners, start);
    }
  }

 private:
  /// A face without a material, or with one that the model does not have, writes no line: there is none that
  /// would switch a material off.
  void material(std::int32_t index) {
    if (index == material_) return;
    material_ = index;
    if (index < 0 || static_cast<std::size_t>(index) >= model_._materials.size()) return;
    out_.text("usemtl ");
    out_.text(model_._materials[static_cast<std::size_t>(index)].name);
    out_.character('\n');
  }

  const OBJModel& model_;
  OBJTextSink out_;
  std::int32_t material_ = -1;
};

std::string headerText(const OBJModel& model, const char* mtlName, std::uint32_t vertexCount,
                       std::uint32_t faceCount) {
  std::string text = "# File Created by KFileUtils for Talvex\n";
  text += kMakerLine;
  text += "\n#Vertex Count " + std::to_string(vertexCount != 0 ? vertexCount : model._vertices->count);
  text += "\n#Face Count " + std::to_string(faceCount != 0 ? faceCount : model._faces->count);
  text += "\n#Material Count " + std::to_string(model._materials.size()) + "\n";
  if (mtlName != nullptr && *mtlName != '\0') text += std::string("mtllib ") + mtlName + "\n";
  return text;
}

/// Which groups list the faces, for questions in face order. All of them together take time linear in the
/// faces and the lengths of the group lists. A group is its position in `OBJModel::_groupNames`.
class GroupsInFaceOrder {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  explicit GroupsInFaceOrder(const OBJModel& model) : first_(model._faces->count, kNone) {
    lists_.reserve(model._groupNames.size());
    for (const std::string& name : model._groupNames) {
      const OBJElementList& list = model._groups.at(name);
      for (const std::uint32_t face : list) {
        if (face >= first_.size() || first_[face] != kNone) continue;
        first_[face] = static_cast<std::uint32_t>(lists_.size());
      }
      if (std::is_sorted(list.begin(), list.end())) {
        lists_.push_back({list.begin(), list.end()});
      } else {
        std::vector<std::uint32_t> faces(list.begin(), list.end());
        std::sort(faces.begin(), faces.end());
        OBJElementList& sorted = sorted_.emplace_back();
        for (const std::uint32_t face : faces) sorted.addFace(face);
        lists_.push_back({sorted.begin(), sorted.end()});
      }
    }
  }

  /// The first group, in the order of the names, that lists the face; `kNone` if none does.
  std::uint32_t first(std::uint32_t face) const { return first_[face]; }
  /// True if the group lists the face, which is not before that of an earlier question.
  bool contains(std::uint32_t face, std::uint32_t group) {
    Rest& rest = lists_[group];
    while (rest.begin != rest.end && *rest.begin < face) ++rest.begin;
    return rest.begin != rest.end && *rest.begin == face;
  }

 private:
  /// What has not been passed of a list in ascending order.
  struct Rest {
    OBJElementList::const_iterator begin;
    OBJElementList::const_iterator end;
  };

  std::vector<std::uint32_t> first_;
  std::vector<Rest> lists_;
  std::deque<OBJElementList> sorted_;  ///< of lists that are not in ascending order
};

/// Writes every face once, in order, with a group line wherever the group changes. A face stays with the
/// group of the face before it as long as that group lists it.
void writeFaceOrder(OBJModel& model, OBJLineWriter& out) {
  static const std::string kDefault = "default";
  constexpr std::uint32_t kNone = GroupsInFaceOrder::kNone;
  const std::vector<std::string>& names = model._groupNames;
  GroupsInFaceOrder groups(model);
  // Faces outside every group go by the name "default", which may be that of a group as well.
  const auto found = std::find(names.begin(), names.end(), kDefault);
  const std::uint32_t fallback =
      found == names.end() ? kNone : static_cast<std::uint32_t>(found - names.begin());
  const auto groupOf = [&](std::uint32_t face) {
    const std::uint32_t first = groups.first(face);
    return first == kNone ? fallback : first;
  };
  const auto nameOf = [&](std::uint32_t group) { return group < names.size() ? names[group] : kDefault; };

  std::uint32_t current = model._faces->count > 0 ? groupOf(0) : fallback;
  out.group(nameOf(current));
  model._faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
    // Without a group "default" the question gives the model an empty one, which stays.
    const bool stays =
        current == kNone ? model.IsFaceInGroup(index, kDefault) : groups.contains(index, current);
    const std::uint32_t group = stays ? current : groupOf(index);
    if (group != current) {
      current = group;
      out.group(nameOf(current));
    }
    out.face(face, OBJLineWriter::Corners::complete);
  });
}

// What writes one kind of text. False where the sink ends it as well.

bool writeModel(OBJModel& model, const Target& target, bool byFaceOrder, const char* mtlName) try {
  OBJLineWriter out(model, target);
  out.header(headerText(model, mtlName, 0, 0));
  out.positions(0, model._vertices->count);
  const OBJVectorArray& textures = *model._textureCoords;
  for (std::uint32_t i = 0; i < textures.count; ++i) out.vector("vt ", textures[i]);
  // Texture coordinates under the normals' keyword: fixed by the host's contract. Past the last texture
  // coordinate this meets the array's own assertion.
  for (std::uint32_t i = 0; i < model._normals->count; ++i) {
    out.vector("vn ", textures[out.checked(textures, i)]);
  }
  if (byFaceOrder) {
    writeFaceOrder(model, out);
  } else {
    for (const std::string& name : model._groupNames) {
      out.group(name);
      out.resetMaterial();
      out.faces(model._groups.at(name), OBJLineWriter::Corners::complete);
    }
  }
  out.finish();
  return true;
} catch (const OBJTextSink::Stopped&) {
  return false;
}

bool writeGroup(const OBJModel& model, const Target& target, std::uint32_t group, const char* mtlName) try {
  std::uint32_t start = 0;
  const std::uint32_t count = model.GetGroupVertexRange(group, start);
  if (count == 0) return false;
  OBJLineWriter out(model, target);
  const std::string& name = model._groupNames[group];
  const OBJElementList& faces = model._groups.at(name);
  out.header(headerText(model, mtlName, count, static_cast<std::uint32_t>(faces.size())));
  out.positions(start, count);
  out.group(name);
  out.faces(faces, OBJLineWriter::Corners::positionsOnly, start);
  out.finish();
  return true;
} catch (const OBJTextSink::Stopped&) {
  return false;
}

bool writeSmoothingGroup(const OBJModel& model, const Target& target, std::uint32_t number,
                         const char* mtlName) try {
  std::uint32_t start = 0;
  const std::uint32_t count = model.GetSmoothingGroupVertexRange(number, start);
  const std::uint32_t faceCount = model.GetSmoothingGroupFaceCount(number);
  if (count == 0 || faceCount == 0) return false;
  OBJLineWriter out(model, target);
  out.header(headerText(model, mtlName, count, faceCount));
  out.positions(start, count);
  // A "g" line, not an "s" line: the host is to see the smoothing group as a named group.
  out.group(number);
  model._faces->forEachFace([&](std::uint32_t, const OBJFaceView& face) {
    if (face.smoothingGroup == number) out.face(face, OBJLineWriter::Corners::positionsOnly, start);
  });
  out.finish();
  return true;
} catch (const OBJTextSink::Stopped&) {
  return false;
}

}  // namespace

void OBJModel::WriteHeader(std::ostream& stream, const char* mtlName, std::uint32_t vertexCount,
                           std::uint32_t faceCount) const {
  stream << headerText(*this, mtlName, vertexCount, faceCount) << std::flush;
}

bool OBJModel::write(std::string path, bool byFaceOrder, const char* mtlName) {
  return writeModel(*this, Target(path, "write", 244), byFaceOrder, mtlName);
}

bool OBJModel::write(const OBJByteSink& sink, bool byFaceOrder, const char* mtlName) {
  return writeModel(*this, Target(sink), byFaceOrder, mtlName);
}

bool OBJModel::WriteGroup(std::string path, std::uint32_t group, const char* mtlName) const {
  return writeGroup(*this, Target(path, "WriteGroup", 420), group, mtlName);
}

bool OBJModel::WriteGroup(const OBJByteSink& sink, std::uint32_t group, const char* mtlName) const {
  return writeGroup(*this, Target(sink), group, mtlName);
}

bool OBJModel::WriteSmoothingGroup(std::string path, std::uint32_t number, const char* mtlName) const {
  return writeSmoothingGroup(*this, Target(path, "WriteSmoothingGroup", 541), number, mtlName);
}

bool OBJModel::WriteSmoothingGroup(const OBJByteSink& sink, std::uint32_t number, const char* mtlName) const {
  return writeSmoothingGroup(*this, Target(sink), number, mtlName);
}

}  // namespace WavefrontOBJ
