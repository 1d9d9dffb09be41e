#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "c/KSmthGrp.h"
#include "document/OBJDocument.h"
#include "obj/OBJModel.h"

namespace ksmth {

/// What is made when it is first asked for. Threads that ask at once may each make one, and all get the same;
/// none waits, so that callbacks may ask meanwhile.
template <class T>
class MadeOnce {
 public:
  MadeOnce() = default;
  MadeOnce(const MadeOnce&) = delete;
  MadeOnce& operator=(const MadeOnce&) = delete;
  ~MadeOnce() { delete value_.load(std::memory_order_relaxed); }

  /// `make` answers a unique_ptr; what it throws leaves, and the next one tries again.
  template <class Make>
  const T& get(Make make) const {
    if (const T* const made = value_.load(std::memory_order_acquire)) return *made;
    std::unique_ptr<const T> fresh = make();
    const T* first = nullptr;
    if (value_.compare_exchange_strong(first, fresh.get(), std::memory_order_acq_rel))
      first = fresh.release();
    return *first;
  }

 private:
  mutable std::atomic<const T*> value_{nullptr};
};

struct Members {
  WavefrontOBJ::OBJMembers table;
  KSmthMembers shown{};
};

struct LibraryList {
  std::vector<std::string> paths;
  std::vector<KSmthLibrary> shown;
};

struct FindingList {
  WavefrontOBJ::Findings findings;
  std::vector<KSmthFinding> shown;
};

struct ModelFaces {
  std::vector<std::uint32_t> starts;
  std::vector<std::int32_t> vertices;
  std::vector<std::int32_t> textures;
  std::vector<std::int32_t> normals;
  std::vector<std::uint32_t> smoothing;
  std::vector<std::int32_t> materials;
  KSmthModelFaces shown{};
};

/// Records with the lists of faces that they point at.
template <class Record>
struct FaceLists {
  std::vector<std::string> names;  ///< that are no one else's
  std::vector<std::vector<std::uint32_t>> faces;
  std::vector<Record> shown;

  /// A new record, which has these faces. They stay where they are when more are added.
  Record& add(std::vector<std::uint32_t> list) {
    const auto& kept = faces.emplace_back(std::move(list));
    Record& record = shown.emplace_back();
    record.faces = kept.data();
    record.face_count = kept.size();
    return record;
  }
};

inline constexpr std::uint32_t kMaxWidth = 8;
inline constexpr std::uint32_t kLintFlags = KSMTH_LINT_NUMBERS | KSMTH_LINT_GEOMETRY | KSMTH_LINT_MATERIALS;

}  // namespace ksmth

struct KSmthDocument {
  template <class T>
  using PerKind = std::array<T, WavefrontOBJ::kVectorKinds>;
  template <class T>
  using Values = PerKind<std::array<ksmth::MadeOnce<std::vector<T>>, ksmth::kMaxWidth>>;

  WavefrontOBJ::OBJDocument document;
  std::uint32_t placesPerKind = 100;
  std::array<KSmthElements, WavefrontOBJ::kElementKinds> elements{};
  std::array<std::vector<KSmthName>, 4> names;  ///< by division
  std::vector<std::string> smoothingNames;

  Values<double> doubles;
  Values<float> floats;
  ksmth::MadeOnce<std::vector<float>> colours;
  ksmth::MadeOnce<ksmth::LibraryList> libraries;
  std::array<std::array<ksmth::MadeOnce<ksmth::Members>, WavefrontOBJ::kElementKinds>, 4> members;
  std::array<ksmth::MadeOnce<ksmth::FindingList>, ksmth::kLintFlags + 1> findings;
};

struct KSmthModel {
  std::unique_ptr<WavefrontOBJ::OBJModel> model;
  std::vector<KSmthNote> notes;

  std::array<ksmth::MadeOnce<std::vector<float>>, 3> vectors;
  ksmth::MadeOnce<ksmth::ModelFaces> faces;
  ksmth::MadeOnce<ksmth::FaceLists<KSmthModelGroup>> groups;
  ksmth::MadeOnce<ksmth::FaceLists<KSmthModelGroup>> smoothing;
  ksmth::MadeOnce<ksmth::FaceLists<KSmthMaterial>> materials;
};
