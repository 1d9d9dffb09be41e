#pragma once

#include <cstdio>
#include <sstream>

#include "TestSupport.h"

/// The OBJ reader as it reads when speed is no concern: characters from `getc`, numbers from `sscanf`, tokens
/// from string streams. An independent witness for the library's reader, without material libraries.
class ReferenceReader {
 public:
  ReferenceReader(WavefrontOBJ::OBJModel& model, std::string path, bool strict)
      : model_(model), path_(std::move(path)), strict_(strict) {}

  bool read() {
    std::FILE* file = std::fopen(path_.c_str(), "r");
    bool success = true;
    for (bool more = true; more && success;) {
      more = takeLine(file);
      if (!more && line_[0] == '\0') break;
      success = readLine();
    }
    std::fclose(file);
    return success;
  }

 private:
  template <class Number>
  static void extract(std::istream& stream, Number& target) {
    Number value{};
    if (stream >> value) target = value;
  }

  bool takeLine(std::FILE* file) {
    int length = 0;
    bool keyword = true;
    int c = 0;
    while (length < 1024 && (c = std::getc(file)) != EOF && c != '\n') {
      if (keyword && c >= 'A' && c <= 'Z') c += 'a' - 'A';
      if (c == ' ') keyword = false;
      line_[length++] = static_cast<char>(c);
    }
    line_[length] = '\0';
    return c != EOF;
  }

  bool error(const std::string& text) {
    model_._errorMessage += text;
    return !strict_;
  }

  bool readLine() {
    const std::string line = line_;
    if (line.empty() || line[0] == '#') return true;
    if (line[0] == 'v') {
      const bool normal = line[1] == 'n';
      const bool texture = line[1] == 't';
      const int count =
          std::sscanf(line_ + (normal || texture ? 2 : 1), "%f %f %f", scratch_, scratch_ + 1, scratch_ + 2);
      if (texture && count == 2) scratch_[2] = 0;
      (normal    ? model_._normals
       : texture ? model_._textureCoords
                 : model_._vertices)
          ->push_back({scratch_[0], scratch_[1], scratch_[2], 1});
      return true;
    }
    if (line[0] == 'g') return readGroups(std::istringstream(line.substr(1)));
    if (line[0] == 'f') return readFace(line, std::istringstream(line.substr(1)));
    if (line.compare(0, 6, "usemtl") == 0) {
      std::istringstream(line.substr(6)) >> token_;
      material_ = model_.getMaterialIndex(token_);
      return material_ != -1 || !strict_ || error("Material " + token_ + " in " + path_ + " not found.");
    }
    if (line[0] == 's') return readSmoothing(line);
    if (line[0] == 'o' || line[0] == ' ') return true;
    return error("Line \"" + line + "\" in " + path_ + " has error.");
  }

  bool readGroups(std::istringstream stream) {
    groups_.clear();
    stream >> token_;
    if (token_.empty()) {
      groups_.push_back("default");
      return true;
    }
    for (;;) {
      const bool end = stream.eof();
      groups_.push_back(token_);
      stream >> token_;
      if (end) return true;
    }
  }

  bool readSmoothing(const std::string& line) {
    std::istringstream(line.substr(1)) >> token_;
    for (char& c : token_) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    if (token_ == "off") {
      smoothing_ = 0;
      return true;
    }
    std::istringstream number(token_);
    extract(number, smoothing_);
    if (model_._smoothingGroupCount > 255) WavefrontOBJ::OBJAssertionFailed("read", "OBJModel", 976, "0");
    for (std::uint32_t i = 0; i < model_._smoothingGroupCount; ++i) {
      if (model_._smoothingGroups[i] == smoothing_) return true;
    }
    model_._smoothingGroups[model_._smoothingGroupCount++] = smoothing_;
    return true;
  }

  static bool readCorner(const std::string& token, bool texture, bool normal, int& v, int& vt, int& vn) {
    std::istringstream stream(token);
    char separator = 0;
    extract(stream, v);
    if (texture || normal) {
      stream >> separator;
      if (!stream.good()) return false;
    }
    if (texture) extract(stream, vt);
    if (normal) {
      stream >> separator;
      if (!stream.good()) return false;
      extract(stream, vn);
    }
    return stream.eof();
  }

  bool resolve(int index, const WavefrontOBJ::OBJVectorArray& array, const std::string& zero,
               const std::string& beyond, const std::string& line, std::uint32_t& result) {
    const long long n = array.count;
    if (index == 0 || std::llabs(index) > n) {
      model_._errorMessage += (index == 0 ? zero : beyond) + line + ") in " + path_ + "\n";
      return false;
    }
    result = static_cast<std::uint32_t>((index < 0 ? n - index : index) - 1);
    return true;
  }

  bool readFace(const std::string& line, std::istringstream stream) {
    stream >> token_;
    int slashes = 0;
    for (const char c : token_) slashes += c == '/' ? 1 : 0;
    const bool normal = slashes >= 2;
    const bool texture = slashes >= 1 && !(normal && token_.find("//") == token_.find('/'));
    WavefrontOBJ::OBJFace face;
    std::fill_n(face.vertexIndex, face.kMaxVertexCount, 0);
    int v = 0;
    int vt = 0;
    int vn = 0;
    for (bool end = false; !end;) {
      end = stream.eof();
      if (!readCorner(token_, texture, normal, v, vt, vn))
        return error("Error for vertex at (" + line + ")\n");
      std::uint32_t corner[3] = {0, 0, 0};
      if (!resolve(v, *model_._vertices, "Vertex 0 invalid at (", "Vertex not found at (", line, corner[0])) {
        return false;
      }
      if (texture && !resolve(vt, *model_._textureCoords, "Coordinate of texture 0 invalid at (",
                              "Coordinate of texture invalid at (", line, corner[1])) {
        return false;
      }
      if (normal && !resolve(vn, *model_._normals, "Normal of vertex 0 invalid at ",
                             "Usage of non valid normal for vertex at (", line, corner[2])) {
        return false;
      }
      face.addVertex(corner[0], corner[1], corner[2], texture, normal);
      stream >> token_;
    }
    face.smoothingGroup = smoothing_;
    face.materialIndex = material_;
    model_.addFace(face);
    for (const std::string& group : groups_) model_.addFaceToGroup(group, model_._faces->count - 1);
    return true;
  }

  WavefrontOBJ::OBJModel& model_;
  std::string path_;
  bool strict_;
  char line_[1025] = "";
  std::string token_;
  std::vector<std::string> groups_{"default"};
  std::int32_t material_ = -1;
  std::uint32_t smoothing_ = 0;
  float scratch_[3] = {0, 0, 0};
};
