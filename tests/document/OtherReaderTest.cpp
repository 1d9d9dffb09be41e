// Files that both understand, beside tinyobjloader.
#include <gtest/gtest.h>

#include <tiny_obj_loader.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "document/DocumentReference.h"
#include "document/OBJDocument.h"

namespace {

using namespace WavefrontOBJ;

void compare(const std::string& path) {
  SCOPED_TRACE(path);
  OBJDocument document;
  ASSERT_TRUE(document.read(path));
  tinyobj::attrib_t other;
  std::vector<tinyobj::shape_t> shapes;
  std::vector<tinyobj::material_t> materials;
  std::string warning;
  std::string error;
  const std::string folder = std::filesystem::path(path).parent_path().string() + "/";
  ASSERT_TRUE(
      tinyobj::LoadObj(&other, &shapes, &materials, &warning, &error, path.c_str(), folder.c_str(), false));

  std::vector<float> values;
  const auto near = [&](const std::vector<float>& theirs) {
    ASSERT_EQ(values.size(), theirs.size());
    // Its numbers are not rounded correctly.
    for (std::size_t i = 0; i < values.size(); ++i)
      ASSERT_NEAR(values[i], theirs[i], 1e-6 * (1 + std::abs(values[i])));
  };
  ASSERT_TRUE(document.positions(values));
  near(other.vertices);
  ASSERT_TRUE(document.textures(values));
  near(other.texcoords);
  ASSERT_TRUE(document.normals(values));
  near(other.normals);

  const std::vector<PlainFile::Element> faces = plain(document).elements[0];
  std::size_t face = 0;
  for (const tinyobj::shape_t& shape : shapes) {
    std::size_t corner = 0;
    for (std::size_t f = 0; f < shape.mesh.num_face_vertices.size(); ++f, ++face) {
      ASSERT_LT(face, faces.size());
      std::vector<PlainFile::Corner> theirs;
      for (std::uint32_t c = 0; c < shape.mesh.num_face_vertices[f]; ++c, ++corner) {
        const tinyobj::index_t& index = shape.mesh.indices[corner];
        theirs.push_back({index.vertex_index, index.texcoord_index, index.normal_index});
      }
      ASSERT_EQ(faces[face].corners, theirs);
      const ElementState& state =
          document.states()[document.faces().stateOf(static_cast<std::uint32_t>(face))];
      const std::uint64_t smoothing =
          state.smoothing < 0 ? 0 : document.smoothings()[static_cast<std::size_t>(state.smoothing)].number;
      ASSERT_EQ(smoothing, shape.mesh.smoothing_group_ids[f]);
      const int material = shape.mesh.material_ids[f];
      if (material >= 0) {
        ASSERT_GE(state.material, 0);
        ASSERT_EQ(document.materials()[static_cast<std::size_t>(state.material)].text,
                  materials[static_cast<std::size_t>(material)].name);
      }
    }
  }
  EXPECT_EQ(face, faces.size());
}

TEST(OtherReader, RealFiles) {
  for (const std::string& path : realFiles()) compare(path);
}

TEST(OtherReader, RandomFiles) {
  const TempFolder folder;
  Random random(2);
  for (int round = 0; round < 60 && !HasFatalFailure(); ++round) {
    std::string text;
    const std::string end = below(random, 3) == 0 ? "\r\n" : "\n";
    std::uint32_t counts[3] = {0, 0, 0};
    const auto index = [&](std::uint32_t count) {
      const auto fromOne = static_cast<std::int64_t>(below(random, count)) + 1;
      return std::to_string(below(random, 4) == 0 ? fromOne - count - 1 : fromOne);
    };
    for (int line = 0; line < 60; ++line) {
      const std::uint32_t kind = below(random, counts[0] < 3 ? 1 : 8);
      const std::string number = std::to_string(below(random, 5));
      if (kind < 3) {
        ++counts[kind];
        text += (kind == 0   ? "v "
                 : kind == 1 ? "vt "
                             : "vn ") +
                number + ".25 -1e-3" + (kind == 1 ? "" : " 7");
      } else if (kind < 6) {
        const bool texture = below(random, 2) != 0 && counts[1] > 0;
        const bool normal = below(random, 2) != 0 && counts[2] > 0;
        text += "f";
        for (std::uint32_t c = 3 + below(random, 4); c > 0; --c) {
          text += " " + index(counts[0]) +
                  (texture  ? "/" + index(counts[1])
                   : normal ? "/"
                            : "") +
                  (normal ? "/" + index(counts[2]) : "");
        }
      } else {
        text += (kind == 6 ? "s " : "g name") + number;
      }
      text += (below(random, 5) == 0 ? " " : "") + end;
    }
    compare(folder.write("random.obj", text));
  }
}

}  // namespace
