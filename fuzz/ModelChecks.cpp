#include "ModelChecks.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "Require.h"

namespace fuzz {
namespace {

using WavefrontOBJ::OBJElementList;
using WavefrontOBJ::OBJFace;
using WavefrontOBJ::OBJFaceGeometry;
using WavefrontOBJ::OBJFaceView;
using WavefrontOBJ::OBJMaterial;
using WavefrontOBJ::OBJModel;
using WavefrontOBJ::OBJReadNote;
using WavefrontOBJ::OBJVector;
using WavefrontOBJ::OBJVectorArray;

/// Equality of the bits: NaNs with the same bits are equal, 0 and -0 are not.
template <class T>
bool sameBits(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

void requireEqual(const OBJVectorArray& a, const OBJVectorArray& b) {
  require(a.count == b.count && a.lastBlock == b.lastBlock, "as many vectors");
  for (std::uint32_t i = 0; i < a.count; ++i) require(sameBits(a[i], b[i]), "the same vectors");
}

bool sameIndices(const WavefrontOBJ::OBJCornerIndices& a, const WavefrontOBJ::OBJCornerIndices& b,
                 std::uint32_t count) {
  bool same = a.isStored() == b.isStored();
  for (std::uint32_t i = 0; i < count; ++i) same = same && a[i] == b[i];
  return same;
}

void requireEqual(const OBJFaceView& a, const OBJFaceView& b) {
  require(a.vertexCount == b.vertexCount && a.hasTexture == b.hasTexture && a.hasNormal == b.hasNormal,
          "faces of the same kind");
  require(a.smoothingGroup == b.smoothingGroup && a.materialIndex == b.materialIndex,
          "the same smoothing groups and materials of faces");
  require(sameIndices(a.vertexIndex, b.vertexIndex, a.vertexCount), "the same vertices of faces");
  require(sameIndices(a.textureIndex, b.textureIndex, a.vertexCount), "the same texture indices");
  require(sameIndices(a.normalIndex, b.normalIndex, a.vertexCount), "the same normal indices");
}

void requireEqualGeometry(const OBJFaceGeometry& a, const OBJFaceGeometry& b) {
  require(sameBits(a.normal, b.normal) && sameBits(a.center, b.center), "the same face normals and centres");
}

void requireEqual(const OBJElementList& a, const OBJElementList& b) {
  require(a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin()), "the same face lists");
}

void requireEqual(const OBJMaterial& a, const OBJMaterial& b) {
  require(a.name == b.name && a.map_Kd == b.map_Kd && a.map_Ks == b.map_Ks && a.map_Ka == b.map_Ka &&
              a.map_bump == b.map_bump && a.map_d == b.map_d,
          "the same names in materials");
  require(sameBits(a.Kd, b.Kd) && sameBits(a.Ka, b.Ka) && sameBits(a.Ks, b.Ks), "the same colours");
  require(sameBits(a.Ns, b.Ns) && sameBits(a.d, b.d) && sameBits(a.Ni, b.Ni) && sameBits(a.illum, b.illum),
          "the same numbers in materials");
}

template <class List>
void requireEqualElements(const List& a, const List& b, const char* what) {
  require(a.size() == b.size(), what);
  for (std::size_t i = 0; i < a.size(); ++i) requireEqual(a[i], b[i]);
}

void requireSoundFace(const OBJModel& model, const OBJFaceView& face) {
  require(face.vertexCount >= 1 && face.vertexCount <= OBJFace::kMaxVertexCount, "1 to 88 corners");
  require(face.materialIndex >= -1 && face.materialIndex < static_cast<std::int64_t>(model._materials.size()),
          "a face's material is there");
  const std::uint32_t* const smoothingEnd = model._smoothingGroups + model._smoothingGroupCount;
  require(face.smoothingGroup == 0 ||
              std::find(model._smoothingGroups, smoothingEnd, face.smoothingGroup) != smoothingEnd,
          "a face's smoothing group is in the table");
  require(face.vertexIndex.isStored() && (face.textureIndex.isStored() || !face.hasTexture) &&
              (face.normalIndex.isStored() || !face.hasNormal),
          "a face has the indices that it says it has");
  for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
    // A relative index adds up to twice the count at the time of the face.
    require(face.vertexIndex[i] < 2 * model._vertices->count, "vertex indices are bounded");
    require(!face.hasTexture || face.textureIndex[i] < 2 * model._textureCoords->count,
            "texture indices are bounded");
    require(!face.hasNormal || face.normalIndex[i] < 2 * model._normals->count, "normal indices are bounded");
    for (std::uint32_t j = 0; j < i; ++j) {
      require(face.vertexIndex[j] != face.vertexIndex[i], "no face has a vertex twice");
    }
  }
}

void requireSoundList(const OBJElementList& list, std::uint32_t faceCount) {
  require(std::is_sorted(list.begin(), list.end()), "lists are in face order");
  require(list.empty() || list[list.size() - 1] < faceCount, "listed faces are there");
}

}  // namespace

void requireEqual(const OBJModel& a, const OBJModel& b) {
  require(a._errorMessage == b._errorMessage, "the same error text");
  requireEqual(*a._vertices, *b._vertices);
  requireEqual(*a._normals, *b._normals);
  requireEqual(*a._textureCoords, *b._textureCoords);
  requireEqualElements(a._materials, b._materials, "as many materials");
  requireEqualElements(a._materialFaces, b._materialFaces, "as many face lists of materials");

  require(a._faces->count == b._faces->count, "as many faces");
  for (std::uint32_t i = 0; i < a._faces->count; ++i) {
    requireEqual(a._faces->view(i), b._faces->view(i));
    requireEqualGeometry(a._faces->geometry(i), b._faces->geometry(i));
  }

  require(a._groupNames == b._groupNames, "the same group names");
  require(a._groups.size() == b._groups.size(), "as many groups");
  for (auto i = a._groups.begin(), j = b._groups.begin(); i != a._groups.end(); ++i, ++j) {
    require(i->first == j->first, "the same groups");
    requireEqual(i->second, j->second);
  }
  require(
      a._smoothingGroupCount == b._smoothingGroupCount && sameBits(a._smoothingGroups, b._smoothingGroups),
      "the same smoothing groups");

  const auto sameNote = [](const OBJReadNote& x, const OBJReadNote& y) {
    return x.kind == y.kind && x.lineNumber == y.lineNumber && x.text == y.text;
  };
  require(a._readNotes.total == b._readNotes.total &&
              std::equal(a._readNotes.kept.begin(), a._readNotes.kept.end(), b._readNotes.kept.begin(),
                         b._readNotes.kept.end(), sameNote),
          "the same notes");
}

void requireSound(const OBJModel& model) {
  const std::uint32_t faceCount = model._faces->count;
  std::uint32_t seen = 0;
  std::vector<std::size_t> facesOfMaterial(model._materials.size());
  model._faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
    require(index == seen++, "faces are visited in order");
    requireSoundFace(model, face);
    if (face.materialIndex >= 0) ++facesOfMaterial[static_cast<std::size_t>(face.materialIndex)];
  });
  require(seen == faceCount, "every face is visited");

  require(model._materialFaces.size() == model._materials.size(), "a face list for each material");
  for (std::size_t i = 0; i < facesOfMaterial.size(); ++i) {
    requireSoundList(model._materialFaces[i], faceCount);
    require(model._materialFaces[i].size() == facesOfMaterial[i], "a material lists its faces");
  }
  require(model._groups.size() == model._groupNames.size(), "a group for each name");
  for (const std::string& name : model._groupNames) {
    const auto found = model._groups.find(name);
    require(found != model._groups.end() && !found->second.empty(), "groups of a file have faces");
    requireSoundList(found->second, faceCount);
  }
  require(model._links == nullptr, "a read links nothing");
}

void requireSoundExtract(const OBJModel& model, std::uint32_t group) {
  std::uint32_t start = 0;
  const std::uint32_t count = model.GetGroupVertexRange(group, start);
  const std::unique_ptr<OBJModel> extracted = model.ExtractGroup(group);
  require((extracted != nullptr) == (count != 0), "a group with a vertex range is extracted, no other");
  if (extracted == nullptr) return;

  require(extracted->_vertices->count == count, "the extract has the vertex range");
  for (std::uint32_t i = 0; i < count; ++i) {
    require(sameBits((*extracted->_vertices)[i], model._vertices->elementOrZero(start + i)),
            "the extract has the vertices of the range");
  }
  const OBJElementList& faces = model.getGroupElements(model._groupNames[group]);
  require(extracted->_faces->count == faces.size(), "the extract has the group's faces");
  for (std::uint32_t i = 0; i < extracted->_faces->count; ++i) {
    const OBJFaceView face = extracted->_faces->view(i);
    const OBJFaceView original = model._faces->view(faces[i]);
    require(face.vertexCount == original.vertexCount && !face.hasTexture && !face.hasNormal,
            "extracted faces are positions alone");
    for (std::uint32_t corner = 0; corner < face.vertexCount; ++corner) {
      require(face.vertexIndex[corner] < count &&
                  face.vertexIndex[corner] + start == original.vertexIndex[corner],
              "extracted faces are renumbered");
    }
  }
}

bool indicesExist(const OBJModel& model) {
  bool exist = true;
  model._faces->forEachFace([&](std::uint32_t, const OBJFaceView& face) {
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      exist = exist && face.vertexIndex[i] < model._vertices->count &&
              (!face.hasTexture || face.textureIndex[i] < model._textureCoords->count) &&
              (!face.hasNormal || face.normalIndex[i] < model._normals->count);
    }
  });
  return exist;
}

}  // namespace fuzz
