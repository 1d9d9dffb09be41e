#include <algorithm>
#include <sstream>

#include "RandomModel.h"
#include "TestSupport.h"

using namespace WavefrontOBJ;

namespace {

const std::string kHead = "# File Created by KFileUtils for Talvex\n# https://talvex.example/ksmthgrpimpt\n";

/// The writer as it is described to users: streams, and a search of the group lists for every face.
struct ReferenceWriter {
  OBJModel& model;
  std::ostringstream out{};
  std::int32_t material = -1;

  std::string whole(bool byFaceOrder) {
    const std::uint32_t faces = model._faces->count;
    header(model._vertices->count, faces);
    vectors("v ", *model._vertices, 0, model._vertices->count);
    vectors("vt ", *model._textureCoords, 0, model._textureCoords->count);
    vectors("vn ", *model._textureCoords, 0, model._normals->count);
    std::string current = byFaceOrder ? model.GetFaceGroupName(0) : "";
    if (byFaceOrder) out << "g " << current << std::endl;
    for (std::uint32_t i = 0; byFaceOrder && i < faces; ++i) {
      const std::string candidate = model.IsFaceInGroup(i, current) ? current : model.GetFaceGroupName(i);
      if (candidate != current) out << "g " << (current = candidate) << std::endl;
      face(i, 0, true);
    }
    for (std::size_t g = 0; !byFaceOrder && g < model._groupNames.size(); ++g) {
      out << "g " << model._groupNames[g] << std::endl;
      material = -1;
      for (const std::uint32_t i : model.getGroupElements(model._groupNames[g])) face(i, 0, true);
    }
    return out.str();
  }

  template <class Faces>
  std::string part(const std::string& name, std::uint32_t start, std::uint32_t count, const Faces& faces) {
    header(count, static_cast<std::uint32_t>(faces.size()));
    vectors("v ", *model._vertices, start, count);
    out << "g " << name << std::endl;
    for (const std::uint32_t i : faces) face(i, start, false);
    return out.str();
  }

  void header(std::uint32_t vertices, std::uint32_t faces) {
    out << kHead << "#Vertex Count " << vertices << "\n#Face Count " << faces << "\n#Material Count "
        << model._materials.size() << std::endl;
  }
  void vectors(const char* keyword, OBJVectorArray& from, std::uint32_t start, std::uint32_t count) {
    for (std::uint32_t i = start; i < start + count; ++i) {
      out << std::showpoint << keyword << from[i].x << " " << from[i].y << " " << from[i].z << " \n";
    }
  }
  void face(std::uint32_t index, std::uint32_t start, bool all) {
    const OBJFace face = std::as_const(*model._faces)[index];
    const std::int32_t before = std::exchange(material, face.materialIndex);
    if (material != before && material != -1) {
      out << "usemtl " << model._materials[static_cast<std::size_t>(material)].name << std::endl;
    }
    out << "f";
    for (std::uint32_t i = 0; i < face.vertexCount; ++i) {
      out << " " << face.vertexIndex[i] - start + 1;
      if (all && face.hasTexture != 0) out << "/" << face.textureIndex[i] + 1;
      if (all && face.hasNormal != 0) out << (face.hasTexture != 0 ? "/" : "//") << face.normalIndex[i] + 1;
    }
    out << std::endl;
  }
};

}  // namespace

TEST(Writer, HeaderAndFailures) {
  OBJModel model(true);
  for (int i = 0; i < 2; ++i) model._vertices->push_back({0, 0.5F, -2});
  ZeroedFace face({0, 1});
  model.addFace(face);
  model.addFaceToGroup("arm", 0);
  std::ostringstream header;
  model.WriteHeader(header, "a b.mtl", 0, 7);
  EXPECT_EQ(header.str(), kHead + "#Vertex Count 2\n#Face Count 7\n#Material Count 0\nmtllib a b.mtl\n");
  const TempFolder folder;
  EXPECT_FALSE(model.WriteSmoothingGroup(folder.path("none.obj"), 4, nullptr));
  EXPECT_FALSE(folder.has("none.obj")) << "no empty file is left behind";

  const std::string path = folder.path("no/such.obj"), text = " !\"Couldn't write to .OBJ file '\"";
  EXPECT_EQ(failedAssertion([&] { model.write(path, true, nullptr); }), "OBJModel:244 write" + text);
  EXPECT_EQ(failedAssertion([&] { model.WriteGroup(path, 0, nullptr); }), "OBJModel:420 WriteGroup" + text);
  const auto smoothing = [&] { model.WriteSmoothingGroup(path, 0, nullptr); };
  EXPECT_EQ(failedAssertion(smoothing), "OBJModel:541 WriteSmoothingGroup" + text);
}

TEST(Writer, SameBytesAsTheReference) {
  const TempFolder folder;
  const std::string path = folder.path("ours.obj");
  Random random(10);
  for (int round = 0; round < 100; ++round) {
    // The reference's questions leave entries in the group map, so it works on a model of its own.
    Random again = random;
    const auto other = randomModel(again);
    const auto model = randomModel(random);
    std::string sunk;
    const auto sink = [&sunk](std::string_view piece) { return sunk += piece, true; };
    for (const bool byFaceOrder : {true, false}) {
      ASSERT_TRUE(model->write(path, byFaceOrder, nullptr));
      ASSERT_TRUE((sunk.clear(), model->write(sink, byFaceOrder, nullptr)));
      ASSERT_EQ(sunk, folder.read("ours.obj"));
      ASSERT_EQ(folder.read("ours.obj"), ReferenceWriter{*other}.whole(byFaceOrder)) << "round " << round;
      ASSERT_EQ(describe(*model), describe(*other)) << "what the questions leave in the map is the same";
    }
    std::uint32_t start = 0;
    const auto check = [&](bool written, std::uint32_t count, const std::string& name, const auto& faces) {
      const auto expected = count > 0 ? ReferenceWriter{*model}.part(name, start, count, faces) : "";
      ASSERT_EQ(written ? folder.read("ours.obj") : "", expected) << name;
      ASSERT_EQ(std::exchange(sunk, {}), expected) << name;
    };
    sunk.clear();
    for (std::uint32_t g = 0; g < model->_groupNames.size(); ++g) {
      const std::uint32_t count = model->GetGroupVertexRange(g, start);
      const std::string& name = model->_groupNames[g];
      ASSERT_EQ(model->WriteGroup(sink, g, nullptr), count > 0);
      check(model->WriteGroup(path, g, nullptr), count, name, model->getGroupElements(name));
    }
    for (std::uint32_t s = 0; s < 4; ++s) {
      const std::uint32_t count = model->GetSmoothingGroupVertexRange(s, start);
      std::vector<std::uint32_t> faces;
      for (std::uint32_t i = 0; i < model->_faces->count; ++i) {
        if (model->_faces->view(i).smoothingGroup == s) faces.push_back(i);
      }
      ASSERT_EQ(faces.size(), model->GetSmoothingGroupFaceCount(s));
      ASSERT_EQ(model->WriteSmoothingGroup(sink, s, nullptr), count > 0);
      check(model->WriteSmoothingGroup(path, s, nullptr), count, std::to_string(s), faces);
    }
  }
}

TEST(Writer, EndsWhereTheSinkDoes) {
  OBJModel model(true);
  for (int i = 0; i < 20000; ++i) model._vertices->push_back({1, 2, 3});
  int pieces = 0;
  EXPECT_FALSE(model.write([&](std::string_view) { return ++pieces < 2; }, true, nullptr));
  EXPECT_EQ(pieces, 2);
  const auto throwing = [](std::string_view) -> bool { throw 7; };
  EXPECT_THROW(model.write(throwing, true, nullptr), int);
}

TEST(WriterDeathTest, KeepsTheLinesBeforeAFailedAssertion) {
  const TempFolder folder;
  OBJModel model(true);
  model._textureCoords->push_back({1, 2, 3});
  for (int i = 0; i < 8001; ++i) model._normals->push_back({9, 9, 9});
  EXPECT_DEATH(model.write(folder.path("m.obj"), true, nullptr), "OBJVectorArray:61") << "no such block";
  const std::string text = folder.read("m.obj");
  EXPECT_NE(text.find("vn 1.00000 2.00000 3.00000 \nvn 0.00000 0.00000 0.00000 \n"), std::string::npos);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 5 + 1 + 8000);
}
