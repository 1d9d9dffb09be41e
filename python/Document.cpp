#include "Document.h"

#include <sys/stat.h>

#include <algorithm>
#include <limits>

#include "document/Lint.h"
#include "document/Materials.h"

namespace ksmthgrp {

using namespace WavefrontOBJ;

namespace {

const std::vector<OBJName>& namesOf(const OBJDocument& document, Division division) {
  return division == Division::group      ? document.groups()
         : division == Division::material ? document.materials()
                                          : document.objects();
}

py::object readOnlyMapping(const py::dict& dict) {
  return py::module_::import("types").attr("MappingProxyType")(dict);
}

bool isSingle(const py::object& dtype) {
  const py::dtype type = py::dtype::from_args(dtype);
  if (type.kind() == 'f' && type.itemsize() == 4) return true;
  if (type.kind() == 'f' && type.itemsize() == 8) return false;
  throw py::value_error("dtype must be float64 or float32");
}

template <class Float>
py::array parsedValues(const OBJDocument& document, VectorKind kind, std::size_t width) {
  std::vector<Float> values;
  require(unlocked([&] { return document.values(kind, width, values, signalCheck()); }),
          document.source().name());
  return owned<Float>(std::move(values), width);
}

/// Corners have indices of more than 31 bits.
bool isWide(const ElementTable& table) {
  return table.cornerTotal() > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
}

bool isPipe(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

/// The first thing that had to be left out, as an error.
void refuseErrors(const OBJDocument& document) {
  for (const Finding& finding : document.findings().kept()) {
    const FindingRow& row = rowOf(finding.kind);
    if (row.severity != Severity::error) continue;
    const std::string where = finding.line != 0 ? ":" + std::to_string(finding.line) : "";
    const std::string text = finding.text.empty() ? "" : ": \"" + finding.text + "\"";
    raise("FormatError", document.source().name() + where + ": " + std::string(row.text) + text,
          document.source().name(), finding.line);
  }
}

std::uint8_t maskValue(int value) {
  if (value < 0 || value > 255) throw py::value_error("a mask value is 0 to 255");
  return static_cast<std::uint8_t>(value);
}

/// Throws TypeError for what is no number, KeyError for one that no smoothing group can have.
std::uint64_t smoothingNumber(const py::object& given) {
  const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(given.ptr()));
  if (!number) throw py::error_already_set();
  const std::uint64_t value = PyLong_AsUnsignedLongLong(number.ptr());
  if (PyErr_Occurred() == nullptr) return value;
  PyErr_Clear();
  throw py::key_error("no smoothing group " + std::string(py::str(number)));
}

HostMarks::Group hostGroup(const py::object& group, const py::object& smoothing) {
  if (group.is_none() == smoothing.is_none())
    throw py::type_error("either a group or a smoothing group is wanted");
  if (group.is_none()) return {"", smoothingNumber(smoothing)};
  return {nameBytes(group), std::nullopt};
}

py::array marksOf(std::optional<std::vector<std::uint8_t>> marks, const HostMarks::Group& group) {
  if (!marks) {
    refuse(PyExc_KeyError, group.smoothing
                               ? "the host has no smoothing group " + std::to_string(*group.smoothing)
                               : "the host has no group " + group.name);
  }
  return owned<std::uint8_t>(std::move(*marks));
}

}  // namespace

std::shared_ptr<Document> readDocument(const py::object& source, const py::object& name,
                                       const py::object& dtype, bool strict) {
  const bool single = isSingle(dtype);
  const auto document = std::make_shared<OBJDocument>();
  DocumentReadOptions options;
  options.progress = signalCheck();
  Result result;
  if (isPath(source)) {
    if (!name.is_none()) throw py::type_error("read() takes a name only for bytes and file objects");
    const std::string path = pathBytes(source);
    if (isPipe(path)) {
      // Python's own read can be interrupted while it waits.
      const py::object file = py::module_::import("io").attr("open")(source, "rb");
      std::string bytes = contentOf(file);
      file.attr("close")();
      result = unlocked([&] { return document->readBytes(std::move(bytes), path, options); });
    } else {
      result = unlocked([&] { return document->read(path, options); });
    }
  } else {
    const bool isFile = py::hasattr(source, "read");
    std::string bytes = contentOf(source);
    std::string text = isFile ? "file object" : "bytes";
    const py::object own = isFile ? py::getattr(source, "name", py::none()) : py::none();
    if (!name.is_none()) {
      text = pathBytes(name);
    } else if (isPath(own)) {
      text = pathBytes(own);
    }
    result = unlocked([&] { return document->readBytes(std::move(bytes), text, options); });
  }
  require(result, document->source().name());
  if (strict) refuseErrors(*document);
  return std::make_shared<Document>(document, single);
}

py::str Document::repr() const {
  const auto counted = [](std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
  };
  return nameText("<ksmthgrp.Document " + path() + ": " +
                  counted(document_->vectorCount(VectorKind::position), "vertex", "vertices") + ", " +
                  counted(document_->faces().size(), "face", "faces") + ", " +
                  counted(document_->groups().size(), "group", "groups") + ">");
}

py::object Document::values(VectorKind kind) {
  py::object& kept = values_[static_cast<std::size_t>(kind)];
  if (!kept) {
    const std::size_t width = kind == VectorKind::texture ? 2 : 3;
    py::array parsed = singlePrecision_ ? parsedValues<float>(*document_, kind, width)
                                        : parsedValues<double>(*document_, kind, width);
    kept = readOnly(std::move(parsed));
  }
  return kept;
}

py::array Document::numbers(const std::string& keyword, std::size_t width) const {
  constexpr const char* kKeywords[kVectorKinds] = {"v", "vt", "vn", "vp"};
  const auto* const found = std::find(std::begin(kKeywords), std::end(kKeywords), keyword);
  if (found == std::end(kKeywords)) throw py::value_error("keyword must be v, vt, vn or vp");
  if (width < 1 || width > 8) throw py::value_error("width must be 1 to 8");
  const auto kind = static_cast<VectorKind>(found - std::begin(kKeywords));
  return singlePrecision_ ? parsedValues<float>(*document_, kind, width)
                          : parsedValues<double>(*document_, kind, width);
}

py::object Document::colours() {
  if (!colours_) {
    std::vector<float> colours;
    require(unlocked([&] { return document_->vertexColours(colours); }), path());
    colours_ = readOnly(owned<float>(std::move(colours), 3));
  }
  return colours_;
}

py::array Document::starts(ElementKind kind) const {
  const ElementTable& table = document_->elements(kind);
  const std::span<const std::uint32_t> starts = table.rowStarts();
  if (starts.empty()) return owned<std::int32_t>(std::vector<std::int32_t>{0});
  if (isWide(table)) {
    return owned<std::int64_t>(std::vector<std::int64_t>(starts.begin(), starts.end()));
  }
  return view(starts, document_);
}

py::array Document::vertices(ElementKind kind) const {
  return view(document_->elements(kind).vertexColumn(), document_);
}

py::array Document::textures(ElementKind kind) const {
  const ElementTable& table = document_->elements(kind);
  if (!table.textureColumn().empty()) return view(table.textureColumn(), document_);
  return owned<std::int32_t>(std::vector<std::int32_t>(table.cornerTotal(), kNoIndex));
}

py::array Document::normals(ElementKind kind) const {
  const ElementTable& table = document_->elements(kind);
  if (!table.normalColumn().empty()) return view(table.normalColumn(), document_);
  return owned<std::int32_t>(std::vector<std::int32_t>(table.cornerTotal(), kNoIndex));
}

const std::shared_ptr<const OBJMembers>& Document::membersOf(Division division) {
  auto& table = memberTables_[static_cast<std::size_t>(division)];
  if (!table) {
    auto made = unlocked(
        [&] { return std::make_shared<const OBJMembers>(document_->members(division, ElementKind::face)); });
    table = std::move(made);
  }
  return table;
}

const std::shared_ptr<const SmoothingMembers>& Document::smoothingMembers() {
  if (!smoothing_) {
    auto made = unlocked([&] {
      return std::make_shared<const SmoothingMembers>(membersBySmoothing(*document_, ElementKind::face));
    });
    smoothing_ = std::move(made);
  }
  return smoothing_;
}

const std::shared_ptr<const FaceEdges>& Document::edges() {
  if (!edges_) {
    auto made = unlocked([&] { return std::make_shared<const FaceEdges>(*document_); });
    edges_ = std::move(made);
  }
  return edges_;
}

py::object Document::members(Division division) {
  py::object& kept = members_[static_cast<std::size_t>(division)];
  if (!kept) {
    const std::shared_ptr<const OBJMembers> table = membersOf(division);
    const std::vector<OBJName>& names = namesOf(*document_, division);
    py::dict dict;
    for (std::size_t i = 0; i < names.size(); ++i) dict[nameText(names[i].text)] = view(table->row(i), table);
    kept = readOnlyMapping(dict);
  }
  return kept;
}

py::object Document::smoothing() {
  py::object& kept = members_[static_cast<std::size_t>(Division::smoothing)];
  if (!kept) {
    const std::shared_ptr<const SmoothingMembers> table = smoothingMembers();
    py::dict dict;
    for (std::size_t i = 0; i < table->numbers.size(); ++i) {
      dict[py::int_(table->numbers[i])] = view(table->members.row(i), table);
    }
    kept = readOnlyMapping(dict);
  }
  return kept;
}

py::array Document::rows(Division division) const {
  return owned<std::int32_t>(
      unlocked([&] { return rowOfElements(*document_, division, ElementKind::face); }));
}

py::array Document::faceSmoothing() const {
  return owned<std::int64_t>(unlocked([&] {
    std::vector<std::uint64_t> numbers = smoothingOfElements(*document_, ElementKind::face);
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    for (std::uint64_t& number : numbers) number = std::min(number, kMost);
    return numbers;
  }));
}

py::tuple Document::libraries() const {
  const std::vector<std::string> paths = unlocked([&] { return libraryPaths(*document_); });
  py::list list;
  for (const std::string& path : paths) {
    // Part of the name before it.
    if (!path.empty()) list.append(pathText(path));
  }
  return list;
}

py::dict Document::materialLibrary() const {
  py::dict materials;
  const py::object make = typeOf("Material");
  for (const std::string& path : unlocked([&] { return libraryPaths(*document_); })) {
    if (path.empty()) continue;
    MaterialLibrary library;
    const Result result = unlocked([&] { return readMaterialLibrary(path, library); });
    // One that is missing is a finding of `lint`.
    if (result.status == Status::cannotOpen) continue;
    require(result, path);
    std::vector<py::dict> values(library.materials.size());
    std::vector<py::dict> textures(library.materials.size());
    for (const MaterialLibrary::Value& value : library.values) {
      if (value.material == MaterialLibrary::kNo) continue;
      py::tuple numbers(value.numbers.size());
      for (std::size_t i = 0; i < value.numbers.size(); ++i) numbers[i] = value.numbers[i];
      values[value.material][nameText(value.keyword)] = numbers;
    }
    for (const MaterialLibrary::Texture& texture : library.textures) {
      if (texture.material == MaterialLibrary::kNo) continue;
      textures[texture.material][nameText(texture.keyword)] = pathText(texturePath(library, texture));
    }
    for (std::size_t i = 0; i < library.materials.size(); ++i) {
      const py::str name = nameText(library.materials[i].text);
      if (!materials.contains(name)) materials[name] = make(name, pathText(path), values[i], textures[i]);
    }
  }
  return materials;
}

py::tuple findingsTuple(const Findings& findings) {
  constexpr const char* kSeverities[] = {"error", "warning", "note"};
  const py::object make = typeOf("Finding");
  const auto place = [](std::uint64_t number) -> py::object {
    return number == 0 ? py::object(py::none()) : py::int_(number);
  };
  py::tuple list(findings.kept().size());
  for (std::size_t i = 0; i < list.size(); ++i) {
    const Finding& finding = findings.kept()[i];
    const FindingRow& row = rowOf(finding.kind);
    list[i] = make(row.code, kSeverities[static_cast<std::size_t>(row.severity)], row.hostOnly,
                   place(finding.line), place(finding.column), row.text, nameText(finding.text));
  }
  return list;
}

py::tuple Document::findings() const {
  return findingsTuple(document_->findings());
}

py::tuple Document::lint(bool numbers, bool geometry, bool materials) const {
  LintOptions options{numbers, geometry, materials, signalCheck()};
  Findings found = document_->findings();
  require(unlocked([&] { return WavefrontOBJ::lint(*document_, options, found); }), path());
  return findingsTuple(found);
}

Document::Faces Document::facesOf(const py::object& group) {
  if (PyUnicode_Check(group.ptr())) {
    const std::string name = nameBytes(group);
    const std::int32_t row = document_->find(Division::group, name);
    if (row == kNoIndex) refuse(PyExc_KeyError, "no group " + name);
    const std::shared_ptr<const OBJMembers> table = membersOf(Division::group);
    return {table->row(static_cast<std::size_t>(row)), table};
  }
  const py::array given = py::array::ensure(group);
  const bool isInteger =
      given && (given.dtype().kind() == 'i' || given.dtype().kind() == 'u' || given.size() == 0);
  if (!isInteger || given.ndim() != 1) throw py::type_error("a group is its name, or an int array of faces");
  const auto numbers = py::array_t<std::int64_t, py::array::c_style | py::array::forcecast>(given);
  auto faces = std::make_shared<std::vector<std::uint32_t>>();
  for (py::ssize_t i = 0; i < numbers.size(); ++i) {
    const std::int64_t face = numbers.at(i);
    if (face < 0 || face >= std::int64_t{document_->faces().size()}) {
      throw py::index_error("face " + std::to_string(face) + " where there are " +
                            std::to_string(document_->faces().size()));
    }
    faces->push_back(static_cast<std::uint32_t>(face));
  }
  return {*faces, faces};
}

Document::Faces Document::facesOfSmoothing(const py::object& number) {
  const std::shared_ptr<const SmoothingMembers> table = smoothingMembers();
  const std::uint64_t wanted = smoothingNumber(number);
  const auto found = std::lower_bound(table->numbers.begin(), table->numbers.end(), wanted);
  if (found == table->numbers.end() || *found != wanted) {
    throw py::key_error("no smoothing group " + std::to_string(wanted));
  }
  return {table->members.row(static_cast<std::size_t>(found - table->numbers.begin())), table};
}

py::array Document::verticesOf(const py::object& group) {
  const Faces faces = facesOf(group);
  return owned<std::int32_t>(unlocked([&] { return WavefrontOBJ::verticesOf(*document_, faces.indices); }));
}

py::array Document::mask(const py::object& group, int value) {
  const std::uint8_t byte = maskValue(value);
  const Faces faces = facesOf(group);
  return owned<std::uint8_t>(unlocked([&] { return maskOf(*document_, faces.indices, byte); }));
}

py::object Document::border(const py::object& group, bool open) {
  return creases(group, py::none(), open);
}

py::object Document::creases(const py::object& group, const py::object& smoothing, bool open) {
  if (!group.is_none() && !smoothing.is_none())
    throw py::type_error("creases() takes a group or a smoothing group");
  const bool all = group.is_none() && smoothing.is_none();
  if (all && open) throw py::type_error("only the border of one group can be open");
  const Faces faces = all ? Faces() : group.is_none() ? facesOfSmoothing(smoothing) : facesOf(group);
  const std::shared_ptr<const FaceEdges> edges = this->edges();
  Border border =
      unlocked([&] { return all ? smoothingBorders(*edges) : borderOf(*edges, faces.indices, open); });
  return typeOf("Border")(owned<std::int32_t>(std::move(border.edges), 2),
                          isWide(document_->faces()) ? owned<std::int64_t>(std::vector<std::int64_t>(
                                                           border.corners.begin(), border.corners.end()))
                                                     : owned<std::int32_t>(std::move(border.corners)));
}

HostMarks& Document::hostMarks() {
  if (!hostMarks_) {
    std::unique_ptr<HostMarks> made;
    require(unlocked([&] { return HostMarks::read(*document_, signalCheck(), made); }), path());
    // Another thread may have been faster, and what it has made is in use.
    if (!hostMarks_) hostMarks_ = std::move(made);
  }
  return *hostMarks_;
}

py::array Document::hostMask(const py::object& group, const py::object& smoothing, int value) {
  const std::uint8_t byte = maskValue(value);
  const HostMarks::Group wanted = hostGroup(group, smoothing);
  HostMarks& marks = hostMarks();
  return marksOf(unlocked([&] { return marks.mask(wanted, byte); }), wanted);
}

py::array Document::hostCreases(const py::object& group, const py::object& smoothing) {
  const HostMarks::Group wanted = hostGroup(group, smoothing);
  HostMarks& marks = hostMarks();
  return marksOf(unlocked([&] { return marks.creases(wanted); }), wanted);
}

}  // namespace ksmthgrp
