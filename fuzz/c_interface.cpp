// The input through the C interface: lists are as long as they say and no index leads out of them, what is
// written can be opened, and every failure has a reason.
#include <cstddef>
#include <cstdint>
#include <string>

#include "EveryPart.h"
#include "Require.h"
#include "c/KSmthGrp.h"

// An input is small work: every part is always done.
bool fuzz::gEveryPart = true;

namespace {

using fuzz::require;

constexpr KSmthVectorKind kColumns[] = {KSMTH_POSITIONS, KSMTH_TEXTURES, KSMTH_NORMALS};

int append(const void* bytes, std::size_t count, void* user) {
  static_cast<std::string*>(user)->append(static_cast<const char*>(bytes), count);
  return 0;
}

/// True where all went well.
bool went(KSmthStatus status) {
  if (status != KSMTH_OK) require(ksmth_error_text(nullptr, 0) > 0, "a failure has a reason");
  return status == KSMTH_OK;
}

void requireDocument(const KSmthDocument* document) {
  for (int k = KSMTH_FACES; k <= KSMTH_POINTS; ++k) {
    const auto kind = static_cast<KSmthElementKind>(k);
    const KSmthElements& elements = *ksmth_document_elements(document, kind);
    require(elements.starts[elements.count] == elements.corner_count, "elements have all corners");
    const std::int32_t* const columns[] = {elements.vertices, elements.textures, elements.normals};
    for (int c = 0; c < 3; ++c) {
      if (columns[c] == nullptr) continue;
      const auto count = static_cast<std::int64_t>(ksmth_document_vector_count(document, kColumns[c]));
      for (std::uint32_t i = 0; i < elements.corner_count; ++i) {
        require(columns[c][i] >= (c == 0 ? 0 : -1) && columns[c][i] < count, "indices in range");
      }
    }
    for (int division = KSMTH_GROUPS; division <= KSMTH_OBJECTS; ++division) {
      std::size_t names = 0;
      ksmth_document_names(document, static_cast<KSmthDivision>(division), &names);
      const KSmthMembers* members = nullptr;
      require(went(ksmth_document_members(document, static_cast<KSmthDivision>(division), kind, &members)),
              "members are listed");
      require(members->rows == names + 1, "a row for each name and one for none");
      for (std::uint64_t i = 0; i < members->starts[members->rows]; ++i) {
        require(members->elements[i] < elements.count, "members are elements");
      }
    }
  }
  const KSmthFinding* findings = nullptr;
  std::size_t count = 0;
  require(went(ksmth_document_findings(document, KSMTH_LINT_NUMBERS | KSMTH_LINT_GEOMETRY, nullptr, &findings,
                                       &count)),
          "bytes in memory can be looked through");
  for (std::size_t i = 0; i < count; ++i) require(findings[i].count > 0, "findings are counted");
  const KSmthLibrary* libraries = nullptr;
  require(went(ksmth_document_libraries(document, &libraries, &count)), "libraries are listed");
  for (std::size_t i = 0; i < count; ++i) require(libraries[i].line > 0, "libraries have lines");
}

void fixAndMerge(const KSmthDocument* document) {
  std::string text;
  KSmthTarget target{sizeof(KSmthTarget), nullptr, append, &text};
  require(went(ksmth_document_fix(document, nullptr, &target, nullptr, nullptr)), "a document can be fixed");
  text.clear();
  const KSmthDocument* const twice[] = {document, document};
  const KSmthStatus merged = ksmth_merge(twice, 2, nullptr, &target, nullptr, nullptr);
  require(went(merged) || merged == KSMTH_CHANGED, "documents can be merged");
  const KSmthDifference* difference = nullptr;
  require(went(ksmth_diff(document, document, nullptr, &difference)) && difference->topology == nullptr &&
              difference->membership_count == 0,
          "a document is as itself");
  ksmth_difference_free(difference);
}

void requireModel(const KSmthModel* model) {
  const KSmthModelFaces* faces = nullptr;
  const KSmthModelGroup* groups = nullptr;
  const KSmthMaterial* materials = nullptr;
  std::size_t count = 0;
  require(went(ksmth_model_faces(model, &faces)), "faces are listed");
  require(faces->starts[faces->count] == faces->corner_count, "faces have all corners");
  for (const auto list : {ksmth_model_groups, ksmth_model_smoothing}) {
    require(went(list(model, &groups, &count)), "groups are listed");
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t k = 0; k < groups[i].face_count; ++k) {
        require(groups[i].faces[k] < faces->count, "faces of groups are there");
      }
    }
  }
  require(went(ksmth_model_materials(model, &materials, &count)), "materials are listed");
  std::string text;
  KSmthTarget target{sizeof(KSmthTarget), nullptr, append, &text};
  for (const int byGroup : {0, 1}) {
    const KSmthStatus status = ksmth_model_write(model, byGroup, "m.mtl", &target, nullptr);
    require(went(status) || status == KSMTH_HOST_LIMIT, "a model can be written");
  }
  for (std::uint32_t i = 0; i < 3; ++i) {
    went(ksmth_model_write_group(model, i, nullptr, &target, nullptr));
    went(ksmth_model_write_smoothing(model, i, nullptr, &target, nullptr));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  KSmthDocument* document = nullptr;
  // A folder that is not there: nothing beside the input is read.
  if (went(ksmth_document_open_memory(data, size, "/nonexistent", nullptr, nullptr, &document))) {
    requireDocument(document);
    std::string text;
    KSmthTarget target{sizeof(KSmthTarget), nullptr, append, &text};
    KSmthWriteCounts counts{};
    counts.size = sizeof counts;
    require(went(ksmth_document_write(document, nullptr, nullptr, &target, nullptr, &counts)) &&
                counts.bytes == text.size(),
            "a document can be written");
    fixAndMerge(document);
  }
  ksmth_document_close(document);
  KSmthModel* model = nullptr;
  if (went(ksmth_model_open_memory(data, size, "/nonexistent", nullptr, nullptr, &model)))
    requireModel(model);
  ksmth_model_close(model);
  return 0;
}
