// Models as the host reads them.
#include "obj/OBJModel.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "c/Answers.h"
#include "c/Arguments.h"
#include "c/DocumentLists.h"
#include "c/Handles.h"
#include "document/Source.h"

using namespace ksmth;
using namespace WavefrontOBJ;

namespace {

KSmthModel* open(const Source& source, const std::string& name, bool strict, const Listener& listener) {
  auto handle = std::make_unique<KSmthModel>();
  handle->model = std::make_unique<OBJModel>(true);
  OBJModel& model = *handle->model;
  std::uint64_t at = 0;
  const auto next = [&](char* buffer, std::size_t room) {
    listener.requireGoesOn(source.size() == 0 ? 0
                                              : static_cast<double>(at) / static_cast<double>(source.size()));
    const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(room, source.size() - at));
    require(source.read(at, buffer, bytes));
    at += bytes;
    return bytes;
  };
  const bool complete = model.read(next, name, strict);
  for (const OBJReadNote& note : model._readNotes.kept) {
    const OBJReadNoteText text = noteText(note.kind);
    listener.log(KSMTH_ERROR, text.key, note.lineNumber, std::string(text.reason) + ": " + note.text);
    handle->notes.push_back({text.key, text.reason, note.text.c_str(), note.lineNumber});
  }
  if (!complete) {
    const bool noMemory = model._errorMessage == "Out of memory.";
    throw Failure{noMemory ? KSMTH_OUT_OF_MEMORY : KSMTH_BAD_MODEL, model._errorMessage};
  }
  // Writing in face order would make it; the model is not to change any more.
  model._groups.try_emplace("default");
  return handle.release();
}

const OBJVectorArray& arrayOf(const OBJModel& model, KSmthVectorKind kind) {
  if (kind == KSMTH_POSITIONS) return *model._vertices;
  return kind == KSMTH_TEXTURES ? *model._textureCoords : *model._normals;
}

bool isModelKind(KSmthVectorKind kind) {
  return static_cast<unsigned>(kind) <= KSMTH_NORMALS;
}

std::unique_ptr<ModelFaces> facesOf(const OBJModel& model) {
  auto faces = std::make_unique<ModelFaces>();
  bool anyTexture = false;
  bool anyNormal = false;
  faces->starts.reserve(std::size_t{model._faces->count} + 1);
  faces->starts.push_back(0);
  model._faces->forEachFace([&](std::uint32_t, const OBJFaceView& face) {
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      faces->vertices.push_back(static_cast<std::int32_t>(face.vertexIndex[i]));
      faces->textures.push_back(face.hasTexture ? static_cast<std::int32_t>(face.textureIndex[i]) : kNoIndex);
      faces->normals.push_back(face.hasNormal ? static_cast<std::int32_t>(face.normalIndex[i]) : kNoIndex);
    }
    anyTexture = anyTexture || face.hasTexture;
    anyNormal = anyNormal || face.hasNormal;
    faces->starts.push_back(static_cast<std::uint32_t>(faces->vertices.size()));
    faces->smoothing.push_back(face.smoothingGroup);
    faces->materials.push_back(face.materialIndex);
  });
  faces->shown = {model._faces->count,
                  faces->starts.back(),
                  faces->starts.data(),
                  faces->vertices.data(),
                  anyTexture ? faces->textures.data() : nullptr,
                  anyNormal ? faces->normals.data() : nullptr,
                  faces->smoothing.data(),
                  faces->materials.data()};
  return faces;
}

std::unique_ptr<FaceLists<KSmthModelGroup>> groupsOf(const OBJModel& model) {
  auto lists = std::make_unique<FaceLists<KSmthModelGroup>>();
  for (std::uint32_t i = 0; i < model._groupNames.size(); ++i) {
    const std::string& name = model._groupNames[i];
    const OBJElementList& list = model.getGroupElements(name);
    KSmthModelGroup& group = lists->add({list.begin(), list.end()});
    group.name = name.c_str();
    group.vertex_count = model.GetGroupVertexRange(i, group.vertex_start);
  }
  return lists;
}

std::unique_ptr<FaceLists<KSmthModelGroup>> smoothingOf(const OBJModel& model) {
  auto lists = std::make_unique<FaceLists<KSmthModelGroup>>();
  const std::uint32_t count = model._smoothingGroupCount;
  lists->names.reserve(count);
  std::vector<std::vector<std::uint32_t>> faces(count);
  const std::uint32_t* const begin = model._smoothingGroups;
  const std::uint32_t* const end = begin + count;
  // Most faces have the number of the face before.
  const std::uint32_t* row = end;
  model._faces->forEachFace([&](std::uint32_t index, const OBJFaceView& face) {
    if (row == end || *row != face.smoothingGroup) row = std::find(begin, end, face.smoothingGroup);
    if (row != end) faces[static_cast<std::size_t>(row - begin)].push_back(index);
  });
  for (std::uint32_t i = 0; i < count; ++i) {
    KSmthModelGroup& group = lists->add(std::move(faces[i]));
    group.number = begin[i];
    group.name = lists->names.emplace_back(std::to_string(begin[i])).c_str();
    group.vertex_count = model.GetSmoothingGroupVertexRange(begin[i], group.vertex_start);
  }
  return lists;
}

std::unique_ptr<FaceLists<KSmthMaterial>> materialsOf(const OBJModel& model) {
  auto lists = std::make_unique<FaceLists<KSmthMaterial>>();
  for (std::size_t i = 0; i < model._materials.size(); ++i) {
    const OBJMaterial& material = model._materials[i];
    const OBJElementList& list = model._materialFaces[i];
    KSmthMaterial& shown = lists->add({list.begin(), list.end()});
    shown.name = material.name.c_str();
    std::ranges::copy(material.Kd, shown.diffuse);
    std::ranges::copy(material.Ka, shown.ambient);
    std::ranges::copy(material.Ks, shown.specular);
    shown.exponent = material.Ns;
    shown.opacity = material.d;
    shown.refraction = material.Ni;
    shown.illumination = material.illum;
    shown.diffuse_map = material.map_Kd.c_str();
    shown.specular_map = material.map_Ks.c_str();
    shown.ambient_map = material.map_Ka.c_str();
    shown.bump_map = material.map_bump.c_str();
    shown.opacity_map = material.map_d.c_str();
  }
  return lists;
}

/// Hands a list of records out, which `make` makes of the model.
template <class Record, class Make>
KSmthStatus listOf(const KSmthModel* model, const MadeOnce<FaceLists<Record>> KSmthModel::*made, Make make,
                   const Record** records, size_t* count) {
  if (count != nullptr) *count = 0;
  return answeringWith(records, [&] {
    requireArgument(model != nullptr && count != nullptr, "no model, or no place for the count");
    const FaceLists<Record>& lists = (model->*made).get([&] { return make(*model->model); });
    *count = lists.shown.size();
    return lists.shown.data();
  });
}

}  // namespace

KSmthStatus ksmth_model_open(const char* path, const KSmthReadOptions* options,
                             const KSmthCallbacks* callbacks, KSmthModel** model) {
  return answeringWith(model, [&] {
    requireArgument(path != nullptr, "no path");
    const KSmthReadOptions how = taken(options);
    const Listener listener(callbacks);
    Source source;
    require(source.open(path));
    return open(source, path, how.strict != 0, listener);
  });
}

KSmthStatus ksmth_model_open_memory(const void* bytes, size_t size, const char* folder,
                                    const KSmthReadOptions* options, const KSmthCallbacks* callbacks,
                                    KSmthModel** model) {
  return answeringWith(model, [&] {
    const KSmthReadOptions how = taken(options);
    const Listener listener(callbacks);
    const std::string name = nameInFolder(folder, how.name);
    Source source;
    source.hold(textOf(bytes, size), name);
    return open(source, name, how.strict != 0, listener);
  });
}

void ksmth_model_close(KSmthModel* model) {
  delete model;
}

uint32_t ksmth_model_vector_count(const KSmthModel* model, KSmthVectorKind kind) {
  return model == nullptr || !isModelKind(kind) ? 0 : arrayOf(*model->model, kind).count;
}

KSmthStatus ksmth_model_vectors(const KSmthModel* model, KSmthVectorKind kind, const float** xyzw) {
  return answeringWith(xyzw, [&] {
    requireArgument(model != nullptr, "no model");
    requireArgument(isModelKind(kind), "no such kind");
    return model->vectors[kind]
        .get([&] {
          const OBJVectorArray& array = arrayOf(*model->model, kind);
          auto fresh = std::make_unique<std::vector<float>>(std::size_t{4} * array.count);
          array.ExtractVertices(fresh->data());
          return fresh;
        })
        .data();
  });
}

KSmthStatus ksmth_model_faces(const KSmthModel* model, const KSmthModelFaces** faces) {
  return answeringWith(faces, [&] {
    requireArgument(model != nullptr, "no model");
    return &model->faces.get([&] { return facesOf(*model->model); }).shown;
  });
}

KSmthStatus ksmth_model_groups(const KSmthModel* model, const KSmthModelGroup** groups, size_t* count) {
  return listOf(model, &KSmthModel::groups, groupsOf, groups, count);
}

KSmthStatus ksmth_model_smoothing(const KSmthModel* model, const KSmthModelGroup** groups, size_t* count) {
  return listOf(model, &KSmthModel::smoothing, smoothingOf, groups, count);
}

KSmthStatus ksmth_model_materials(const KSmthModel* model, const KSmthMaterial** materials, size_t* count) {
  return listOf(model, &KSmthModel::materials, materialsOf, materials, count);
}

const KSmthNote* ksmth_model_notes(const KSmthModel* model, size_t* count, size_t* total) {
  if (count != nullptr) *count = 0;
  if (total != nullptr) *total = 0;
  if (model == nullptr || count == nullptr) return nullptr;
  *count = model->notes.size();
  if (total != nullptr) *total = model->model->_readNotes.total;
  return model->notes.data();
}
