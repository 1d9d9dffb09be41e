#include "document/Diff.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <new>
#include <unordered_map>

namespace WavefrontOBJ {
namespace {

constexpr const char* kNouns[kElementKinds][2] = {{"face", "faces"}, {"line", "lines"}, {"point", "points"}};
constexpr std::array<Division, 4> kDivisions = {Division::group, Division::smoothing, Division::material,
                                                Division::object};

bool sameRow(std::span<const std::int32_t> a, std::span<const std::int32_t> b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

/// The rows of a division that have elements, by name. "off", "0" and none are one smoothing group.
std::map<std::string, std::vector<std::uint32_t>> faceLists(const OBJDocument& document, Division division) {
  const OBJMembers members = document.members(division, ElementKind::face);
  std::map<std::string, std::vector<std::uint32_t>> lists;
  for (std::size_t row = 0; row < members.rows(); ++row) {
    const auto faces = members.row(row);
    const bool none = row + 1 == members.rows();
    if (none && (division == Division::group || faces.empty())) continue;
    std::string name;
    if (division == Division::smoothing) {
      name = std::to_string(none ? 0 : document.smoothings()[row].number);
    } else if (!none) {
      name = (division == Division::group      ? document.groups()
              : division == Division::material ? document.materials()
                                               : document.objects())[row]
                 .text;
    }
    std::vector<std::uint32_t>& list = lists[name];
    const auto middle = static_cast<std::ptrdiff_t>(list.size());
    list.insert(list.end(), faces.begin(), faces.end());
    std::inplace_merge(list.begin(), list.begin() + middle, list.end());
  }
  return lists;
}

/// Of two ascending lists, how many each has that the other has not.
std::array<std::uint64_t, 2> onlyInOne(const std::vector<std::uint32_t>& a,
                                       const std::vector<std::uint32_t>& b) {
  std::uint64_t both = 0;
  for (std::size_t i = 0, j = 0; i < a.size() && j < b.size();) {
    if (a[i] == b[j]) ++both;
    const std::uint32_t least = std::min(a[i], b[j]);
    i += a[i] == least ? 1U : 0U;
    j += b[j] == least ? 1U : 0U;
  }
  return {a.size() - both, b.size() - both};
}

void compareMemberships(const OBJDocument& a, const OBJDocument& b, Division division,
                        std::vector<MembershipDifference>& differences) {
  const auto ours = faceLists(a, division);
  const auto theirs = faceLists(b, division);
  static const std::vector<std::uint32_t> kNone;
  const auto add = [&](const std::string& name) {
    const auto in = [&name](const auto& lists) { return lists.find(name) != lists.end(); };
    const auto& first = in(ours) ? ours.at(name) : kNone;
    const auto& second = in(theirs) ? theirs.at(name) : kNone;
    if (in(ours) && in(theirs) && first == second) return;
    differences.push_back(
        {division, name, {in(ours), in(theirs)}, {first.size(), second.size()}, onlyInOne(first, second)});
  };
  for (const auto& row : ours) add(row.first);
  for (const auto& row : theirs) {
    if (ours.find(row.first) == ours.end()) add(row.first);
  }
}

Result elementLine(const OBJDocument& document, ElementKind kind, std::uint32_t index, std::uint64_t& line) {
  if (index >= document.elements(kind).size()) return {};
  return document.lineNumber(document.elements(kind).offset(index), line);
}

Result comparePositions(const OBJDocument& a, const OBJDocument& b, DocumentDifference& difference,
                        const Progress& progress) {
  const std::uint32_t count = a.vectorCount(VectorKind::position);
  if (count != b.vectorCount(VectorKind::position)) return {};
  const auto half = [&progress](double from) -> Progress {
    if (!progress) return {};
    return [&progress, from](double done) { return progress(from + done / 2); };
  };
  std::vector<double> ours;
  std::vector<double> theirs;
  Result result = a.values(VectorKind::position, 3, ours, half(0));
  if (result) result = b.values(VectorKind::position, 3, theirs, half(0.5));
  if (!result) return result;
  difference.positionsCompared = true;
  double sum = 0;
  for (std::uint32_t v = 0; v < count; ++v) {
    const double* const p = &ours[std::size_t{3} * v];
    const double* const q = &theirs[std::size_t{3} * v];
    // What is no number stays where it is.
    const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    if (std::equal(p, p + 3, q, same)) continue;
    double move = std::hypot(q[0] - p[0], q[1] - p[1], q[2] - p[2]);
    if (std::isnan(move)) move = std::numeric_limits<double>::infinity();
    if (++difference.moved == 1 || move > difference.greatestMove) {
      difference.greatestMove = move;
      difference.greatestVertex = v;
      difference.greatestPositions = {{{p[0], p[1], p[2]}, {q[0], q[1], q[2]}}};
    }
    sum += move;
  }
  if (difference.moved == 0) return {};
  difference.meanMove = sum / static_cast<double>(difference.moved);
  const std::uint32_t v = difference.greatestVertex;
  result = a.lineNumber(a.vectorOffsets(VectorKind::position)[v], difference.greatestLines[0]);
  if (!result) return result;
  return b.lineNumber(b.vectorOffsets(VectorKind::position)[v], difference.greatestLines[1]);
}

}  // namespace

Result compareTopology(const OBJDocument& a, const OBJDocument& b, std::optional<TopologyDifference>& first) {
  using Kind = TopologyDifference::Kind;
  first.reset();
  const std::uint32_t vertices = a.vectorCount(VectorKind::position);
  if (vertices != b.vectorCount(VectorKind::position)) {
    first = TopologyDifference{Kind::vertexCount};
    first->values = {vertices, b.vectorCount(VectorKind::position)};
    return {};
  }
  for (std::size_t k = 0; k < kElementKinds; ++k) {
    const auto kind = static_cast<ElementKind>(k);
    const ElementTable& ours = a.elements(kind);
    const ElementTable& theirs = b.elements(kind);
    const std::uint32_t both = std::min(ours.size(), theirs.size());
    std::uint32_t i = 0;
    while (i < both && sameRow(ours.vertices(i), theirs.vertices(i))) ++i;
    if (i == both && ours.size() == theirs.size()) continue;
    TopologyDifference difference{Kind::elementCount, kind, i};
    difference.values = {ours.size(), theirs.size()};
    if (i < both) {
      const auto p = ours.vertices(i);
      const auto q = theirs.vertices(i);
      if (p.size() != q.size()) {
        difference.kind = Kind::cornerCount;
        difference.values = {p.size(), q.size()};
      } else {
        const auto corner =
            static_cast<std::size_t>(std::mismatch(p.begin(), p.end(), q.begin()).first - p.begin());
        difference.kind = Kind::corner;
        difference.corner = static_cast<std::uint32_t>(corner);
        difference.values = {static_cast<std::uint64_t>(p[corner]), static_cast<std::uint64_t>(q[corner])};
      }
    }
    first = difference;
    Result result = elementLine(a, kind, i, first->lines[0]);
    return result ? elementLine(b, kind, i, first->lines[1]) : result;
  }
  return {};
}

std::string TopologyDifference::text(const OBJDocument& a, const OBJDocument& b) const {
  const std::array<const OBJDocument*, 2> documents = {&a, &b};
  const char* const* const nouns = kNouns[static_cast<std::size_t>(element)];
  const auto side = [&](std::size_t i, const std::string& what) {
    const std::string line = lines[i] > 0 ? ":" + std::to_string(lines[i]) : "";
    return documents[i]->source().name() + line + " has " + what;
  };
  const auto count = [](std::uint64_t n, const std::string& one, const std::string& many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
  };
  std::string start;
  std::array<std::string, 2> words;
  for (std::size_t i = 0; i < 2; ++i) {
    const std::uint64_t n = values[i];
    switch (kind) {
      case Kind::vertexCount:
        words[i] = count(n, "vertex", "vertices");
        break;
      case Kind::elementCount:
        words[i] = count(n, nouns[0], nouns[1]);
        break;
      case Kind::cornerCount:
        words[i] = count(n, "corner", "corners");
        break;
      case Kind::corner:
        words[i] = "vertex " + std::to_string(n + 1);
        break;
    }
  }
  if (kind == Kind::cornerCount || kind == Kind::corner) {
    start = std::string(nouns[0]) + " " + std::to_string(std::uint64_t{index} + 1);
    if (kind == Kind::corner) start += ", corner " + std::to_string(std::uint64_t{corner} + 1);
    start += ": ";
  }
  return start + side(0, words[0]) + ", " + side(1, words[1]);
}

Result diff(const OBJDocument& a, const OBJDocument& b, DocumentDifference& difference,
            const Progress& progress) {
  try {
    difference = {};
    const std::array<const OBJDocument*, 2> documents = {&a, &b};
    for (std::size_t d = 0; d < 2; ++d) {
      for (std::size_t k = 0; k < kVectorKinds; ++k)
        difference.vectors[d][k] = documents[d]->vectorCount(static_cast<VectorKind>(k));
      for (std::size_t k = 0; k < kElementKinds; ++k)
        difference.elements[d][k] = documents[d]->elements(static_cast<ElementKind>(k)).size();
    }
    if (Result result = compareTopology(a, b, difference.topology); !result) return result;
    for (const Division division : kDivisions) compareMemberships(a, b, division, difference.memberships);
    if (!difference.topology) {
      const auto differs = [](std::span<const std::int32_t> p, std::span<const std::int32_t> q) {
        const auto missing = [](std::int32_t index) { return index == kNoIndex; };
        // A file without any has no column.
        if (p.empty() || q.empty())
          return !std::all_of(p.begin(), p.end(), missing) || !std::all_of(q.begin(), q.end(), missing);
        return !sameRow(p, q);
      };
      for (std::uint32_t i = 0; i < a.faces().size(); ++i) {
        difference.facesWithOtherTextures += differs(a.faces().textures(i), b.faces().textures(i)) ? 1U : 0U;
        difference.facesWithOtherNormals += differs(a.faces().normals(i), b.faces().normals(i)) ? 1U : 0U;
      }
    }
    return comparePositions(a, b, difference, progress);
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, "not enough memory to compare " + a.source().name()};
  }
}

}  // namespace WavefrontOBJ
