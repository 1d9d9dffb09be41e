#include "Sheet.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace bench {
namespace {

/// Reproducible noise in 0..range-1 for one component of one vertex.
std::int32_t noise(std::uint64_t vertex, std::uint32_t component, std::uint32_t range) {
  std::uint64_t x = vertex * 8 + component + 0x9E3779B97F4A7C15U;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
  return static_cast<std::int32_t>((x ^ (x >> 31)) % range);
}

/// Numbers of one vertex in millionths: what six decimals can say.
struct Millionths {
  std::int32_t position[3];
  std::int32_t texture[2];
  std::int32_t normal[3];
};

Millionths vertexNumbers(const SheetShape& shape, std::uint32_t row, std::uint32_t column) {
  const std::uint64_t vertex = std::uint64_t{row} * (shape.side + 1) + column;
  const auto along = [&](std::uint32_t i, std::uint32_t component) {
    const std::int32_t step = 10'000;
    return (static_cast<std::int32_t>(i) - static_cast<std::int32_t>(shape.side / 2)) * step +
           noise(vertex, component, 5'000);
  };
  Millionths numbers{};
  numbers.position[0] = along(column, 0);
  numbers.position[1] = noise(vertex, 1, 300'000);
  numbers.position[2] = along(row, 2);
  numbers.texture[0] = static_cast<std::int32_t>(std::uint64_t{column} * 1'000'000 / shape.side);
  numbers.texture[1] = static_cast<std::int32_t>(std::uint64_t{row} * 1'000'000 / shape.side);
  const double x = (noise(vertex, 3, 1'000'000) - 500'000) * 1e-6;
  const double z = (noise(vertex, 4, 1'000'000) - 500'000) * 1e-6;
  numbers.normal[0] = static_cast<std::int32_t>(std::lround(x * 1e6));
  numbers.normal[1] = static_cast<std::int32_t>(std::lround(std::sqrt(1.0 - x * x - z * z) * 1e6));
  numbers.normal[2] = static_cast<std::int32_t>(std::lround(z * 1e6));
  return numbers;
}

template <class Visitor>
void forEachVertex(const SheetShape& shape, Visitor visit) {
  for (std::uint32_t row = 0; row <= shape.side; ++row) {
    for (std::uint32_t column = 0; column <= shape.side; ++column) visit(vertexNumbers(shape, row, column));
  }
}

/// Collects text and writes it out in large pieces.
class LineFile {
 public:
  explicit LineFile(const std::string& path) : path_(path), file_(std::fopen(path.c_str(), "w")) {
    if (file_ == nullptr) throw std::runtime_error("cannot write " + path);
  }

  LineFile& operator<<(std::string_view text) {
    buffer_ += text;
    return *this;
  }
  LineFile& operator<<(std::uint32_t number) {
    char text[16];
    buffer_.append(text, std::to_chars(text, text + sizeof text, number).ptr);
    return *this;
  }
  /// " " and the number with six decimals.
  void millionths(std::int32_t number) {
    buffer_ += number < 0 ? " -" : " ";
    const auto magnitude = static_cast<std::uint32_t>(std::abs(number));
    *this << magnitude / 1'000'000;
    // The leading 1 keeps the zeros behind the point.
    const std::string decimals = std::to_string(1'000'000 + magnitude % 1'000'000);
    buffer_.append(1, '.').append(decimals, 1);
  }
  void endLine() {
    buffer_ += '\n';
    if (buffer_.size() > kFlushBytes) flush();
  }
  void flush() {
    if (std::fwrite(buffer_.data(), 1, buffer_.size(), file_.get()) != buffer_.size() ||
        std::fflush(file_.get()) != 0) {
      throw std::runtime_error("cannot write " + path_);
    }
    buffer_.clear();
  }

 private:
  static constexpr std::size_t kFlushBytes = 1U << 20;

  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string path_;
  std::unique_ptr<std::FILE, Close> file_;
  std::string buffer_;
};

void writeFaces(const SheetShape& shape, LineFile& out) {
  std::uint32_t group = UINT32_MAX;
  std::uint32_t smoothing = UINT32_MAX;
  for (std::uint32_t row = 0; row < shape.side; ++row) {
    if (shape.smoothingGroupOfRow(row) != smoothing) {
      smoothing = shape.smoothingGroupOfRow(row);
      out << "s " << smoothing + 1;
      out.endLine();
    }
    for (std::uint32_t column = 0; column < shape.side; ++column) {
      const std::uint32_t wanted = shape.groupOfFace(row, column);
      if (wanted != group) {
        group = wanted;
        out << "g " << groupName(group);
        out.endLine();
      }
      std::uint32_t corners[4];
      sheetFaceCorners(shape, row, column, corners);
      out << "f";
      for (const std::uint32_t corner : corners) {
        out << " " << corner + 1 << "/" << corner + 1 << "/" << corner + 1;
      }
      out.endLine();
    }
  }
}

}  // namespace

std::uint64_t SheetShape::facesInGroup(std::uint32_t group) const {
  if (interleaved) return faceCount() / groups + (group < faceCount() % groups ? 1 : 0);
  std::uint64_t rows = 0;
  for (std::uint32_t row = 0; row < side; ++row) rows += groupOfFace(row, 0) == group ? 1 : 0;
  return rows * side;
}

SheetData makeSheetData(const SheetShape& shape) {
  SheetData data;
  data.positions.reserve(shape.vertexCount() * 3);
  data.textures.reserve(shape.vertexCount() * 2);
  data.normals.reserve(shape.vertexCount() * 3);
  const auto number = [](std::int32_t millionths) { return static_cast<float>(millionths / 1e6); };
  forEachVertex(shape, [&](const Millionths& vertex) {
    for (const std::int32_t component : vertex.position) data.positions.push_back(number(component));
    for (const std::int32_t component : vertex.texture) data.textures.push_back(number(component));
    for (const std::int32_t component : vertex.normal) data.normals.push_back(number(component));
  });
  return data;
}

void writeSheet(const SheetShape& shape, const std::string& path) {
  LineFile out(path);
  const auto vectors = [&](std::string_view keyword, auto components) {
    forEachVertex(shape, [&](const Millionths& vertex) {
      out << keyword;
      for (const std::int32_t component : vertex.*components) out.millionths(component);
      out.endLine();
    });
  };
  vectors("v", &Millionths::position);
  vectors("vt", &Millionths::texture);
  vectors("vn", &Millionths::normal);
  writeFaces(shape, out);
  out.flush();
}

}  // namespace bench
