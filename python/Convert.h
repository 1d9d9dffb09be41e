#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "document/Result.h"

// How values cross between Python and the library.

namespace ksmthgrp {

namespace py = pybind11;

/// A class of `ksmthgrp._types`.
py::object typeOf(const char* name);

/// Names are bytes of a file in whatever encoding; those that are no UTF-8 become lone surrogates, and these
/// the same bytes again (PEP 383).
py::str nameText(const std::string& name);
std::string nameBytes(const py::handle& text);
/// A path as the file system has it: str, bytes or os.PathLike. Throws TypeError.
std::string pathBytes(const py::handle& path);
py::str pathText(const std::string& path);
/// str or os.PathLike.
bool isPath(const py::handle& object);

/// What a file object has left, which may be text, or what bytes or another buffer have. Throws TypeError.
std::string contentOf(const py::object& source);

/// An array that looks at `data` and keeps `owner` alive.
py::array arrayOf(const py::dtype& type, const std::vector<py::ssize_t>& shape, const void* data,
                  std::shared_ptr<const void> owner);
py::array readOnly(py::array array);

/// A read-only array that looks at a table of `owner`.
template <class T>
py::array view(std::span<const T> data, std::shared_ptr<const void> owner) {
  return readOnly(
      arrayOf(py::dtype::of<T>(), {static_cast<py::ssize_t>(data.size())}, data.data(), std::move(owner)));
}
/// Indices below 2^31, as signed ones.
inline py::array view(std::span<const std::uint32_t> data, std::shared_ptr<const void> owner) {
  return readOnly(arrayOf(py::dtype::of<std::int32_t>(), {static_cast<py::ssize_t>(data.size())}, data.data(),
                          std::move(owner)));
}
/// An array that has taken over `data`, `width` values of type `T` in a row; one-dimensional for a width of
/// 0.
template <class T, class Row>
py::array owned(std::vector<Row> data, std::size_t width = 0) {
  const std::size_t count = data.size() * sizeof(Row) / sizeof(T);
  const auto kept = std::make_shared<std::vector<Row>>(std::move(data));
  std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(width == 0 ? count : count / width)};
  if (width != 0) shape.push_back(static_cast<py::ssize_t>(width));
  return arrayOf(py::dtype::of<T>(), shape, kept->data(), kept);
}

/// Raises an error of Python's own; the text may have names in it.
[[noreturn]] void refuse(PyObject* type, const std::string& text);

/// Has Python look for signals now and then, and ends the work where one raises. To be called without the
/// interpreter's lock.
WavefrontOBJ::Progress signalCheck();

/// Raises what `result` says, about `path`: MemoryError, KeyboardInterrupt and the like, or an error of the
/// module.
void require(const WavefrontOBJ::Result& result, const std::string& path, std::uint64_t line = 0);
[[noreturn]] void raise(const char* type, const std::string& text, const std::string& path,
                        std::uint64_t line = 0);

/// The work without the interpreter's lock.
template <class Work>
auto unlocked(Work work) {
  const py::gil_scoped_release released;
  return work();
}

}  // namespace ksmthgrp
