#include "smthgrp/model/DocumentSummary.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>
#include <utility>

#include "document/LineText.h"
#include "document/Materials.h"
#include "smthgrp/common/Failure.h"
#include "smthgrp/common/ProgressBar.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::Division;
using WavefrontOBJ::ElementKind;
using WavefrontOBJ::OBJDocument;
using WavefrontOBJ::OBJMembers;

std::vector<GroupSummary> groupsOf(const OBJDocument& document) {
  std::vector<GroupSummary> groups(document.groups().size());
  const OBJMembers members[] = {document.members(Division::group, ElementKind::face),
                                document.members(Division::group, ElementKind::line),
                                document.members(Division::group, ElementKind::point)};
  // The last group that counted the vertex, from 1.
  std::vector<std::uint32_t> countedFor(document.vectorCount(WavefrontOBJ::VectorKind::position));
  for (std::size_t i = 0; i < groups.size(); ++i) {
    GroupSummary& group = groups[i];
    group.name = document.groups()[i].text;
    for (const ElementKind kind : {ElementKind::face, ElementKind::line, ElementKind::point}) {
      for (const std::uint32_t element : members[static_cast<std::size_t>(kind)].row(i)) {
        for (const std::int32_t vertex : document.elements(kind).vertices(element)) {
          std::uint32_t& last = countedFor[static_cast<std::size_t>(vertex)];
          group.vertices += last != i + 1;
          last = static_cast<std::uint32_t>(i + 1);
        }
      }
    }
    const auto faces = members[0].row(i);
    group.faces.assign(faces.begin(), faces.end());
    for (const std::uint32_t face : faces) {
      const std::uint32_t corners = document.faces().cornerCount(face);
      ++(corners == 3 ? group.triangles : corners == 4 ? group.quads : group.more);
    }
    group.lines = static_cast<std::uint32_t>(members[1].row(i).size());
    group.points = static_cast<std::uint32_t>(members[2].row(i).size());
  }
  return groups;
}

void addSmoothing(const OBJDocument& document, DocumentSummary& summary) {
  const OBJMembers members = document.members(Division::smoothing, ElementKind::face);
  const auto& rows = document.smoothings();
  for (std::size_t i = 0; i < members.rows(); ++i) {
    const std::size_t faces = members.row(i).size();
    if (i == rows.size() || rows[i].number == 0) {
      summary.facesWithoutSmoothing += faces;
    } else {
      summary.smoothing.push_back({rows[i].number, faces});
    }
  }
}

std::vector<NamedFaces> namedFaces(const OBJDocument& document, Division division,
                                   const std::vector<WavefrontOBJ::OBJName>& names) {
  const OBJMembers members = document.members(division, ElementKind::face);
  std::vector<NamedFaces> rows;
  for (std::size_t i = 0; i < names.size(); ++i) rows.push_back({names[i].text, members.row(i).size()});
  return rows;
}

void addLibraries(const OBJDocument& document, DocumentSummary& summary) {
  std::unordered_map<std::string, std::int32_t> homes;
  const std::vector<std::string> paths = libraryPaths(document);
  for (std::size_t i = 0; i < paths.size(); ++i) {
    LibrarySummary row{document.libraries()[i].text};
    if (paths[i].empty()) {  // a further word of the name before it
      summary.libraries.back().name += " " + row.name;
      continue;
    }
    WavefrontOBJ::MaterialLibrary library;
    row.found = static_cast<bool>(readMaterialLibrary(paths[i], library));
    row.materials = library.materials.size();
    for (const auto& material : library.materials) {
      homes.try_emplace(material.text, static_cast<std::int32_t>(summary.libraries.size()));
    }
    summary.libraries.push_back(std::move(row));
  }
  for (NamedFaces& material : summary.materials) {
    if (const auto home = homes.find(material.name); home != homes.end()) material.library = home->second;
  }
}

std::vector<StatementSummary> statementsOf(const OBJDocument& document) {
  std::map<std::pair<WavefrontOBJ::OBJStatement::Kind, std::string>, std::size_t> counts;
  WavefrontOBJ::LineText lines(document.source());
  for (const WavefrontOBJ::OBJStatement& statement : document.statements()) {
    std::string_view line;
    require(lines.fetch(statement.offset, line));
    line.remove_prefix(std::min(line.size(), line.find_first_not_of(" \t\v\f")));
    ++counts[{statement.kind, std::string(line.substr(0, line.find_first_of(" \t\v\f\\")))}];
  }
  std::vector<StatementSummary> rows;
  rows.reserve(counts.size());
  for (const auto& [key, count] : counts) rows.push_back({key.first, key.second, count});
  return rows;
}

std::optional<BoundingBox> boxOf(const OBJDocument& document) {
  std::vector<double> xyz;
  {
    ProgressBar bar("measuring " + document.source().name());
    require(document.values(WavefrontOBJ::VectorKind::position, 3, xyz, bar.progress()));
  }
  std::optional<BoundingBox> box;
  for (std::size_t i = 0; i < xyz.size(); i += 3) {
    const std::array<double, 3> place = {xyz[i], xyz[i + 1], xyz[i + 2]};
    if (!std::all_of(place.begin(), place.end(), [](double value) { return std::isfinite(value); })) continue;
    if (!box) box = BoundingBox{place, place};
    for (std::size_t k = 0; k < 3; ++k) {
      box->least[k] = std::min(box->least[k], place[k]);
      box->greatest[k] = std::max(box->greatest[k], place[k]);
    }
  }
  return box;
}

}  // namespace

DocumentSummary summarise(const OBJDocument& document) {
  DocumentSummary summary;
  summary.groups = groupsOf(document);
  addSmoothing(document, summary);
  summary.objects = namedFaces(document, Division::object, document.objects());
  summary.materials = namedFaces(document, Division::material, document.materials());
  summary.facesWithoutMaterial = document.faces().size();
  for (const NamedFaces& material : summary.materials) summary.facesWithoutMaterial -= material.faces;
  addLibraries(document, summary);
  summary.statements = statementsOf(document);
  summary.box = boxOf(document);
  return summary;
}

}  // namespace smthgrp
