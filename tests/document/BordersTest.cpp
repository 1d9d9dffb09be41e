// What groups mean on the mesh, against nested loops over plain lists.
#include "document/Borders.h"

#include <algorithm>
#include <map>
#include <set>

#include "TestSupport.h"
#include "document/ElementRows.h"

using namespace WavefrontOBJ;

namespace {

using Edge = std::array<std::int32_t, 2>;

/// Few vertices for many faces: poles, edges with many faces, faces that have a vertex twice or an edge
/// twice.
std::string randomMesh(Random& random) {
  const std::uint32_t vertices = 3 + below(random, 20);
  std::string text;
  for (std::uint32_t i = 0; i < vertices; ++i) text += "v 0 0 0\n";
  for (std::uint32_t i = below(random, 80); i > 0; --i) {
    if (below(random, 3) == 0)
      text += std::string("s ") + std::array{"off", "0", "1", "2", "3"}[below(random, 5)] + "\n";
    if (below(random, 3) == 0)
      text += std::string("usemtl") + std::array{"", " m", " n"}[below(random, 3)] + "\n";
    text += "f";
    for (std::uint32_t c = 3 + below(random, 7); c > 0; --c) {
      text += " " + std::to_string(1 + (below(random, 3) == 0 ? below(random, 2) : below(random, vertices)));
    }
    text += "\n";
  }
  return text;
}

Edge edgeAt(std::span<const std::int32_t> face, std::size_t k) {
  const auto [a, b] = std::pair(face[k], face[(k + 1) % face.size()]);
  return {std::min(a, b), std::max(a, b)};
}

}  // namespace

TEST(Borders, AreWhereNestedLoopsFindThem) {
  Random random(5);
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    OBJDocument document;
    ASSERT_TRUE(document.readBytes(randomMesh(random), "m.obj"));
    const ElementTable& table = document.faces();
    std::vector<std::uint32_t> list;
    for (std::uint32_t f = below(random, 2 * table.size() + 1); f > 0; --f)
      list.push_back(below(random, table.size()));
    const std::set<std::uint32_t> members(list.begin(), list.end());

    std::set<std::int32_t> vertices;
    std::map<Edge, std::vector<std::uint32_t>> users;
    for (std::uint32_t f = 0; f < table.size(); ++f) {
      const auto face = table.vertices(f);
      if (members.contains(f)) vertices.insert(face.begin(), face.end());
      for (std::size_t k = 0; k < face.size(); ++k) {
        if (const Edge edge = edgeAt(face, k); edge[0] != edge[1]) users[edge].push_back(f);
      }
    }
    EXPECT_EQ(verticesOf(document, list), std::vector(vertices.begin(), vertices.end()));
    const std::vector<std::uint8_t> mask = maskOf(document, list, 7);
    ASSERT_EQ(mask.size(), document.vectorCount(VectorKind::position));
    for (std::size_t v = 0; v < mask.size(); ++v) {
      EXPECT_EQ(mask[v], vertices.contains(static_cast<std::int32_t>(v)) ? 7 : 0);
    }

    const FaceEdges edges(document);
    ASSERT_EQ(edges.size(), users.size());
    std::uint32_t i = 0;
    for (const auto& [edge, faces] : users) {
      EXPECT_EQ(edges.vertices(i), edge);
      EXPECT_TRUE(std::ranges::equal(edges.faces(i++), faces));
    }
    /// The edges for which `isBorder` holds, and their corners in the faces for which `sees` does.
    const auto expect = [&](const Border& border, auto isBorder, auto sees) {
      std::set<Edge> found;
      std::vector<std::uint32_t> corners;
      for (std::uint32_t f = 0; f < table.size(); ++f) {
        for (std::size_t k = 0; sees(f) && k < table.cornerCount(f); ++k) {
          const Edge edge = edgeAt(table.vertices(f), k);
          if (edge[0] == edge[1] || !isBorder(users[edge])) continue;
          found.insert(edge);
          corners.push_back(table.begin(f) + static_cast<std::uint32_t>(k));
        }
      }
      EXPECT_EQ(border.edges, std::vector(found.begin(), found.end()));
      EXPECT_EQ(border.corners, corners);
    };
    const auto isMember = [&](std::uint32_t f) { return members.contains(f); };
    for (const bool open : {false, true}) {
      expect(
          borderOf(edges, list, open),
          [&](const auto& faces) {
            return !std::ranges::all_of(faces, isMember) || (open && faces.size() == 1);
          },
          isMember);
    }
    const std::vector<std::uint64_t> numbers = smoothingOfElements(document, ElementKind::face);
    expect(
        smoothingBorders(edges),
        [&](const auto& faces) {
          return std::ranges::any_of(faces, [&](std::uint32_t f) { return numbers[f] != numbers[faces[0]]; });
        },
        [](std::uint32_t) { return true; });

    // The same by element and by number, and by element and by name.
    const SmoothingMembers by = membersBySmoothing(document, ElementKind::face);
    EXPECT_TRUE(std::ranges::is_sorted(by.numbers));
    std::map<std::uint64_t, std::vector<std::uint32_t>> expected;
    for (std::uint32_t f = 0; f < table.size(); ++f) expected[numbers[f]].push_back(f);
    ASSERT_EQ(by.members.rows(), expected.size());
    std::size_t row = 0;
    for (const auto& [number, faces] : expected) {
      EXPECT_EQ(by.numbers[row], number);
      EXPECT_TRUE(std::ranges::equal(by.members.row(row++), faces));
    }
    const OBJMembers materials = document.members(Division::material, ElementKind::face);
    const std::vector<std::int32_t> rows = rowOfElements(document, Division::material, ElementKind::face);
    for (std::size_t m = 0; m < materials.rows(); ++m) {
      const bool named = m + 1 < materials.rows() && !document.materials()[m].text.empty();
      const auto material = named ? static_cast<std::int32_t>(m) : kNoIndex;
      for (const std::uint32_t f : materials.row(m)) EXPECT_EQ(rows[f], material);
    }
  }
}
