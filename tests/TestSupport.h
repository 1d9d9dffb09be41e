#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

#include "obj/OBJAssert.h"
#include "obj/OBJModel.h"

/// A folder of its own for one test, removed at its end.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ksmthgrpXXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = pattern;
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string path(const std::string& name) const { return path_ + "/" + name; }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }
  std::string read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool has(const std::string& name) const { return std::filesystem::exists(path(name)); }

 private:
  std::string path_;
};

/// What a failed assertion throws while a `ThrowingAssertions` lives.
struct FailedAssertion : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Turns failed assertions into exceptions, for tests that go through many of them.
class ThrowingAssertions {
 public:
  ThrowingAssertions() = default;
  ThrowingAssertions(const ThrowingAssertions&) = delete;
  ThrowingAssertions& operator=(const ThrowingAssertions&) = delete;
  ~ThrowingAssertions() { OBJSetAssertionHandler(previous_); }

 private:
  OBJAssertionHandler previous_ = OBJSetAssertionHandler([](const char* function, const char* file, int line,
                                                            const char* expression) {
    throw FailedAssertion(std::string(file) + ":" + std::to_string(line) + " " + function + " " + expression);
  });
};

/// The text of the assertion that `work` fails; empty when it fails none.
template <class Work>
std::string failedAssertion(Work work) {
  const ThrowingAssertions throwing;
  try {
    work();
  } catch (const FailedAssertion& failed) {
    return failed.what();
  }
  return {};
}

/// Debugging stops so far, and what the host's message call was last told: in programs that are linked so
/// that both calls of the system lead to Stops.cpp.
extern int gStopCount;
extern std::string gHostMessage;

/// How often `work` stops for the debugger.
template <class Work>
int stopsOf(Work work) {
  const int before = gStopCount;
  work();
  return gStopCount - before;
}

using Random = std::mt19937;

inline std::uint32_t below(Random& random, std::uint32_t limit) {
  return random() % limit;
}

/// The corners in use and every other field, as text; floats by their bits.
inline std::string describe(const WavefrontOBJ::OBJFace& face) {
  std::string text;
  for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
    text += std::to_string(face.vertexIndex[i]) + "/" + std::to_string(face.textureIndex[i]) + "/" +
            std::to_string(face.normalIndex[i]) + " ";
  }
  text += "t" + std::to_string(face.hasTexture) + " n" + std::to_string(face.hasNormal) + " s" +
          std::to_string(face.smoothingGroup) + " m" + std::to_string(face.materialIndex);
  for (const WavefrontOBJ::OBJVector& v : {face.normal, face.center}) {
    for (const float f : {v.x, v.y, v.z, v.w}) {
      std::uint32_t bits = 0;
      std::memcpy(&bits, &f, sizeof bits);
      // Which NaN an operation gives differs between processors.
      text += f != f ? " nan" : " " + std::to_string(bits);
    }
  }
  return text;
}

inline std::string describe(const WavefrontOBJ::OBJVectorArray& vectors) {
  std::string text;
  for (std::uint32_t i = 0; i < vectors.count; ++i) {
    std::uint32_t bits[4];
    std::memcpy(bits, &vectors[i], sizeof bits);
    for (const std::uint32_t b : bits) text += std::to_string(b) + " ";
  }
  return text;
}

inline std::string describe(const WavefrontOBJ::OBJElementList& list) {
  std::string text;
  for (const std::uint32_t face : list) text += std::to_string(face) + " ";
  return text;
}

/// Everything that can be observed of a model, as text.
inline std::string describe(const WavefrontOBJ::OBJModel& model) {
  std::string text = "message " + model._errorMessage + "\nv " + describe(*model._vertices) + "\nvt " +
                     describe(*model._textureCoords) + "\nvn " + describe(*model._normals) + "\n";
  for (std::uint32_t i = 0; i < model._faces->count; ++i) {
    text += "f " + describe(std::as_const(*model._faces)[i]) + "\n";
  }
  for (const std::string& name : model._groupNames) text += "name " + name + "\n";
  for (const auto& [name, list] : model._groups) text += "group " + name + ": " + describe(list) + "\n";
  for (std::uint32_t i = 0; i < model._smoothingGroupCount; ++i) {
    text += "s " + std::to_string(model._smoothingGroups[i]) + "\n";
  }
  for (std::size_t i = 0; i < model._materials.size(); ++i) {
    text += "material " + model._materials[i].name + ": " + describe(model._materialFaces[i]) + "\n";
  }
  return text;
}
