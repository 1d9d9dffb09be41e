#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "document/OBJDocument.h"
#include "document/Result.h"

namespace WavefrontOBJ {

/// A material of no library, as exporters of other programs name it.
inline constexpr std::string_view kNoMaterial = "(null)";

/// What a material library (MTL file) says, by the format's published rules.
struct MaterialLibrary {
  struct Name {
    std::string text;
    std::uint64_t line = 0;  ///< from 1
    std::string definition;  ///< the statements up to the next, a line each, one blank between their words
  };
  /// A texture that a material names: the file name behind the options of "map_..." and the like.
  struct Texture {
    std::string text;  ///< as written, relative to the library's folder unless it is an absolute path
    std::uint64_t line = 0;
    std::string keyword;         ///< in lower case: "map_kd"
    std::size_t material = kNo;  ///< into `materials`
  };
  /// The numbers of a statement such as "Kd", "Ns" or "d", behind its options.
  struct Value {
    std::string keyword;  ///< in lower case: "kd"
    std::vector<double> numbers;
    std::size_t material = kNo;
  };
  static constexpr std::size_t kNo = static_cast<std::size_t>(-1);  ///< before the first "newmtl"

  std::string path;               ///< where it was read
  std::vector<Name> materials;    ///< of "newmtl" lines, in order
  std::vector<Texture> textures;  ///< in order, repeats included
  std::vector<Value> values;      ///< likewise
  /// The first line that is neither a comment nor blank, where that is no "newmtl": the host, for which a
  /// line ends at a line feed and has no other byte in front, refuses the library there. 0 for none.
  std::uint64_t refusedLine = 0;

  bool has(std::string_view material) const;
};

/// The folder of a file as a prefix for names in it: up to and with the last "/"; empty when there is none.
KSMTH_API std::string folderPrefix(std::string_view path);

/// Where a texture lies: in the library's folder unless its name is an absolute path. A backslash in the name
/// stands for "/" where there is no file with it.
KSMTH_API std::string texturePath(const MaterialLibrary& library, const MaterialLibrary::Texture& texture);

/// Reads the library at `path`, which has to be a regular file.
KSMTH_API Result readMaterialLibrary(const std::string& path, MaterialLibrary& library);

/// Where library `index` of a document lies: in the document's folder unless the name is an absolute path. A
/// backslash in the name stands for "/" where there is no file with it. Names on one line that are not files
/// each but are one file with blanks between them are joined: the answer of the first is that file, and
/// those of the others are empty.
KSMTH_API std::vector<std::string> libraryPaths(const OBJDocument& document);

/// A material that two documents have in libraries which do not define it alike.
struct MaterialClash {
  std::string name;
  std::string libraries[2];  ///< their paths, in the order of the documents
};

/// The materials that some document uses and that libraries of several documents define, each in other words,
/// in order. Of a document's own libraries the first that has a material counts. May throw std::bad_alloc.
KSMTH_API std::vector<MaterialClash> materialClashes(std::span<const OBJDocument* const> documents);

}  // namespace WavefrontOBJ
