#pragma once

#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "obj/OBJModel.h"
#include "obj/internal/OBJPiece.h"
#include "obj/internal/OBJPlainLines.h"
#include "obj/text/TextSource.h"

// For the library and its tests alone: not part of the library's interface.

namespace WavefrontOBJ {

class OBJTokenStream;

/// How an OBJ file is read. The result does not depend on it.
struct OBJReadOptions {
  bool fastPath = true;                  ///< read well-formed lines without the line buffer
  std::size_t blockBytes = 128U * 1024;  ///< bytes asked of the file at a time
  unsigned threads = 1;                  ///< that read a file of more than a few blocks, with the fast path
};

/// One read of an OBJ file into a model: the state between lines and the work on each kind of line.
///
/// Every line can be read by the exact path, which works on a copy of the line with the rules of C-locale
/// streams and `sscanf`. Most lines of most files have a fast path through the file's bytes
/// instead, see `OBJPlainLines`.
///
/// On several threads, the fast path works on pieces of the file side by side; this thread then takes in what
/// it has come to, piece by piece, and reads the lines that it left.
class OBJReader {
 public:
  OBJReader(OBJModel& model, std::string path, bool strict, const OBJReadOptions& options = {});

  /// See `OBJModel::read`. A null `source` stands for the file of the path.
  bool read(const OBJByteSource* source = nullptr);

 private:
  /// Hashes names so that they can be looked up without a copy.
  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
  };
  using KnownGroups = std::unordered_map<std::string, OBJElementList*, NameHash, std::equal_to<>>;

  /// What became of a line.
  enum class Outcome : std::uint8_t { nextLine, readFailed };

  // Exact path.
  void copyLine();
  Outcome readLine();
  void readVector();
  void readGroups();
  Outcome readFace();
  Outcome readMaterialName();
  void readSmoothingGroup();
  Outcome readMaterialLibrary();
  Outcome readUnknownLine();
  Outcome dropFace();
  Outcome endRead(OBJReadNote::Kind kind);
  bool resolve(std::int32_t fileIndex, std::uint32_t count, const char* zeroText, const char* beyondText,
               std::uint32_t& index);

  // Fast path, in OBJReaderFast.cpp; what it adds lines to.
  friend class OBJPlainLines<OBJReader>;
  OBJVectorArray& positions() { return *model_._vertices; }
  OBJVectorArray& textures() { return *model_._textureCoords; }
  OBJVectorArray& normals() { return *model_._normals; }
  static void add(OBJVectorArray& array, const OBJVector& vector) {
    if (!array.push_back(vector)) throw std::bad_alloc();
  }
  static std::uint32_t limitOf(const OBJVectorArray& array) { return array.count; }
  std::uint32_t* cornerRoom() { return model_._faces->cornerRoom(); }
  const char* readGroup(const char* line);
  void readFastLines();

  // Pieces, in OBJReaderPieces.cpp.
  bool readPieces();
  bool join(const OBJPiece& piece);
  void append(const OBJPiece& piece, OBJPiece::Counts& done, const OBJPiece::LeftLine& end);

  bool readShown();
  bool comesAtOnce(const OBJByteSource* source) const;
  void fillSource();
  void showText();
  std::string& token();
  std::string_view textAfter(std::size_t characters) const;
  void addFace(OBJFaceView& face, bool inPlace);
  void enterState(OBJFaceView& face) const;
  void enterGroups();
  void note(OBJReadNote::Kind kind, std::string_view text);

  OBJModel& model_;
  const std::string path_;
  const std::string directory_;
  const bool strict_;
  const OBJReadOptions options_;
  OBJTextSource source_;
  // Of the source's window as it was last filled. Its last vector of any kind is that of both paths. Its last
  // token only notes where it stands: the text is copied when somebody asks or before the bytes move.
  OBJPlainLines<OBJReader> plain_{*this};

  std::string line_;                ///< the current line as a C string sees it, its keyword in lower case
  std::size_t lineNumber_ = 0;      ///< of `line_`, from 1
  std::size_t nextLineNumber_ = 1;  ///< of the line that begins at the source's position

  std::unordered_map<std::string, std::int32_t> materials_;  ///< first material of each name
  std::vector<std::string> groupNames_{"default"};
  KnownGroups knownGroups_;                  ///< lists of groups that had a line to themselves
  std::vector<OBJElementList*> groupLists_;  ///< lists of `groupNames_`, empty until a face needs them
  std::int32_t materialIndex_ = -1;
  std::uint32_t smoothingGroup_ = 0;
  std::string token_;  ///< that all kinds of line share
};

}  // namespace WavefrontOBJ
