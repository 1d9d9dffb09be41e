#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document/OBJDocument.h"

namespace smthgrp {

/// The elements of one group.
struct GroupSummary {
  std::string name;
  std::vector<std::uint32_t> faces;  ///< from 0, ascending
  std::uint32_t triangles = 0;
  std::uint32_t quads = 0;
  std::uint32_t more = 0;  ///< faces of more than four corners
  std::uint32_t lines = 0;
  std::uint32_t points = 0;
  std::uint32_t vertices = 0;  ///< that its elements use, each counted once
};

struct NamedFaces {
  std::string name;
  std::size_t faces = 0;
  std::int32_t library = WavefrontOBJ::kNoIndex;  ///< of a material: into `DocumentSummary::libraries`
};

struct SmoothingSummary {
  std::uint64_t number;
  std::size_t faces;
};

struct LibrarySummary {
  std::string name;
  bool found = false;
  std::size_t materials = 0;
};

struct StatementSummary {
  WavefrontOBJ::OBJStatement::Kind kind;
  std::string keyword;
  std::size_t count;
};

struct BoundingBox {
  std::array<double, 3> least;
  std::array<double, 3> greatest;
};

struct DocumentSummary {
  std::vector<GroupSummary> groups;
  std::vector<SmoothingSummary> smoothing;  ///< by first use
  std::size_t facesWithoutSmoothing = 0;    ///< "off", 0 or no "s" line
  std::vector<NamedFaces> objects;
  std::vector<NamedFaces> materials;
  std::size_t facesWithoutMaterial = 0;
  std::vector<LibrarySummary> libraries;
  std::vector<StatementSummary> statements;  ///< kept as text, by kind and keyword
  std::optional<BoundingBox> box;            ///< of the vertices whose numbers are finite
};

/// Looks at all of the document and at its material libraries, in linear time. Throws a Failure when the file
/// cannot be read any more.
DocumentSummary summarise(const WavefrontOBJ::OBJDocument& document);

}  // namespace smthgrp
