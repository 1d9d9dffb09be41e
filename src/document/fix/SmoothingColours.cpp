#include "document/fix/SmoothingColours.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

namespace WavefrontOBJ {
namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

/// Where a face meets others: a vertex, or the two ends of an edge.
struct Meeting {
  std::uint64_t place;
  std::uint32_t face;
};

std::vector<Meeting> meetings(const ElementTable& faces, const std::vector<std::uint32_t>& rows, bool edges) {
  std::vector<Meeting> all;
  for (std::uint32_t i = 0; i < faces.size(); ++i) {
    if (rows[i] == kNone) continue;
    const auto vertices = faces.vertices(i);
    for (std::size_t k = 0; k < vertices.size(); ++k) {
      const auto a = static_cast<std::uint64_t>(vertices[k]);
      const auto b = static_cast<std::uint64_t>(vertices[k + 1 < vertices.size() ? k + 1 : 0]);
      if (edges && a == b) continue;
      all.push_back({edges ? std::min(a, b) << 32 | std::max(a, b) : a, i});
    }
  }
  std::sort(all.begin(), all.end(), [](const Meeting& a, const Meeting& b) {
    return a.place != b.place ? a.place < b.place : a.face < b.face;
  });
  return all;
}

/// Calls `visit` with the faces that meet at each place.
template <class Visit>
void forEachPlace(const std::vector<Meeting>& all, Visit visit) {
  for (std::size_t i = 0; i < all.size();) {
    std::size_t end = i + 1;
    while (end < all.size() && all[end].place == all[i].place) ++end;
    visit(std::span<const Meeting>(all.data() + i, end - i));
    i = end;
  }
}

/// What must not have the same colour, both ways.
class Graph {
 public:
  using Pair = std::pair<std::uint32_t, std::uint32_t>;

  Graph(std::size_t nodes, std::vector<Pair> pairs) : begins_(nodes + 1, 0) {
    for (const Pair& pair : pairs) {
      ++begins_[pair.first + 1];
      ++begins_[pair.second + 1];
    }
    std::partial_sum(begins_.begin(), begins_.end(), begins_.begin());
    neighbours_.resize(begins_.back());
    std::vector<std::size_t> next(begins_.begin(), begins_.end() - 1);
    for (const Pair& pair : pairs) {
      neighbours_[next[pair.first]++] = pair.second;
      neighbours_[next[pair.second]++] = pair.first;
    }
  }
  std::size_t size() const { return begins_.size() - 1; }
  std::span<const std::uint32_t> of(std::uint32_t node) const {
    return {neighbours_.data() + begins_[node], begins_[node + 1] - begins_[node]};
  }

 private:
  std::vector<std::size_t> begins_;
  std::vector<std::uint32_t> neighbours_;
};

void sortUnique(std::vector<Graph::Pair>& pairs) {
  std::sort(pairs.begin(), pairs.end());
  pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
}

/// The neighbourhood of nodes, `node[face]` of each face, of which those that are of one row need not differ.
Graph neighbourhood(const std::vector<Meeting>& all, const std::vector<std::uint32_t>& node,
                    const std::vector<std::uint32_t>& row, std::size_t nodes, std::size_t most) {
  std::vector<Graph::Pair> pairs;
  std::size_t limit = std::size_t{1} << 20;
  std::vector<std::uint32_t> here;
  forEachPlace(all, [&](std::span<const Meeting> faces) {
    if (faces.size() < 2) return;
    here.clear();
    for (const Meeting& meeting : faces) here.push_back(meeting.face);
    std::sort(here.begin(), here.end(), [&](std::uint32_t a, std::uint32_t b) { return node[a] < node[b]; });
    here.erase(std::unique(here.begin(), here.end(),
                           [&](std::uint32_t a, std::uint32_t b) { return node[a] == node[b]; }),
               here.end());
    for (std::size_t i = 0; i < here.size(); ++i) {
      // Of more nodes than there are colours some have to be alike; not all pairs are needed to see that.
      for (std::size_t k = i + 1; k < here.size() && k <= i + most + 1; ++k) {
        if (row[here[i]] != row[here[k]]) pairs.emplace_back(node[here[i]], node[here[k]]);
      }
    }
    if (pairs.size() > limit) {
      sortUnique(pairs);
      limit = std::max(limit, 2 * pairs.size());
    }
  });
  sortUnique(pairs);
  return {nodes, std::move(pairs)};
}

/// Nodes in an order in which each has few neighbours before it: at each step from the last to the first, the
/// one that has fewest left. (Matula and Beck, 1983.)
std::vector<std::uint32_t> smallestLast(const Graph& graph) {
  const std::size_t size = graph.size();
  std::vector<std::size_t> degree(size);
  std::size_t greatest = 0;
  for (std::uint32_t i = 0; i < size; ++i) {
    degree[i] = graph.of(i).size();
    greatest = std::max(greatest, degree[i]);
  }
  std::vector<std::vector<std::uint32_t>> buckets(greatest + 1);
  for (std::uint32_t i = 0; i < size; ++i) buckets[degree[i]].push_back(i);
  std::vector<bool> taken(size);
  std::vector<std::uint32_t> order;
  order.reserve(size);
  for (std::size_t d = 0; order.size() < size;) {
    if (buckets[d].empty()) {
      ++d;
      continue;
    }
    const std::uint32_t node = buckets[d].back();
    buckets[d].pop_back();
    // It has moved to another bucket since, or is done.
    if (taken[node] || degree[node] != d) continue;
    taken[node] = true;
    order.push_back(node);
    for (const std::uint32_t other : graph.of(node)) {
      if (!taken[other]) buckets[--degree[other]].push_back(other);
    }
    if (d > 0) --d;
  }
  std::reverse(order.begin(), order.end());
  return order;
}

/// Colours from 1 to `most`; the nodes of `fixed` (0 for others) have theirs. Answers how many nodes have a
/// neighbour of the same colour in the end: 0 when all is well.
std::size_t colour(const Graph& graph, const std::vector<std::uint32_t>& order, std::size_t most,
                   std::vector<std::uint32_t>& colours) {
  std::vector<std::size_t> uses(most + 1);
  for (const std::uint32_t c : colours) ++uses[c];
  std::vector<std::size_t> around(most + 1);
  std::size_t conflicts = 0;
  for (const std::uint32_t node : order) {
    if (colours[node] != 0) continue;
    std::fill(around.begin(), around.end(), 0);
    for (const std::uint32_t other : graph.of(node)) ++around[colours[other]];
    // The rarest, so that as few numbers as possible become one.
    std::size_t best = 1;
    for (std::size_t c = 2; c <= most; ++c) {
      if (std::pair(around[c], uses[c]) < std::pair(around[best], uses[best])) best = c;
    }
    conflicts += around[best] != 0 ? 1 : 0;
    colours[node] = static_cast<std::uint32_t>(best);
    ++uses[best];
  }
  return conflicts;
}

/// Patches of faces of one row that meet one another. Answers how many; `patch[face]` of each face.
std::size_t patches(const std::vector<Meeting>& all, const std::vector<std::uint32_t>& row,
                    std::vector<std::uint32_t>& patch) {
  std::vector<std::uint32_t> parent(row.size());
  std::iota(parent.begin(), parent.end(), 0U);
  const auto root = [&parent](std::uint32_t face) {
    while (parent[face] != face) face = parent[face] = parent[parent[face]];
    return face;
  };
  std::vector<std::uint32_t> here;
  forEachPlace(all, [&](std::span<const Meeting> faces) {
    here.clear();
    for (const Meeting& meeting : faces) here.push_back(meeting.face);
    std::sort(here.begin(), here.end(), [&](std::uint32_t a, std::uint32_t b) { return row[a] < row[b]; });
    for (std::size_t i = 1; i < here.size(); ++i) {
      if (row[here[i]] == row[here[i - 1]]) parent[root(here[i])] = root(here[i - 1]);
    }
  });
  std::vector<std::uint32_t> number(row.size(), kNone);
  patch.assign(row.size(), kNone);
  std::uint32_t count = 0;
  for (std::uint32_t i = 0; i < row.size(); ++i) {
    if (row[i] == kNone) continue;
    std::uint32_t& n = number[root(i)];
    if (n == kNone) n = count++;
    patch[i] = n;
  }
  return count;
}

class Renumbering {
 public:
  Renumbering(const OBJDocument& document, std::size_t most) : document_(document), most_(most) {}

  SmoothingNumbers make() {
    collectRows();
    if (used_ <= most_) {
      keep();
      result_.zeroSaved = zeroUsed_;
    } else {
      renumber();
    }
    return std::move(result_);
  }

 private:
  static constexpr std::uint64_t kWidest = std::numeric_limits<std::uint32_t>::max();

  std::uint64_t numberOf(std::size_t row) const { return document_.smoothings()[row].number; }

  /// The rows of elements that have a number: of lines and points as well, whose numbers the host records.
  void collectRows() {
    const std::size_t rows = document_.smoothings().size();
    std::vector<bool> isUsed(rows);
    rowOfFace_.assign(document_.faces().size(), kNone);
    for (std::size_t k = 0; k < kElementKinds; ++k) {
      const auto kind = static_cast<ElementKind>(k);
      const ElementTable& table = document_.elements(kind);
      const auto runs = table.runs();
      for (std::size_t r = 0; r < runs.size(); ++r) {
        const std::int32_t row = document_.states()[runs[r].state].smoothing;
        if (row == kNoIndex) continue;
        const auto index = static_cast<std::size_t>(row);
        const std::uint32_t end = r + 1 < runs.size() ? runs[r + 1].first : table.size();
        if (end == runs[r].first) continue;
        isUsed[index] = true;
        if (kind != ElementKind::face || numberOf(index) == 0) continue;
        std::fill(rowOfFace_.begin() + runs[r].first, rowOfFace_.begin() + end,
                  static_cast<std::uint32_t>(row));
      }
    }
    for (std::size_t row = 0; row < rows; ++row) {
      if (!isUsed[row]) continue;
      used_ += numberOf(row) != 0 ? 1 : 0;
      zeroUsed_ = zeroUsed_ || (numberOf(row) == 0 && !document_.smoothings()[row].off);
    }
  }

  /// All as they are, but for those of more than 32 bits, which get the lowest free ones.
  void keep() {
    std::vector<std::uint64_t> taken;
    for (const OBJSmoothing& smoothing : document_.smoothings()) taken.push_back(smoothing.number);
    std::sort(taken.begin(), taken.end());
    std::uint64_t next = 1;
    for (const OBJSmoothing& smoothing : document_.smoothings()) {
      std::uint64_t number = smoothing.number;
      if (number > kWidest) {
        while (std::binary_search(taken.begin(), taken.end(), next)) ++next;
        number = next++;
      }
      result_.byRow.push_back(static_cast<std::uint32_t>(number));
    }
  }

  void renumber() {
    const std::size_t rows = document_.smoothings().size();
    for (const bool edges : {false, true}) {
      const std::vector<Meeting> all = meetings(document_.faces(), rowOfFace_, edges);
      const Graph graph = neighbourhood(all, rowOfFace_, rowOfFace_, rows, most_);
      const std::vector<std::uint32_t> order = smallestLast(graph);
      // Numbers that fit stay, if that leaves enough to the others.
      for (const bool keepSmall : {true, false}) {
        std::vector<std::uint32_t> colours(rows);
        for (std::size_t row = 0; row < rows && keepSmall; ++row) {
          if (numberOf(row) <= most_) colours[row] = static_cast<std::uint32_t>(numberOf(row));
        }
        if (colour(graph, order, most_, colours) != 0) continue;
        result_.outcome = SmoothingNumbers::Outcome::renumbered;
        result_.byRow.assign(rows, 0);
        for (const std::uint32_t row : rowOfFace_) {
          if (row != kNone) result_.byRow[row] = colours[row];
        }
        return;
      }
    }
    part();
  }

  void part() {
    result_.outcome = SmoothingNumbers::Outcome::parted;
    result_.byRow.assign(document_.smoothings().size(), 0);
    for (const bool edges : {false, true}) {
      const std::vector<Meeting> all = meetings(document_.faces(), rowOfFace_, edges);
      std::vector<std::uint32_t> patch;
      const std::size_t count = patches(all, rowOfFace_, patch);
      const Graph graph = neighbourhood(all, patch, rowOfFace_, count, most_);
      std::vector<std::uint32_t> colours(count);
      const bool good = colour(graph, smallestLast(graph), most_, colours) == 0;
      if (!good && !edges) continue;
      result_.byFace.assign(rowOfFace_.size(), 0);
      for (std::size_t i = 0; i < patch.size(); ++i) {
        if (patch[i] != kNone) result_.byFace[i] = colours[patch[i]];
      }
      if (!good) countBordersLost(all);
      return;
    }
  }

  void countBordersLost(const std::vector<Meeting>& edges) {
    using Numbers = std::pair<std::uint32_t, std::uint32_t>;
    std::vector<Numbers> here;
    forEachPlace(edges, [&](std::span<const Meeting> faces) {
      here.clear();
      for (const Meeting& meeting : faces) {
        here.emplace_back(result_.byFace[meeting.face], rowOfFace_[meeting.face]);
      }
      std::sort(here.begin(), here.end());
      const bool lost = std::adjacent_find(here.begin(), here.end(), [](const Numbers& a, const Numbers& b) {
                          return a.first == b.first && a.second != b.second;
                        }) != here.end();
      result_.bordersLost += lost ? 1 : 0;
    });
  }

  const OBJDocument& document_;
  const std::size_t most_;
  std::vector<std::uint32_t> rowOfFace_;  ///< kNone for faces without a number
  std::size_t used_ = 0;                  ///< numbers other than 0
  bool zeroUsed_ = false;                 ///< written as "0"
  SmoothingNumbers result_;
};

}  // namespace

SmoothingNumbers smoothingNumbers(const OBJDocument& document, std::size_t most) {
  return Renumbering(document, most).make();
}

}  // namespace WavefrontOBJ
