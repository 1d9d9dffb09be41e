#include "Convert.h"

#include <unistd.h>

#include <chrono>
#include <new>

namespace ksmthgrp {

using WavefrontOBJ::Result;
using WavefrontOBJ::Status;

py::object typeOf(const char* name) {
  return py::module_::import("ksmthgrp._types").attr(name);
}

py::str nameText(const std::string& name) {
  PyObject* const text =
      PyUnicode_DecodeUTF8(name.data(), static_cast<Py_ssize_t>(name.size()), "surrogateescape");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

std::string nameBytes(const py::handle& text) {
  if (!PyUnicode_Check(text.ptr())) throw py::type_error("a name must be a str");
  PyObject* const bytes = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape");
  if (bytes == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::bytes>(bytes);
}

std::string pathBytes(const py::handle& path) {
  PyObject* bytes = nullptr;
  // Refuses NUL characters, too.
  if (PyUnicode_FSConverter(path.ptr(), &bytes) == 0) throw py::error_already_set();
  return py::reinterpret_steal<py::bytes>(bytes);
}

py::str pathText(const std::string& path) {
  PyObject* const text = PyUnicode_DecodeFSDefaultAndSize(path.data(), static_cast<Py_ssize_t>(path.size()));
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

bool isPath(const py::handle& object) {
  return PyUnicode_Check(object.ptr()) || py::hasattr(object, "__fspath__");
}

std::string contentOf(const py::object& source) {
  const py::object content = py::hasattr(source, "read") ? source.attr("read")() : source;
  if (PyUnicode_Check(content.ptr())) return nameBytes(content);
  if (PyObject_CheckBuffer(content.ptr()) == 0)
    throw py::type_error("a path, bytes or a file object is wanted");
  return py::bytes(py::reinterpret_steal<py::object>(PyBytes_FromObject(content.ptr())));
}

py::array arrayOf(const py::dtype& type, const std::vector<py::ssize_t>& shape, const void* data,
                  std::shared_ptr<const void> owner) {
  using Owner = std::shared_ptr<const void>;
  const py::capsule base(new Owner(std::move(owner)), [](void* kept) { delete static_cast<Owner*>(kept); });
  return {type, shape, {}, data, base};
}

py::array readOnly(py::array array) {
  array.attr("setflags")(py::arg("write") = false);
  return array;
}

void refuse(PyObject* type, const std::string& text) {
  PyErr_SetObject(type, nameText(text).ptr());
  throw py::error_already_set();
}

WavefrontOBJ::Progress signalCheck() {
  using Clock = std::chrono::steady_clock;
  return [last = Clock::now()](double) mutable {
    // The lock may have to be waited for.
    if (Clock::now() - last < std::chrono::milliseconds(50)) return true;
    last = Clock::now();
    const py::gil_scoped_acquire locked;
    return PyErr_CheckSignals() == 0;
  };
}

void raise(const char* type, const std::string& text, const std::string& path, std::uint64_t line) {
  const py::object error = typeOf(type)(nameText(text));
  if (!path.empty()) error.attr("path") = pathText(path);
  if (line != 0) error.attr("line") = line;
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
  throw py::error_already_set();
}

void require(const Result& result, const std::string& path, std::uint64_t line) {
  switch (result.status) {
    case Status::ok:
      return;
    case Status::outOfMemory:
      throw std::bad_alloc();
    case Status::cancelled:
      if (PyErr_Occurred() != nullptr) throw py::error_already_set();
      break;
    case Status::notText:
    case Status::tooLarge:
      raise("FormatError", result.text, path, line);
    case Status::cannotOpen:
      if (::access(path.c_str(), F_OK) != 0) raise("NotFoundError", result.text, path);
      break;
    case Status::readFailed:
    case Status::changed:
    case Status::writeFailed:
      break;
  }
  raise("FileError", result.text, path, line);
}

}  // namespace ksmthgrp
