// Files that other programs wrote, where they are at hand, and the project's own examples.
#include <algorithm>
#include <vector>

#include "TestSupport.h"
#include "plugin/KOBJRev01.h"
#include "plugin/MeshComparison.h"

namespace {

float call(decltype(&Version) function, const std::string& text, double number = 0, char* block1 = nullptr) {
  return function(text.c_str(), number, block1, 0, 0, 0, nullptr);
}

struct Counts {
  float vertices = call(GetOBJInfo, "vertexCount");
  float faces = call(GetOBJInfo, "faceCount");
  bool operator==(const Counts&) const = default;
};

/// Loads every OBJ file of the folder, exports the whole, every group and every smoothing group, and loads
/// what was written. Answers the number of files.
int exerciseFolder(const std::string& folderPath) {
  const ThrowingAssertions throwing;
  std::vector<char> text(1 << 20);
  const TempFolder folder;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folderPath)) {
    if (entry.path().extension() != ".obj") continue;
    ++files;
    SCOPED_TRACE(entry.path().filename().string());
    const std::string path = entry.path().string();
    const float groups = call(LoadOBJFile, path, 0, text.data());
    EXPECT_GE(groups, 1.0F) << text.data();
    const Counts counts;
    EXPECT_GT(counts.faces, 0.0F);

    // The independent witness: lines counted as text.
    std::ifstream file(path, std::ios::binary);
    float vertexLines = 0;
    float faceLines = 0;
    for (std::string line; std::getline(file, line);) {
      vertexLines += line.starts_with("v ") ? 1 : 0;
      faceLines += line.starts_with("f ") ? 1 : 0;
    }
    EXPECT_EQ(counts.vertices, vertexLines);
    EXPECT_EQ(counts.faces, faceLines);

    compareMeshCalls(*gOBJModel);

    const float smoothing = call(GetOBJInfo, "smoothGroupCount");
    std::vector<std::string> written;
    std::vector<float> ranges;
    for (int g = 1; g <= static_cast<int>(groups); ++g) {
      EXPECT_EQ(call(GetOBJGroupInfo, "name", g, text.data()), 0.0F);
      const float range = call(GetOBJGroupInfo, "vertexCount", g);
      EXPECT_GT(range, 0.0F) << text.data();
      written.push_back(folder.path("g" + std::to_string(g) + ".obj"));
      ranges.push_back(range);
      EXPECT_EQ(call(ExportOBJGroup, written.back(), g), 0.0F) << text.data();
    }
    for (int s = 1; s <= static_cast<int>(smoothing); ++s) {
      written.push_back(folder.path("s" + std::to_string(s) + ".obj"));
      ranges.push_back(-1);
      if (call(ExportOBJSmoothGroup, written.back(), s) != 0.0F) written.pop_back(), ranges.pop_back();
    }
    // A whole model's "vn" lines carry texture coordinates; without enough of them the writer's assertion
    // fails.
    const auto& textures = *gOBJModel->_textureCoords;
    const bool writable = gOBJModel->_normals->count <= textures.blocks.size() * textures.blockSize;
    std::size_t listed = 0;
    for (const auto& [name, faces] : gOBJModel->_groups) listed += faces.size();
    EXPECT_EQ(call(ExportOBJGroup, folder.path("whole.obj"), 0), writable ? 0.0F : -1.0F);
    if (writable) {
      // A face is written once, so a group may lose what it shares with another.
      const float again = call(LoadOBJFile, folder.path("whole.obj"), 0, text.data());
      EXPECT_EQ(again == groups, listed == static_cast<std::size_t>(counts.faces)) << text.data();
      EXPECT_EQ(Counts(), counts);
    }
    for (std::size_t i = 0; i < written.size(); ++i) {
      EXPECT_EQ(call(LoadOBJFile, written[i], 0, text.data()), 1.0F) << text.data();
      if (ranges[i] >= 0) {
        EXPECT_EQ(Counts().vertices, ranges[i]);
      }
    }
    call(FreeOBJModel, "");
  }
  return files;
}

}  // namespace

TEST(RealFiles, LoadExportAndLoadAgain) {
  if (!std::filesystem::exists(KSMTH_REAL_FILES)) GTEST_SKIP() << "the folder of real files is not here";
  EXPECT_GE(exerciseFolder(KSMTH_REAL_FILES), 5);
}

TEST(Examples, LoadExportAndLoadAgain) {
  EXPECT_GE(exerciseFolder(KSMTH_EXAMPLES), 1);
}
