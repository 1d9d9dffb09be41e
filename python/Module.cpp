// What Python sees: names, signatures, help. Docstrings begin with a signature that `inspect` understands.
#include <exception>
#include <string>
#include <utility>

#include "Document.h"
#include "KSmthVersion.h"
#include "Psd.h"
#include "plugin/CallLimits.h"

namespace ksmthgrp {

using WavefrontOBJ::Division;
using WavefrontOBJ::ElementKind;
using WavefrontOBJ::VectorKind;

namespace {

void addVectors(DocumentClass& document) {
  document
      .def_property_readonly(
          "positions", [](Document& d) { return d.values(VectorKind::position); },
          "The vertices' places: float array of shape (N, 3), in the file's units. Parsed when it is first "
          "asked for.\n"
          "\n"
          "Raises FileError when the file has changed since it was opened.")
      .def_property_readonly(
          "texcoords", [](Document& d) { return d.values(VectorKind::texture); },
          "Texture coordinates: float array of shape (T, 2). `values(\"vt\", 3)` has the third number.")
      .def_property_readonly(
          "normals", [](Document& d) { return d.values(VectorKind::normal); },
          "Normals as the file has them, of whatever length: float array of shape (M, 3).")
      .def_property_readonly("colors", &Document::colours,
                             "Vertex colours: float32 array of shape (N, 3), 0 to 1 as written behind the "
                             "positions, 1 for vertices without.\n"
                             "Shape (0, 3) where no vertex has one.")
      .def("values", &Document::numbers, py::arg("keyword"), py::arg("width"), R"(values(self, keyword, width)
--

The first `width` (1 to 8) numbers of each line of a kind, as a float array of shape (lines, width).

keyword is "v", "vt", "vn" or "vp". Missing numbers are 0. Parsed anew at every call.)");
}

void addElements(DocumentClass& document) {
  document
      .def_property_readonly(
          "face_starts", [](const Document& d) { return d.starts(ElementKind::face); },
          "int32 array of shape (F + 1,): face i has the corners face_starts[i] up to face_starts[i + 1] of "
          "the arrays\n"
          "below. int64 in files of 2**31 corners and more.")
      .def_property_readonly(
          "face_vertices", [](const Document& d) { return d.vertices(ElementKind::face); },
          "int32 array of shape (corners,): each corner's vertex, from 0.")
      .def_property_readonly(
          "face_texcoords", [](const Document& d) { return d.textures(ElementKind::face); },
          "int32 array of shape (corners,): each corner's texture coordinate, -1 for none.")
      .def_property_readonly(
          "face_normals", [](const Document& d) { return d.normals(ElementKind::face); },
          "int32 array of shape (corners,): each corner's normal, -1 for none.")
      .def_property_readonly(
          "line_starts", [](const Document& d) { return d.starts(ElementKind::line); },
          "The same as face_starts for line elements.")
      .def_property_readonly(
          "line_vertices", [](const Document& d) { return d.vertices(ElementKind::line); },
          "The vertices of line elements.")
      .def_property_readonly(
          "point_starts", [](const Document& d) { return d.starts(ElementKind::point); },
          "The same as face_starts for point elements.")
      .def_property_readonly(
          "point_vertices", [](const Document& d) { return d.vertices(ElementKind::point); },
          "The vertices of point elements.");
}

void addStates(DocumentClass& document) {
  document
      .def_property_readonly(
          "groups", [](Document& d) { return d.members(Division::group); },
          "Ordered mapping, name -> int32 array of the group's faces, ascending. In the order in which faces "
          "first had\n"
          "them; a face may be in several. Faces before the first \"g\" line are in \"default\".")
      .def_property_readonly("smoothing", &Document::smoothing,
                             "Mapping, smoothing number -> int32 array of its faces; numbers ascend. 0 has "
                             "the faces of none: \"off\", \"0\" and\n"
                             "those before the first \"s\" line.")
      .def_property_readonly(
          "materials", [](Document& d) { return d.members(Division::material); },
          "Ordered mapping, name -> int32 array of the material's faces. Faces without one are in none.")
      .def_property_readonly(
          "objects", [](Document& d) { return d.members(Division::object); },
          "Ordered mapping, name -> int32 array of the object's faces. Faces without one are in none.")
      .def_property_readonly("face_smoothing", &Document::faceSmoothing,
                             "int64 array of shape (F,): each face's smoothing number, 0 for none.")
      .def_property_readonly(
          "face_material", [](const Document& d) { return d.rows(Division::material); },
          "int32 array of shape (F,): each face's place in list(materials), -1 for none.")
      .def_property_readonly(
          "face_object", [](const Document& d) { return d.rows(Division::object); },
          "int32 array of shape (F,): each face's place in list(objects), -1 for none.")
      .def_property_readonly(
          "libraries", &Document::libraries,
          "Paths of the material libraries that the file names, in order; they need not be there.")
      .def("read_materials", &Document::materialLibrary,
           R"(read_materials(self)
--

The materials of all libraries that are there, as a dict, name -> Material.

The first of a name counts. Missing libraries are passed over; lint() finds them.)")
      .def_property_readonly("findings", &Document::findings,
                             "What the read doubted, by line: a tuple of Finding. Of each kind the first 100 "
                             "are kept. Those of severity\n"
                             "\"error\" tell of data that were left out.")
      .def("lint", &Document::lint, py::kw_only(), py::arg("numbers") = true, py::arg("geometry") = true,
           py::arg("materials") = true,
           R"(lint(self, *, numbers=True, geometry=True, materials=True)
--

The findings of the read and those of a closer look, by line: a tuple of Finding.

numbers looks at every number of the vertex lines, geometry counts duplicate faces, unused and coincident
vertices, materials looks for the libraries and for the materials in them.)");
}

void addMarks(DocumentClass& document) {
  document
      .def("vertices_of", &Document::verticesOf, py::arg("group"), R"(vertices_of(self, group)
--

The vertices that a group's faces use: int32 array, ascending.

group is a name, or an int array of faces such as smoothing[3]. Raises KeyError for an unknown name and
IndexError for a face that is not there.)")
      .def("mask", &Document::mask, py::arg("group"), py::arg("value") = 255, R"(mask(self, group, value=255)
--

A new uint8 array of shape (N,): `value` (0 to 255) for the vertices of a group, 0 for the others.

group is a name or an int array of faces, with errors as in vertices_of.)")
      .def("border", &Document::border, py::arg("group"), py::kw_only(), py::arg("open") = false,
           R"(border(self, group, *, open=False)
--

The edges that a face of the group shares with a face outside it, as a Border.

Faces share an edge when each has its two vertices at neighbouring corners; faces may have any number of
corners. The rim of the mesh, where an edge has one face alone, is no border, as in the host's creasing;
open=True takes it for one. `corners` are those of the group's faces. group is a name or an int array of
faces, with errors as in vertices_of.)")
      .def("creases", &Document::creases, py::kw_only(), py::arg("group") = py::none(),
           py::arg("smoothing") = py::none(), py::arg("open") = false,
           R"(creases(self, *, group=None, smoothing=None, open=False)
--

The edges to crease, as a Border: those of a group, those of a smoothing number, or, without either, all edges
whose faces have different smoothing numbers.

creases(group=...) is border(...). creases(smoothing=3) is the border of the faces of smoothing number 3; 0
stands for the faces of none. Without either, `corners` are those of the faces on both sides.
Raises KeyError for an unknown name or number.)")
      .def("host_mask", &Document::hostMask, py::arg("group") = py::none(), py::kw_only(),
           py::arg("smoothing") = py::none(), py::arg("value") = 255,
           R"(host_mask(self, group=None, *, smoothing=None, value=255)
--

What masking with a group writes to the host's mesh: a new uint8 array, the mask byte of each vertex of a mesh
that had none.

group is a name, or smoothing a number; value is 0 to 255. The file is read as the host reads it, whose groups,
vertices and faces can be others than the document's (see `findings`, host_only). Raises KeyError where the host
has no such group, FormatError where the host cannot read the file or would end.)")
      .def("host_creases", &Document::hostCreases, py::arg("group") = py::none(), py::kw_only(),
           py::arg("smoothing") = py::none(), R"(host_creases(self, group=None, *, smoothing=None)
--

What creasing with a group writes to the host's mesh: a new uint8 array, the crease byte of each face of a mesh
that had none.

Two bits (3 << 2 * k) for each edge k from corner k to the next one that a face outside the group shares, of the
group's faces alone; edges from the fifth on have no bits, as the host's faces have four at most. For edges of all
faces see creases(). Arguments and errors are as in host_mask.)");
}

DocumentClass addDocument(py::module_& module) {
  DocumentClass document(module, "Document",
                         R"(An OBJ file as its author wrote it. Made by read() and from_arrays().

Indices count from 0. Arrays are read-only views of the document's own tables where that is possible, stay
valid on their own, and are made when they are first asked for: a document of a file keeps it open, and what is
parsed later comes from there. A file that is replaced by another of the same name, as write() does it, stays
readable; one that is overwritten in place raises FileError. Methods may be called by several threads.)");
  addVectors(document);
  addElements(document);
  addStates(document);
  addMarks(document);
  document
      .def_property_readonly(
          "path", [](const Document& d) { return pathText(d.path()); },
          "The file, or the name that was given for bytes or a file object.")
      .def("__repr__", &Document::repr);
  return document;
}

}  // namespace
}  // namespace ksmthgrp

PYBIND11_MODULE(_ksmthgrp, module) {
  using namespace ksmthgrp;
  py::options options;
  options.disable_function_signatures();
  py::register_local_exception_translator([](std::exception_ptr error) {
    try {
      if (error) std::rethrow_exception(std::move(error));
    } catch (const py::cast_error&) {
      PyErr_SetString(PyExc_TypeError, "an argument, or a part of one, is of another type than is wanted");
    }
  });
  module.attr("__version__") = std::to_string(KSMTH_VERSION_MAJOR) + "." +
                               std::to_string(KSMTH_VERSION_MINOR) + "." +
                               std::to_string(KSMTH_VERSION_PATCH);
  DocumentClass document = addDocument(module);
  module.def("read", &readDocument, py::arg("source"), py::kw_only(), py::arg("name") = py::none(),
             py::arg("dtype") = py::str("float64"), py::arg("strict") = false,
             R"(read(source, *, name=None, dtype='float64', strict=False)
--

Reads an OBJ file and answers a Document.

source is a path (str or os.PathLike), the file's bytes, or a file object, which is read to its end. name stands
for bytes and file objects in messages; libraries are looked for beside it. dtype, float64 or float32, is that of
positions, texture coordinates and normals. Lines that make no sense are left out and told in `findings`; with
strict=True the first of them is an error. Numbers are parsed when they are asked for; lint() looks at all of them.

Raises NotFoundError or FileError when the file cannot be read, FormatError when it is no text, is too large
or, with strict=True, has something wrong; MemoryError. Ctrl-C stops it.)");
  module.def("set_threads", &KSmthGrpImpt_SetThreads, py::arg("count"),
             R"(set_threads(count)
--

Sets on how many threads, the calling one included, files from 16 MB are read and their numbers parsed at most,
and answers what was set before. 0, the default, stands for the number in the environment's KSMTH_THREADS, or
without one for one thread for each processor, up to 8. The host's marks are made of models that are read on as many
where a number is set. What comes out does not depend on it.)");
  addWriting(module, document);
  addArrays(module);
  addPsd(module);
}
