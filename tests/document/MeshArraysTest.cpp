// Meshes written from arrays, read again.
#include "document/MeshArrays.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <set>

#include "TestSupport.h"
#include "document/ElementRows.h"

using namespace WavefrontOBJ;

namespace {

using Indices = std::vector<std::int32_t>;

/// Arrays with random content, and a mesh that looks at them.
template <class Float>
struct RandomArrays {
  explicit RandomArrays(Random& random) {
    const auto fill = [&](std::vector<Float>& numbers, std::size_t count) {
      while (numbers.size() < count) {
        const auto bits = std::uint64_t{random()} << 32 | random();
        const auto number = std::bit_cast<Float>(static_cast<Bits>(bits));
        if (std::isfinite(number)) numbers.push_back(number);
      }
    };
    const std::uint32_t vertices = 1 + below(random, 9);
    fill(positions, std::size_t{3} * vertices);
    fill(textures, std::size_t{2} * below(random, 4));
    fill(normals, std::size_t{3} * below(random, 4));
    const std::uint32_t faces = below(random, 30);
    for (std::uint32_t f = 0; f < faces; ++f) {
      for (std::uint32_t c = 3 + below(random, 4); c > 0; --c) {
        corners.push_back(static_cast<std::int32_t>(below(random, vertices)));
        faceTextures.push_back(
            static_cast<std::int32_t>(below(random, static_cast<std::uint32_t>(textures.size() / 2) + 1)) -
            1);
        faceNormals.push_back(
            static_cast<std::int32_t>(below(random, static_cast<std::uint32_t>(normals.size() / 3) + 1)) - 1);
      }
      starts.push_back(static_cast<std::int32_t>(corners.size()));
      smoothing.push_back(below(random, 3));
      material.push_back(static_cast<std::int32_t>(below(random, 3)) - 1);
      object.push_back(static_cast<std::int32_t>(below(random, 3)) - 1);
    }
    for (Indices& group : groups) {
      for (std::uint32_t f = 0; f < faces; ++f) {
        if (below(random, 3) == 0) group.push_back(static_cast<std::int32_t>(f));
      }
      if (!group.empty()) group.push_back(group.front());
      std::shuffle(group.begin(), group.end(), random);
    }
  }
  MeshArrays mesh() const {
    MeshArrays mesh;
    mesh.positions = std::span<const Float>(positions);
    mesh.textures = std::span<const Float>(textures);
    mesh.normals = std::span<const Float>(normals);
    mesh.faceStarts = starts;
    mesh.faceVertices = corners;
    mesh.faceTextures = faceTextures;
    mesh.faceNormals = faceNormals;
    mesh.lines = lines;
    mesh.groups = {{"a", groups[0]}, {"b", groups[1]}, {"c", groups[2]}};
    mesh.faceSmoothing = smoothing;
    mesh.materials = {"red", "dark blue"};
    mesh.faceMaterial = material;
    mesh.objects = {"one", "two"};
    mesh.faceObject = object;
    return mesh;
  }

  using Bits = std::conditional_t<sizeof(Float) == 4, std::uint32_t, std::uint64_t>;
  std::vector<Float> positions, textures, normals;
  Indices starts{0}, corners, faceTextures, faceNormals, material, object, lines{0, 0};
  std::vector<std::int64_t> smoothing;
  Indices groups[3];
};

template <class Float>
void expectSame(const OBJDocument& document, VectorKind kind, std::size_t width,
                const std::vector<Float>& numbers) {
  std::vector<Float> read;
  ASSERT_TRUE(document.values(kind, width, read));
  EXPECT_EQ(read, numbers);
}

/// What a column has, with no entry for one that no corner uses.
Indices column(std::span<const std::int32_t> column, std::size_t corners) {
  return column.empty() ? Indices(corners, kNoIndex) : Indices(column.begin(), column.end());
}

template <class Float>
void roundTrip(Random& random) {
  const RandomArrays<Float> arrays(random);
  const MeshArrays mesh = arrays.mesh();
  StringSink sink;
  WriteCounts counts;
  ASSERT_EQ(problemOf(mesh), "");
  ASSERT_TRUE(writeArrays(mesh, sink, &counts));
  EXPECT_EQ(counts.bytes, sink.text.size());
  for (const char* wrong : {"\ng\n", " a a", " b b"}) EXPECT_EQ(sink.text.find(wrong), std::string::npos);
  OBJDocument document;
  ASSERT_TRUE(document.readBytes(sink.text, "m.obj"));
  expectSame(document, VectorKind::position, 3, arrays.positions);
  expectSame(document, VectorKind::texture, 2, arrays.textures);
  expectSame(document, VectorKind::normal, 3, arrays.normals);
  const ElementTable& faces = document.faces();
  ASSERT_EQ(faces.size(), arrays.starts.size() - 1);
  EXPECT_EQ(counts.elements[0], faces.size());
  EXPECT_EQ(document.lines().size(), 1);
  for (std::uint32_t f = 0; f < faces.size(); ++f) EXPECT_EQ(faces.begin(f), arrays.starts[f]);
  EXPECT_EQ(column(faces.vertexColumn(), arrays.corners.size()), arrays.corners);
  EXPECT_EQ(column(faces.textureColumn(), arrays.corners.size()), arrays.faceTextures);
  EXPECT_EQ(column(faces.normalColumn(), arrays.corners.size()), arrays.faceNormals);
  const std::vector<std::uint64_t> numbers = smoothingOfElements(document, ElementKind::face);
  EXPECT_TRUE(std::ranges::equal(numbers, arrays.smoothing,
                                 [](auto a, auto b) { return a == static_cast<std::uint64_t>(b); }));
  std::set<std::uint32_t> grouped;
  const OBJMembers groups = document.members(Division::group, ElementKind::face);
  for (const MeshArrays::Group& group : mesh.groups) {
    Indices wanted(group.faces.begin(), group.faces.end());
    std::ranges::sort(wanted);
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    grouped.insert(wanted.begin(), wanted.end());
    const std::int32_t row = document.find(Division::group, group.name);
    if (row == kNoIndex) {
      EXPECT_TRUE(wanted.empty());
    } else {
      EXPECT_TRUE(std::ranges::equal(groups.row(static_cast<std::size_t>(row)), wanted));
    }
  }
  const std::int32_t rest = document.find(Division::group, "default");
  EXPECT_EQ(rest == kNoIndex ? 0 : groups.row(static_cast<std::size_t>(rest)).size(),
            faces.size() - grouped.size());
  const auto expectNames = [&](Division division, const Indices& rows, const std::vector<std::string>& names,
                               const std::vector<OBJName>& read) {
    const std::vector<std::int32_t> found = rowOfElements(document, division, ElementKind::face);
    for (std::size_t f = 0; f < rows.size(); ++f) {
      ASSERT_EQ(found[f] == kNoIndex, rows[f] == kNoIndex);
      if (rows[f] == kNoIndex) continue;
      EXPECT_EQ(read[static_cast<std::size_t>(found[f])].text, names[static_cast<std::size_t>(rows[f])]);
    }
  };
  expectNames(Division::material, arrays.material, mesh.materials, document.materials());
  expectNames(Division::object, arrays.object, mesh.objects, document.objects());
}

}  // namespace

TEST(MeshArrays, ComeBackAsTheyWere) {
  Random random(3);
  for (int round = 0; round < 100; ++round) {
    SCOPED_TRACE(round);
    roundTrip<float>(random);
    roundTrip<double>(random);
  }
}

TEST(MeshArrays, AreRefusedWhereTheyDoNotFit) {
  Random random(9);
  RandomArrays<double> arrays(random);
  while (arrays.smoothing.size() < 2 || arrays.positions.size() < 6) arrays = RandomArrays<double>(random);
  const Indices bad{-2};
  const Indices tooFar{0, static_cast<std::int32_t>(arrays.positions.size() / 3)};
  const Indices pastFaces{0, static_cast<std::int32_t>(arrays.smoothing.size())};
  const std::vector<std::int64_t> negative(arrays.smoothing.size(), -1);
  const double infinity[] = {0, 0, std::numeric_limits<double>::infinity()};
  const double grey[] = {0.5, 0.5, 0.5};
  const Indices two{0, 2};
  const struct {
    const char* problem;
    std::function<void(MeshArrays& mesh)> spoil;
  } rows[] = {
      {"positions: rows of 3", [&](MeshArrays& m) { m.positions = std::span<const double>(infinity, 2); }},
      {"normals[0]: is not finite", [&](MeshArrays& m) { m.normals = std::span<const double>(infinity); }},
      {"colors: there are 1", [&](MeshArrays& m) { m.colours = std::span<const double>(grey); }},
      {"face_starts[1]: face of fewer", [&](MeshArrays& m) { m.faceStarts = two; }},
      {"face_starts[0]: is not 0", [&](MeshArrays& m) { m.faceStarts = m.faceStarts.subspan(1); }},
      {"face_starts: is empty", [&](MeshArrays& m) { m.faceStarts = {}; }},
      {"face_starts: ends at", [&](MeshArrays& m) { m.faceStarts = m.faceStarts.first(2); }},
      {"face_vertices[0]: index", [&](MeshArrays& m) { m.positions = std::span<const double>(); }},
      {"face_texcoords: has 1 entries", [&](MeshArrays& m) { m.faceTextures = bad; }},
      {"lines[1]: index ", [&](MeshArrays& m) { m.lines = tooFar; }},
      {"face_material: has 1", [&](MeshArrays& m) { m.faceMaterial = bad; }},
      {"groups[a][0]: index -2", [&](MeshArrays& m) { m.groups[0].faces = bad; }},
      {"groups[b][1]: index ", [&](MeshArrays& m) { m.groups[1].faces = pastFaces; }},
      {"smoothing: has 1", [&](MeshArrays& m) { m.faceSmoothing = std::span(negative).first(1); }},
      {"smoothing[0]: is negative", [&](MeshArrays& m) { m.faceSmoothing = negative; }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.problem);
    MeshArrays mesh = arrays.mesh();
    row.spoil(mesh);
    EXPECT_EQ(problemOf(mesh).substr(0, std::strlen(row.problem)), row.problem);
    StringSink sink;
    EXPECT_EQ(writeArrays(mesh, sink).status, Status::writeFailed);
    EXPECT_EQ(sink.text, "");
  }
}

TEST(MeshArrays, GiveGroupsNamesOfOneWord) {
  MeshArrays mesh;
  for (const char* name : {"left ear", "left_ear", "", "a\\", "left\tear", "group", "a_", "\xC3\xA9"})
    mesh.groups.push_back({name, {}});
  const std::vector<std::string> expected{"left_ear_2", "left_ear", "group_2", "a__2",
                                          "left_ear_3", "group",    "a_",      "\xC3\xA9"};
  EXPECT_EQ(writtenGroupNames(mesh), expected);
}
