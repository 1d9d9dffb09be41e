#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Convert.h"
#include "HostMarks.h"
#include "document/Borders.h"
#include "document/ElementRows.h"
#include "document/OBJDocument.h"

namespace ksmthgrp {

/// What Python has of a document: its tables as arrays, made when they are asked for and kept. Arrays keep
/// the tables alive that they look at, never this object.
class Document {
 public:
  Document(std::shared_ptr<const WavefrontOBJ::OBJDocument> document, bool singlePrecision)
      : document_(std::move(document)), singlePrecision_(singlePrecision) {}

  const WavefrontOBJ::OBJDocument& document() const { return *document_; }
  const std::string& path() const { return document_->source().name(); }
  bool singlePrecision() const { return singlePrecision_; }

  py::str repr() const;

  // Vertex lines.
  py::object values(WavefrontOBJ::VectorKind kind);
  py::array numbers(const std::string& keyword, std::size_t width) const;
  py::object colours();

  // Elements.
  py::array starts(WavefrontOBJ::ElementKind kind) const;
  py::array vertices(WavefrontOBJ::ElementKind kind) const;
  py::array textures(WavefrontOBJ::ElementKind kind) const;
  py::array normals(WavefrontOBJ::ElementKind kind) const;

  // What is in force for them.
  py::object members(WavefrontOBJ::Division division);
  py::object smoothing();
  py::array rows(WavefrontOBJ::Division division) const;
  py::array faceSmoothing() const;
  py::tuple libraries() const;
  py::dict materialLibrary() const;
  py::tuple findings() const;
  py::tuple lint(bool numbers, bool geometry, bool materials) const;

  // Groups on the mesh.
  py::array verticesOf(const py::object& group);
  py::array mask(const py::object& group, int value);
  py::object border(const py::object& group, bool open);
  py::object creases(const py::object& group, const py::object& smoothing, bool open);
  py::array hostMask(const py::object& group, const py::object& smoothing, int value);
  py::array hostCreases(const py::object& group, const py::object& smoothing);

 private:
  /// Face indices with what keeps them alive.
  struct Faces {
    std::span<const std::uint32_t> indices;
    std::shared_ptr<const void> owner;
  };

  const std::shared_ptr<const WavefrontOBJ::OBJMembers>& membersOf(WavefrontOBJ::Division division);
  const std::shared_ptr<const WavefrontOBJ::SmoothingMembers>& smoothingMembers();
  const std::shared_ptr<const WavefrontOBJ::FaceEdges>& edges();
  HostMarks& hostMarks();
  Faces facesOf(const py::object& group);
  Faces facesOfSmoothing(const py::object& number);

  std::shared_ptr<const WavefrontOBJ::OBJDocument> document_;
  bool singlePrecision_;
  py::object values_[WavefrontOBJ::kVectorKinds];
  py::object colours_;
  py::object members_[4];
  std::shared_ptr<const WavefrontOBJ::OBJMembers> memberTables_[4];
  std::shared_ptr<const WavefrontOBJ::SmoothingMembers> smoothing_;
  std::shared_ptr<const WavefrontOBJ::FaceEdges> edges_;
  std::unique_ptr<HostMarks> hostMarks_;
};

/// Reads an OBJ file: `source` is a path, bytes or a file object, `name` stands for the latter two.
std::shared_ptr<Document> readDocument(const py::object& source, const py::object& name,
                                       const py::object& dtype, bool strict);

using DocumentClass = py::class_<Document, std::shared_ptr<Document>>;

/// Its methods that write, and the functions on several documents.
void addWriting(py::module_& module, DocumentClass& document);
/// `write_arrays` and `from_arrays`.
void addArrays(py::module_& module);
/// Python's view of findings.
py::tuple findingsTuple(const WavefrontOBJ::Findings& findings);

}  // namespace ksmthgrp
