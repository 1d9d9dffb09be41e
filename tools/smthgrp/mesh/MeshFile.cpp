#include "smthgrp/mesh/MeshFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <vector>

#include "smthgrp/mesh/MeshMarks.h"

namespace smthgrp {
namespace {

using Color = std::array<std::uint8_t, 3>;

/// From light grey without a mask to orange in full.
Color colorOf(std::uint8_t mask) {
  constexpr int kFull = 255;
  constexpr std::array<int, 3> kBare = {204, 204, 204};
  constexpr std::array<int, 3> kMasked = {230, 90, 20};
  Color color{};
  for (std::size_t i = 0; i < color.size(); ++i) {
    color[i] = static_cast<std::uint8_t>(kBare[i] + (kMasked[i] - kBare[i]) * mask / kFull);
  }
  return color;
}

/// The faces that programs take for polygons.
std::vector<const std::vector<std::uint32_t>*> polygons(const host::MeshDescription& description) {
  const std::size_t vertices = description.vertices.size();
  std::vector<const std::vector<std::uint32_t>*> found;
  found.reserve(description.faces.size());
  for (const std::vector<std::uint32_t>& face : description.faces) {
    const bool known = std::all_of(face.begin(), face.end(), [&](std::uint32_t v) { return v < vertices; });
    if (face.size() >= 3 && known) found.push_back(&face);
  }
  return found;
}

void putByte(std::string& to, std::uint32_t byte) {
  to += static_cast<char>(static_cast<unsigned char>(byte));
}

void putWord(std::string& to, std::uint32_t word) {
  for (unsigned shift = 0; shift < 32; shift += 8) putByte(to, word >> shift & 0xFFU);
}

void putFloat(std::string& to, float value) {
  putWord(to, std::bit_cast<std::uint32_t>(value));
}

/// The shortest text that reads back as the same number.
template <class Number>
void putText(std::string& to, Number value) {
  char text[64];
  to.append(text, std::to_chars(text, text + sizeof text, value).ptr);
}

}  // namespace

MeshFile plyFile(const host::HostMesh& mesh, const host::MeshDescription& description) {
  const auto faces = polygons(description);
  const std::vector<CreasedEdge> edges = creasedEdges(mesh, description);
  MeshFile file{{}, faces.size(), edges.size()};
  std::string& out = file.content;
  out = "ply\nformat binary_little_endian 1.0\ncomment mask: 0 to 255 as the host keeps it; crease: 0 to 1\n";
  out += "element vertex " + std::to_string(description.vertices.size()) +
         "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\nproperty uchar green\n"
         "property uchar blue\nproperty uchar mask\n";
  out += "element face " + std::to_string(faces.size()) + "\nproperty list uchar int vertex_indices\n";
  out += "element edge " + std::to_string(edges.size()) +
         "\nproperty int vertex1\nproperty int vertex2\nproperty float crease\nend_header\n";
  for (std::uint32_t i = 0; i < mesh.vertexCount(); ++i) {
    for (const float coordinate : description.vertices[i]) putFloat(out, coordinate);
    for (const std::uint8_t part : colorOf(mesh.mask(i))) putByte(out, part);
    putByte(out, mesh.mask(i));
  }
  for (const auto* face : faces) {
    putByte(out, static_cast<std::uint32_t>(face->size()));
    for (const std::uint32_t vertex : *face) putWord(out, vertex);
  }
  for (const CreasedEdge& edge : edges) {
    for (const std::uint32_t vertex : edge.vertices) putWord(out, vertex);
    putFloat(out, edge.crease);
  }
  return file;
}

MeshFile objFile(const host::HostMesh& mesh, const host::MeshDescription& description) {
  const auto faces = polygons(description);
  const std::vector<CreasedEdge> edges = creasedEdges(mesh, description);
  const bool colored = maskedVertices(mesh) != 0;
  MeshFile file{{}, faces.size(), edges.size()};
  std::string& out = file.content;
  for (std::uint32_t i = 0; i < mesh.vertexCount(); ++i) {
    out += 'v';
    for (const float coordinate : description.vertices[i]) {
      out += ' ';
      putText(out, coordinate);
    }
    if (colored) {
      for (const std::uint8_t part : colorOf(mesh.mask(i))) {
        out += ' ';
        putText(out, static_cast<float>(part) / 255);
      }
    }
    out += '\n';
  }
  for (const auto* face : faces) {
    out += 'f';
    for (const std::uint32_t vertex : *face) {
      out += ' ';
      putText(out, vertex + 1);
    }
    out += '\n';
  }
  for (const CreasedEdge& edge : edges) {
    out += "l ";
    putText(out, edge.vertices[0] + 1);
    out += ' ';
    putText(out, edge.vertices[1] + 1);
    out += '\n';
  }
  return file;
}

}  // namespace smthgrp
