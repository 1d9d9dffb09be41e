// Documents made of a program's own arrays.
#include <limits>

#include "Document.h"
#include "Target.h"
#include "Writing.h"
#include "document/MeshArrays.h"

namespace ksmthgrp {

using namespace WavefrontOBJ;

namespace {

/// The arrays of one call, as the library takes them, with what keeps them alive.
class Mesh {
 public:
  explicit Mesh(const py::dict& arguments) {
    mesh_.positions = numbers(arguments, "positions", 3);
    mesh_.colours = numbers(arguments, "colors", 3);
    mesh_.textures = numbers(arguments, "texcoords", 2);
    mesh_.normals = numbers(arguments, "normals", 3);
    takeFaces(arguments);
    mesh_.faceTextures = indices(arguments, "face_texcoords");
    mesh_.faceNormals = indices(arguments, "face_normals");
    mesh_.lines = indices(arguments, "lines");
    if (mesh_.lines.size() % 2 != 0) throw py::value_error("lines: pairs of vertices are wanted");
    takeGroups(arguments["groups"]);
    mesh_.faceSmoothing = integers<std::int64_t>(arguments["smoothing"], "smoothing");
    mesh_.materials = texts(arguments["materials"]);
    mesh_.faceMaterial = indices(arguments, "face_material");
    mesh_.objects = texts(arguments["objects"]);
    mesh_.faceObject = indices(arguments, "face_object");
    mesh_.libraries = texts(arguments["libraries"]);
    mesh_.comments = texts(arguments["comments"]);
    const std::string problem = unlocked([this] { return problemOf(mesh_); });
    if (!problem.empty()) refuse(PyExc_ValueError, problem);
  }

  const MeshArrays& arrays() const { return mesh_; }

 private:
  NumberRows numbers(const py::dict& arguments, const char* name, py::ssize_t width) {
    const py::object given = arguments[name];
    if (given.is_none()) return {};
    const py::array array = py::array::ensure(given);
    if (!array) throw py::type_error(std::string(name) + ": is no array of numbers");
    if (array.size() > 0 && (array.ndim() != 2 || array.shape(1) != width)) {
      throw py::value_error(std::string(name) + ": shape (rows, " + std::to_string(width) + ") is wanted");
    }
    if (array.dtype().kind() == 'f' && array.itemsize() == 4) return numberSpan<float>(array);
    return numberSpan<double>(array);
  }

  template <class Float>
  std::span<const Float> numberSpan(const py::array& array) {
    const py::array_t<Float, py::array::c_style | py::array::forcecast> plain(array);
    kept_.append(plain);
    return {plain.data(), static_cast<std::size_t>(plain.size())};
  }

  /// A flat array of whole numbers that fit.
  template <class Integer>
  std::span<const Integer> integers(const py::object& given, const std::string& name) {
    if (given.is_none()) return {};
    const py::array array = py::array::ensure(given);
    if (!array || (array.size() > 0 && array.dtype().kind() != 'i' && array.dtype().kind() != 'u')) {
      refuse(PyExc_TypeError, name + ": is no array of whole numbers");
    }
    // A type that has numbers past the library's.
    const std::size_t most = sizeof(Integer) - (array.dtype().kind() == 'u' ? 1 : 0);
    if (array.size() > 0 && static_cast<std::size_t>(array.itemsize()) > most) {
      constexpr auto kMost = std::numeric_limits<Integer>::max();
      const bool fits = array.attr("max")().attr("__le__")(kMost).template cast<bool>() &&
                        array.attr("min")().attr("__ge__")(-kMost).template cast<bool>();
      if (!fits)
        refuse(PyExc_ValueError,
               name + ": has numbers of more than " + std::to_string(8 * sizeof(Integer)) + " bits");
    }
    const py::array_t<Integer, py::array::c_style | py::array::forcecast> plain(array);
    kept_.append(plain);
    return {plain.data(), static_cast<std::size_t>(plain.size())};
  }
  std::span<const std::int32_t> indices(const py::dict& arguments, const char* name) {
    return integers<std::int32_t>(arguments[name], name);
  }

  void takeFaces(const py::dict& arguments) {
    const py::object vertices = arguments["face_vertices"];
    mesh_.faceVertices = indices(arguments, "face_vertices");
    mesh_.faceStarts = indices(arguments, "face_starts");
    if (!arguments["face_starts"].is_none() || mesh_.faceVertices.empty()) return;
    const py::array array = py::array::ensure(vertices);
    if (array.ndim() != 2)
      throw py::value_error("face_vertices: needs face_starts unless it has the shape (faces, corners)");
    starts_.resize(static_cast<std::size_t>(array.shape(0)) + 1);
    for (std::size_t i = 0; i < starts_.size(); ++i)
      starts_[i] = static_cast<std::int32_t>(i) * static_cast<std::int32_t>(array.shape(1));
    mesh_.faceStarts = starts_;
  }

  void takeGroups(const py::object& groups) {
    if (groups.is_none()) return;
    for (const py::handle& item : py::list(groups.attr("items")())) {
      const auto pair = py::reinterpret_borrow<py::tuple>(item);
      const std::string name = nameBytes(pair[0]);
      mesh_.groups.push_back({name, integers<std::int32_t>(pair[1], "groups[" + name + "]")});
    }
  }

  static std::vector<std::string> texts(const py::object& names) {
    std::vector<std::string> texts;
    if (names.is_none()) return texts;
    if (PyUnicode_Check(names.ptr())) return {nameBytes(names)};
    for (const py::handle& name : names) texts.push_back(nameBytes(name));
    return texts;
  }

  MeshArrays mesh_;
  std::vector<std::int32_t> starts_;
  py::list kept_;
};

py::tuple writeMesh(const py::object& target, const py::dict& arguments) {
  const Mesh mesh(arguments);
  Target file(target);
  WriteCounts counts;
  require(unlocked([&] { return writeArrays(mesh.arrays(), file.sink(), &counts, signalCheck()); }),
          file.path());
  file.commit();
  return countsTuple(counts);
}

std::shared_ptr<Document> documentOf(const py::dict& arguments, const py::object& name) {
  const Mesh mesh(arguments);
  const auto document = std::make_shared<OBJDocument>();
  const std::string text = pathBytes(name);
  const Result result = unlocked([&] {
    StringSink sink;
    Result written = writeArrays(mesh.arrays(), sink, nullptr, signalCheck());
    return written ? document->readBytes(std::move(sink.text), text) : written;
  });
  require(result, text);
  return std::make_shared<Document>(document, false);
}

py::list writtenNames(const py::object& names) {
  MeshArrays mesh;
  for (const py::handle& name : names) mesh.groups.push_back({nameBytes(name), {}});
  py::list written;
  for (const std::string& name : writtenGroupNames(mesh)) written.append(nameText(name));
  return written;
}

}  // namespace

void addArrays(py::module_& module) {
  // Their many arguments are named in Python, see ksmthgrp/_arrays.py.
  module.def("write_arrays", &writeMesh);
  module.def("from_arrays", &documentOf);
  module.def("written_names", &writtenNames, py::arg("names"), R"(written_names(names)
--

The names that write_arrays() gives groups of these names, in order.

A group's name is one word in an OBJ file: blanks and control characters become "_", and what would then be the
same as another one, or nothing, gets a number behind it.)");
}

}  // namespace ksmthgrp
