#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "obj/OBJModel.h"
#include "obj/text/DigitScan.h"
#include "obj/text/TextSource.h"

// For the library and its tests alone: not part of the library's interface.

namespace WavefrontOBJ {

class OBJTokenStream;

/// Longest line; the rest of a longer one is read as the next line.
inline constexpr std::size_t kMaxLineCharacters = 1024;

/// How an OBJ file is read. The defaults are the fastest; the result does not depend on them.
struct OBJReadOptions {
  bool fastPath = true;                  ///< read well-formed lines without the line buffer
  std::size_t blockBytes = 128U * 1024;  ///< bytes asked of the file at a time
};

/// One read of an OBJ file into a model: the state between lines and the work on each kind of line.
///
/// Every line can be read by the exact path, which works on a copy of the line with the rules of C-locale
/// streams and `sscanf`. Well-formed "v", "vt", "vn" and "f" lines have a fast path through the file's bytes
/// instead; it either reads the whole line, with the same outcome, or leaves everything as it was.
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

  // Fast path, in OBJReaderFast.cpp. What reads a line answers the line feed that ends it, or null with
  // everything as it was.
  void readFastLines();
  const char* readFastLine(const char* line);
  const char* addVector(const char* line, const char* next, const OBJVector& vector, OBJVectorArray& target);
  template <bool kTwoSuffice>
  const char* readFastVector(const char* line, const char* text, OBJVectorArray& target);
  const char* readFastFace(const char* line);
  const char* readFastGroup(const char* line);
  template <bool kTexture, bool kNormal>
  const char* readFastCorners(const char* line, const char* text);
  using ReadCorners = const char* (OBJReader::*)(const char* line, const char* text);
  static const char* fastLineEnd(const char* line, const char* text);

  void fillSource();
  void mapDigits();
  std::string& token();
  std::string_view textAfter(std::size_t characters) const;
  void addFace(OBJFaceView& face, bool inPlace);
  void note(OBJReadNote::Kind kind, std::string_view text);

  OBJModel& model_;
  const std::string path_;
  const std::string directory_;
  const bool strict_;
  const bool fastPath_;
  OBJTextSource source_;
  OBJDigitMap digits_;  ///< of the source's window as it was last filled, for the fast path
  ReadCorners readCorners_ = &OBJReader::readFastCorners<true, true>;  ///< for the form of the last face

  std::string line_;                ///< the current line as a C string sees it, its keyword in lower case
  std::size_t lineNumber_ = 0;      ///< of `line_`, from 1
  std::size_t nextLineNumber_ = 1;  ///< of the line that begins at the source's position

  std::unordered_map<std::string, std::int32_t> materials_;  ///< first material of each name
  std::vector<std::string> groupNames_{"default"};
  KnownGroups knownGroups_;                  ///< lists of groups that had a line to themselves
  std::vector<OBJElementList*> groupLists_;  ///< lists of `groupNames_`, empty until a face needs them
  std::int32_t materialIndex_ = -1;
  std::uint32_t smoothingGroup_ = 0;
  OBJVector scratch_;  ///< numbers of the last vector line of any kind

  // The token that all kinds of line share. A fast face line only notes where its last corner stands; the
  // text is copied when somebody asks or before the bytes move.
  std::string token_;
  std::string_view fastToken_;
};

}  // namespace WavefrontOBJ
