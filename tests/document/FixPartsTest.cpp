#include <algorithm>
#include <cmath>
#include <set>

#include "document/FixSupport.h"
#include "document/fix/FaceCutting.h"
#include "document/fix/SmoothingColours.h"
#include "document/fix/VectorRepair.h"

using namespace WavefrontOBJ;

namespace {

TEST(FixParts, MakesNumbersOfWords) {
  struct Words {
    const char* text;
    const char* fixed;
    const char* codes;
    VectorKind kind = VectorKind::position;
  };
  const Words rows[] = {
      {"1 -2.5 +3e-2", "1 -2.5 +3e-2", ""},
      {" 1\t.5  5.", " 1\t.5  5.", ""},
      {"1 2", "1 2 0", "number-missing"},
      {"", "0 0 0", "number-missing"},
      {"1", "1 0", "one-texture-value", VectorKind::texture},
      {"", "0 0", "number-missing", VectorKind::texture},
      {"1 2", "1 2", "", VectorKind::texture},
      {"1 2", "1 2 0", "number-missing", VectorKind::normal},
      {"1,5 -2,25 0,1e1", "1.5 -2.25 0.1e1", "number-with-comma"},
      {"1,2,3", "1 2 3", "number-with-comma"},
      {"1,2", "1.2 0 0", "number-missing number-with-comma"},
      {"1, 2, 3", "1 2 3", "not-a-number"},
      {"1,5x 1.5.5 0x10", "1 1.5 0", "not-a-number"},
      {"1e+ - x", "1 0 0", "not-a-number"},
      {"nan -inf INFINITY", "0 0 0", "number-not-finite"},
      {"1e39 -1e400 3.4e38", "3.4028235e+38 -3.4028235e+38 3.4e38", "number-out-of-range"},
      {"400000000000000000000000000000000000000 0 1e-99", "3.4028235e+38 0 1e-99", "number-out-of-range"},
      {"1 2 3 0.5 0.25 1", "1 2 3 0.5 0.25 1", ""},
      {"1 2 3 0,5 # note", "1 2 3 0.5", "number-with-comma trailing-comment"},
      {"1,2,3 #4 5", "1 2 3", "number-with-comma trailing-comment"},
      {"1 2 # 3", "1 2 0", "number-missing trailing-comment"},
      {"1 2 nan", "1 2", "extra-words", VectorKind::texture},
      {"1\f2\v3", "1 2 3", ""},
  };
  const auto codes = [](FixKindBits bits) {
    FixReport report;
    for (std::size_t i = 0; i < kFixKindCount; ++i) {
      if ((bits >> i & 1U) != 0) report.add(static_cast<FixKind>(i), 0, {});
    }
    return codesOf(report);
  };
  for (const Words& row : rows) {
    std::string text = row.text;
    EXPECT_EQ(codes(repairVector(row.kind, text)), row.codes) << row.text;
    EXPECT_EQ(text, row.fixed);
  }
  // The longest that stays, and what is written in its place.
  std::string number(1020 - 4, '1');
  number[1] = '.';
  for (const char* const more : {"", "1"}) {
    std::string text = number + more + " 2 3";
    const std::string before = text;
    EXPECT_EQ(codes(repairVector(VectorKind::position, text)), *more == '\0' ? "" : "number-long");
    EXPECT_EQ(text, *more == '\0' ? before : "1.1111112 2 3");
  }
}

// ---- cutting faces ----------------------------------------------------------------------------------------

using Pieces = std::vector<std::vector<std::uint32_t>>;

Pieces cutPieces(const std::vector<std::int32_t>& vertices, const std::vector<FaceCutter::Point>& points,
                 std::size_t most) {
  FaceCutter cutter;
  std::vector<std::uint32_t> flat;
  cutter.cut(vertices, points, most, flat);
  Pieces pieces(1);
  for (const std::uint32_t position : flat) {
    if (position == Rewriter::kPieceEnd) {
      pieces.emplace_back();
    } else {
      pieces.back().push_back(position);
    }
  }
  EXPECT_TRUE(pieces.back().empty());
  pieces.pop_back();
  return pieces;
}

double areaOf(const std::vector<FaceCutter::Point>& points, const std::vector<std::uint32_t>& corners) {
  double area = 0;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const FaceCutter::Point& a = points[corners[i]];
    const FaceCutter::Point& b = points[corners[(i + 1) % corners.size()]];
    area += (static_cast<double>(a[0]) * b[1] - static_cast<double>(b[0]) * a[1]) / 2;
  }
  return area;
}

/// Pieces have few, different corners and the face's own chain. Chords inside a simple face give pieces that
/// all turn its way and together have its area.
void expectCut(const std::vector<std::int32_t>& vertices, const std::vector<FaceCutter::Point>& points,
               std::size_t most, bool inside) {
  Chain chain;
  addWalk(chain, vertices);
  std::vector<std::uint32_t> all;
  for (std::uint32_t i = 0; i < vertices.size(); ++i) all.push_back(i);
  const double area = inside ? areaOf(points, all) : 0;
  double sum = 0;
  Chain pieceChain;
  for (const std::vector<std::uint32_t>& piece : cutPieces(vertices, points, most)) {
    EXPECT_GE(piece.size(), 3U);
    EXPECT_LE(piece.size(), most);
    std::vector<std::int32_t> named;
    for (const std::uint32_t position : piece) named.push_back(vertices[position]);
    EXPECT_EQ(std::set<std::int32_t>(named.begin(), named.end()).size(), named.size());
    addWalk(pieceChain, named);
    if (inside) sum += std::fabs(areaOf(points, piece));
  }
  EXPECT_EQ(pieceChain, chain);
  EXPECT_NEAR(sum, std::fabs(area), 1e-4 * std::fabs(area));
}

TEST(FixParts, CutsAlongChordsInside) {
  Random random(3);
  // Stars, convex where all radii are 1, both ways round.
  for (int run = 0; run < 300 && !testing::Test::HasFailure(); ++run) {
    const std::size_t size = 4 + below(random, 120);
    const std::size_t most = 3 + below(random, 20);
    std::vector<std::int32_t> vertices(size);
    std::vector<FaceCutter::Point> points(size);
    for (std::size_t i = 0; i < size; ++i) {
      vertices[i] = static_cast<std::int32_t>(i + 5);
      // Around the circle by its rational form: the library's sines trap on some emulated processors.
      const double u = static_cast<double>(2 * i + 1) / static_cast<double>(size) - 1;
      const double t = u / (1 - std::fabs(u));
      const double y = (run % 2 == 0 ? 2 : -2) * t / (1 + t * t);
      const double radius = run % 3 == 0 ? 1.0 : 0.4 + below(random, 100) / 100.0;
      points[i] = {static_cast<float>(1000 + radius * (1 - t * t) / (1 + t * t)),
                   static_cast<float>(radius * y), 7};
    }
    SCOPED_TRACE(size);
    expectCut(vertices, points, most, true);
    expectCut(vertices, {}, most, false);
    if (run % 3 == 0) {
      // As few pieces as can be.
      EXPECT_EQ(cutPieces(vertices, points, most).size(), (size - 2 + most - 3) / (most - 2));
      EXPECT_EQ(cutPieces(vertices, {}, most).size(), (size - 2 + most - 3) / (most - 2));
    }
  }
  // A square with a square hole, along a bridge that the face runs twice.
  const std::vector<std::int32_t> bridged{0, 1, 2, 3, 0, 4, 5, 6, 7, 4};
  const FaceCutter::Point corners[8] = {{0, 0, 0}, {9, 0, 0}, {9, 9, 0}, {0, 9, 0},
                                        {3, 3, 0}, {3, 6, 0}, {6, 6, 0}, {6, 3, 0}};
  std::vector<FaceCutter::Point> points;
  for (const std::int32_t vertex : bridged) points.push_back(corners[vertex]);
  expectCut(bridged, points, 88, true);
  EXPECT_EQ(cutPieces(bridged, points, 88).size(), 2U);
}

// ---- smoothing groups -------------------------------------------------------------------------------------

/// A grid of quads, each with one of `numbers` numbers in patches, and loose faces.
std::string smoothMesh(Random& random, std::uint32_t side, std::uint32_t numbers, bool scattered) {
  std::string text;
  for (std::uint32_t i = 0; i < (side + 1) * (side + 1); ++i) text += "v 0 0 0\n";
  for (std::uint32_t y = 0; y < side; ++y) {
    for (std::uint32_t x = 0; x < side; ++x) {
      const std::uint32_t number = scattered ? below(random, numbers) : (y / 2 * side + x / 2) % numbers;
      text += number == 0 ? "s off\n" : "s " + std::to_string(number * 3) + "\n";
      const std::uint32_t a = y * (side + 1) + x + 1;
      text += "f";
      for (const std::uint32_t v : {a, a + 1, a + side + 2, a + side + 1}) text += " " + std::to_string(v);
      text += "\n";
    }
  }
  return text;
}

struct Borders {
  std::size_t lost = 0;       ///< edges between faces of two numbers that have one number now
  std::size_t lostTouch = 0;  ///< the same at vertices
  std::size_t made = 0;       ///< edges between faces of one number that have two numbers now
};

Borders bordersOf(const std::vector<std::vector<std::uint32_t>>& faces,
                  const std::vector<std::uint64_t>& before, const std::vector<std::uint32_t>& after) {
  Borders borders;
  for (std::size_t a = 0; a < faces.size(); ++a) {
    for (std::size_t b = 0; b < a; ++b) {
      std::size_t common = 0;
      for (const std::uint32_t v : faces[a])
        common += std::count(faces[b].begin(), faces[b].end(), v) > 0 ? 1 : 0;
      const bool differ = before[a] != before[b];
      if (common >= 2) borders.lost += differ && after[a] == after[b] ? 1 : 0;
      if (common >= 1) borders.lostTouch += differ && after[a] == after[b] ? 1 : 0;
      if (common >= 2) borders.made += !differ && after[a] != after[b] ? 1 : 0;
    }
  }
  return borders;
}

TEST(FixParts, KeepsSmoothingBorders) {
  Random random(11);
  std::map<SmoothingNumbers::Outcome, int> outcomes;
  int lost = 0;
  int edgesAlone = 0;
  for (int run = 0; run < 150 && !testing::Test::HasFailure(); ++run) {
    const std::uint32_t numbers = 2 + below(random, 40);
    const std::size_t most = 1 + below(random, 9);
    const OBJDocument document = documentOf(smoothMesh(random, 3 + below(random, 8), numbers, run % 2 == 0));
    const SmoothingNumbers plan = smoothingNumbers(document, most);
    std::vector<std::vector<std::uint32_t>> faces;
    std::vector<std::uint64_t> before;
    std::vector<std::uint32_t> after;
    for (std::uint32_t i = 0; i < document.faces().size(); ++i) {
      const auto vertices = document.faces().vertices(i);
      faces.emplace_back(vertices.begin(), vertices.end());
      const auto row = static_cast<std::size_t>(document.states()[document.faces().stateOf(i)].smoothing);
      before.push_back(document.smoothings()[row].number);
      after.push_back(plan.byFace.empty() ? plan.byRow[row] : plan.byFace[i]);
      EXPECT_EQ(after.back() == 0, before.back() == 0);
    }
    ++outcomes[plan.outcome];
    const Borders borders = bordersOf(faces, before, after);
    EXPECT_EQ(borders.lost, plan.bordersLost);
    EXPECT_EQ(borders.made, 0U);
    const std::set<std::uint32_t> used(after.begin(), after.end());
    const std::set<std::uint64_t> original(before.begin(), before.end());
    EXPECT_LE(used.size() - used.count(0), most);
    lost += plan.bordersLost > 0 ? 1 : 0;
    edgesAlone += plan.bordersLost == 0 && borders.lostTouch > 0 ? 1 : 0;
    if (plan.outcome == SmoothingNumbers::Outcome::kept) {
      EXPECT_TRUE(std::equal(before.begin(), before.end(), after.begin()));
      continue;
    }
    EXPECT_GT(original.size() - original.count(0), most);
    EXPECT_EQ(used.size() - used.count(0), most);
  }
  // Each way is taken.
  EXPECT_GT(outcomes[SmoothingNumbers::Outcome::kept], 5);
  EXPECT_GT(outcomes[SmoothingNumbers::Outcome::renumbered], 20);
  EXPECT_GT(outcomes[SmoothingNumbers::Outcome::parted], 20);
  EXPECT_GT(lost, 5);
  EXPECT_GT(edgesAlone, 3);
}

TEST(FixParts, SparesTheHostsSmoothingTable) {
  const TempFolder folder;
  Random random(1);
  for (const std::uint32_t numbers : {255U, 256U, 257U, 700U}) {
    for (const bool zero : {false, true}) {
      SCOPED_TRACE(std::to_string(numbers) + (zero ? " with s 0" : ""));
      std::string text = smoothMesh(random, 54, numbers, false);
      if (zero) text += "s 0\nf 1 2 3\n";
      const Fixed result = fixed(documentOf(text));
      OBJModel model(true);
      ASSERT_TRUE(model.read(folder.write("s.obj", result.text), false));
      EXPECT_LE(model._smoothingGroupCount, 255U);
      EXPECT_EQ(result.report.count(FixKind::smoothingBorder), 0U);
      EXPECT_EQ(result.report.count(FixKind::smoothingZero), zero ? 1U : 0U);
      EXPECT_EQ(result.report.count(FixKind::smoothingRenumbered) > 0, numbers > 256);
    }
  }
  const std::string v = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
  const Fixed wide = fixed(documentOf(v + "s 1\nf 1 2 3\ns 4294967296\nf 1 2 3\ns 4294967295\nf 1 2 3\n"));
  EXPECT_EQ(wide.text, v + "s 1\nf 1 2 3\ns 2\nf 1 2 3\ns 4294967295\nf 1 2 3\n");
  EXPECT_EQ(codesOf(wide.report), "smoothing-wide");
}

}  // namespace
