// What the tool's commands do with documents: writing, fixing, merging, comparing.
#include "Writing.h"

#include <functional>

#include "Document.h"
#include "Target.h"
#include "document/Companions.h"
#include "document/Diff.h"
#include "document/Fix.h"
#include "document/Materials.h"
#include "document/Merge.h"
#include "document/Replace.h"
#include "document/SelectionPatterns.h"

namespace ksmthgrp {

using namespace WavefrontOBJ;

namespace {

constexpr const char* kDivisions[] = {"group", "smoothing", "material", "object"};

/// The words of an option: one or several names or numbers.
std::vector<std::string> wordsOf(const py::object& given) {
  const auto word = [](const py::handle& value) {
    return PyUnicode_Check(value.ptr())
               ? nameBytes(value)
               : std::string(py::str(py::int_(py::reinterpret_borrow<py::object>(value))));
  };
  if (given.is_none()) return {};
  if (PyUnicode_Check(given.ptr()) || PyIndex_Check(given.ptr())) return {word(given)};
  std::vector<std::string> words;
  for (const py::handle& value : given) words.push_back(word(value));
  return words;
}

ElementLists listsOf(const Document& d, const SelectionPatterns& patterns) {
  Selection selection;
  if (const auto unmatched = resolve(d.document(), patterns, selection)) {
    refuse(PyExc_KeyError, "no " + std::string(kDivisions[static_cast<std::size_t>(unmatched->division)]) +
                               " " + unmatched->word);
  }
  ElementLists lists = unlocked([&] { return select(d.document(), selection); });
  if (lists.empty()) throw py::value_error("no element is in all that was asked for");
  return lists;
}

/// The names of a document's libraries in a file beside `target`; empty where they stay. With `copy` they
/// come along.
std::vector<std::string> librariesAt(const OBJDocument& document, Target& target, bool copy) {
  if (!target.isFile()) return {};
  Companions companions;
  require(unlocked([&] { return planCompanions(document, folderPrefix(target.path()), copy, companions); }),
          target.path());
  for (const std::string& warning : companions.warnings) {
    py::module_::import("warnings").attr("warn")(nameText(warning));
  }
  require(unlocked([&] { return makeCopies(companions, target.companions()); }), target.path());
  return companions.libraries;
}

py::tuple write(const Document& d, const py::object& target, const py::object& groups,
                const py::object& smoothing, const py::object& materials, const py::object& objects,
                bool keepOrder, bool noSmoothing, bool noMaterials, bool copyMaterials) {
  const ElementLists lists =
      listsOf(d, {wordsOf(groups), wordsOf(smoothing), wordsOf(materials), wordsOf(objects)});
  Target file(target);
  WriteOptions options;
  options.keepOrder = keepOrder;
  options.smoothing = !noSmoothing;
  options.materials = !noMaterials;
  options.progress = signalCheck();
  std::vector<std::string> libraries;
  if (!noMaterials) libraries = librariesAt(d.document(), file, copyMaterials);
  if (!libraries.empty()) options.libraries = &libraries;
  WriteCounts counts;
  require(unlocked([&] { return DocumentWriter(d.document()).write(lists, options, file.sink(), &counts); }),
          d.path());
  file.commit();
  return countsTuple(counts);
}

py::tuple changesOf(const FixReport& report) {
  constexpr const char* kEffects[] = {"rewritten", "left-out", "unsaid"};
  py::list changes;
  for (const FixRow& row : kFixKinds) {
    if (report.count(row.kind) == 0) continue;
    py::list places;
    for (const FixPlace& place : report.places()) {
      if (place.kind != row.kind) continue;
      const py::object line = place.line == 0 ? py::object(py::none()) : py::int_(place.line);
      places.append(py::make_tuple(line, nameText(place.text)));
    }
    changes.append(typeOf("Change")(row.code, kEffects[static_cast<std::size_t>(row.effect)], row.text,
                                    report.count(row.kind), py::tuple(places)));
  }
  return changes;
}

py::tuple fixDocument(const Document& d, const py::object& target, bool objects, bool oneName) {
  Target file(target);
  FixOptions options;
  options.objects = objects;
  options.oneName = oneName;
  options.progress = signalCheck();
  const std::vector<std::string> libraries = librariesAt(d.document(), file, false);
  if (!libraries.empty()) options.libraries = &libraries;
  FixReport report;
  require(unlocked([&] { return fix(d.document(), options, file.sink(), report); }), d.path());
  file.commit();
  return changesOf(report);
}

py::object mergeDocuments(const py::iterable& given, const py::object& target, bool weld, bool concatenate) {
  std::vector<std::shared_ptr<Document>> documents;
  for (const py::handle& document : given) documents.push_back(document.cast<std::shared_ptr<Document>>());
  if (documents.empty()) throw py::value_error("nothing to merge");
  Target file(target);
  MergeOptions options;
  options.weld = weld;
  options.concatenate = concatenate;
  options.progress = signalCheck();
  std::vector<const OBJDocument*> list;
  bool stay = true;
  for (const auto& document : documents) {
    list.push_back(&document->document());
    std::vector<std::string> names = librariesAt(document->document(), file, false);
    stay = stay && names.empty();
    if (names.empty()) {
      for (const OBJLibrary& library : document->document().libraries()) names.push_back(library.text);
    }
    options.libraries.push_back(std::move(names));
  }
  if (stay) options.libraries.clear();
  MergeReport report;
  const Result result = unlocked([&] { return merge(list, options, file.sink(), &report); });
  if (result.status == Status::changed) raise("FormatError", result.text, documents.front()->path());
  require(result, documents.front()->path());
  file.commit();
  return typeOf("MergeReport")(countsTuple(report.counts), report.documents, report.missing, report.differing,
                               nameText(report.firstDiffering), report.welded);
}

py::object diffDocuments(const Document& a, const Document& b) {
  DocumentDifference found;
  require(unlocked([&] { return diff(a.document(), b.document(), found, signalCheck()); }), a.path());
  const auto pair = [](const auto& values) { return py::make_tuple(values[0], values[1]); };
  py::list memberships;
  for (const MembershipDifference& row : found.memberships) {
    memberships.append(typeOf("Membership")(kDivisions[static_cast<std::size_t>(row.division)],
                                            nameText(row.name), pair(row.present), pair(row.faces),
                                            pair(row.facesOnly)));
  }
  py::object text = py::none();
  py::object lines = py::none();
  if (found.topology) {
    text = nameText(found.topology->text(a.document(), b.document()));
    lines = pair(found.topology->lines);
  }
  const py::object moved = found.positionsCompared ? py::object(py::int_(found.moved)) : py::none();
  return typeOf("Difference")(!found.topology, text, lines, py::tuple(memberships),
                              found.facesWithOtherTextures, found.facesWithOtherNormals, moved,
                              found.greatestMove, found.meanMove, found.greatestVertex);
}

/// The document's text with other positions, read again.
std::shared_ptr<Document> replaced(const Document& d, const std::function<Result(Sink& sink)>& write) {
  const auto document = std::make_shared<OBJDocument>();
  const Result result = unlocked([&] {
    StringSink sink;
    Result written = write(sink);
    return written ? document->readBytes(std::move(sink.text), d.path()) : written;
  });
  require(result, d.path());
  return std::make_shared<Document>(document, d.singlePrecision());
}

std::shared_ptr<Document> replacePositions(const Document& d, const py::object& positions, bool force) {
  WriteOptions options;
  options.progress = signalCheck();
  if (py::isinstance<Document>(positions)) {
    const auto other = positions.cast<std::shared_ptr<Document>>();
    std::optional<TopologyDifference> difference;
    require(unlocked([&] { return compareTopology(d.document(), other->document(), difference); }), d.path());
    if (difference && !force) {
      refuse(PyExc_ValueError,
             "the models differ in their topology: " + difference->text(d.document(), other->document()));
    }
    return replaced(
        d, [&](Sink& sink) { return writeWithPositions(d.document(), other->document(), options, sink); });
  }
  const py::array given = py::array::ensure(positions);
  const auto rows = static_cast<py::ssize_t>(d.document().vectorCount(VectorKind::position));
  if (!given || given.ndim() != 2 || given.shape(0) != rows || given.shape(1) != 3) {
    throw py::value_error("positions: shape (" + std::to_string(rows) + ", 3) is wanted");
  }
  if (!py::module_::import("numpy").attr("isfinite")(given).attr("all")().cast<bool>()) {
    throw py::value_error("positions: some are not finite");
  }
  const auto write = [&](auto kind) {
    using Float = decltype(kind);
    const py::array_t<Float, py::array::c_style | py::array::forcecast> plain(given);
    const std::span<const Float> numbers(plain.data(), static_cast<std::size_t>(plain.size()));
    return replaced(d, [&](Sink& sink) { return writeWithPositions(d.document(), numbers, options, sink); });
  };
  return given.dtype().kind() == 'f' && given.itemsize() == 4 ? write(0.0F) : write(0.0);
}

}  // namespace

py::tuple countsTuple(const WriteCounts& counts) {
  return typeOf("Counts")(counts.vectors[0], counts.vectors[1], counts.vectors[2], counts.elements[0],
                          counts.elements[1], counts.elements[2], counts.bytes);
}

void addWriting(py::module_& module, DocumentClass& document) {
  document
      .def(
          "write", &write, py::arg("target"), py::kw_only(), py::arg("groups") = py::none(),
          py::arg("smoothing") = py::none(), py::arg("materials") = py::none(),
          py::arg("objects") = py::none(), py::arg("keep_order") = false, py::arg("no_smoothing") = false,
          py::arg("no_materials") = false, py::arg("copy_materials") = false,
          R"(write(self, target, *, groups=None, smoothing=None, materials=None, objects=None, keep_order=False, no_smoothing=False, no_materials=False, copy_materials=False)
--

Writes the document, or the part of it that is chosen, and answers Counts. What need not change is written as
the file has it, to the digit.

target is a path or a binary file object. A path's file is replaced when all is written, the document's own
file included; until then it stays as it is. Material libraries are named from where the new file lies; with
copy_materials=True they and their textures are copied to its folder instead.
groups, materials and objects choose by name or shell pattern ("arm_*"), each one str or several; groups also by
index from 1 or a range of them ("2-5"); smoothing by number or range, 0 for the faces of none; "" stands for
elements without material or object. An element must satisfy all kinds that are given. A part has the vertices
that it uses; with keep_order=True it has all, so that their indices stay. no_smoothing and no_materials leave
these lines out.

Raises KeyError for what chooses nothing, ValueError when no element is in all that was asked for, FileError.)")
      .def("fix", &fixDocument, py::arg("target"), py::kw_only(), py::arg("objects") = false,
           py::arg("one_name") = false,
           R"(fix(self, target, *, objects=False, one_name=False)
--

Writes the model in a form that every program and the host read alike, and answers what was changed for it: a
tuple of Change.

target is as in write(). objects=True makes a group of each object as well; one_name=True makes one name of the
names on a "g" line. Raises FileError.)")
      .def("replace_positions", &replacePositions, py::arg("positions"), py::kw_only(),
           py::arg("force") = false,
           R"(replace_positions(self, positions, *, force=False)
--

A new Document, held in memory, that is this one with other positions. All else stays, to the digit.

positions is a float array of shape (N, 3), written with the fewest digits that read back as the same numbers of
its type, or a Document of the same topology, whose digits are taken over. force=True takes a document of another
topology as well; vertices that it does not have then keep their places.
Raises ValueError for another shape or topology and for numbers that are not finite.)");
  module.def("merge", &mergeDocuments, py::arg("documents"), py::arg("target"), py::kw_only(),
             py::arg("weld") = false, py::arg("concatenate") = false,
             R"(merge(documents, target, *, weld=False, concatenate=False)
--

Writes several documents as one and answers a MergeReport.

Parts that the tool's split has made become the model that they come from; other documents follow one another,
and groups, materials and objects of the same name become one. target is as in Document.write. weld=True makes
one vertex of those of different files with the same digits; concatenate=True passes over what files say of
being parts. Raises FormatError for a part that does not hold what it says, ValueError for no documents,
FileError.)");
  module.def("diff", &diffDocuments, py::arg("a"), py::arg("b"), R"(diff(a, b)
--

Compares topology, groups, smoothing groups, materials, objects and positions of two documents and answers a
Difference. Raises FileError.)");
}

}  // namespace ksmthgrp
