#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "KSmthExport.h"
#include "obj/OBJElementList.h"
#include "obj/OBJFaceArray.h"
#include "obj/OBJLinkArray.h"
#include "obj/OBJMaterial.h"
#include "obj/OBJReadNotes.h"
#include "obj/OBJStreams.h"
#include "obj/OBJVectorArray.h"

namespace WavefrontOBJ {

/// Entries of `OBJModel::_smoothingGroups`. A numbered "s" line once all are taken fails an assertion.
inline constexpr std::uint32_t kMaxSmoothingGroups = 256;

/// Materials that a model takes. A read that meets more of them fails: a file may name a library any number
/// of times.
inline constexpr std::size_t kMaxMaterials = std::size_t{1} << 20;

/// A whole OBJ model in memory: filled by one `read`, then queried, written and changed in place.
///
/// Indices are from 0; the files' are from 1. A group or smoothing group is always handed on as one
/// contiguous range of vertices, from the smallest to the largest index that its faces use, so that the
/// file's vertex order survives without a table. A face may name a vertex that the file never gave; such a
/// position reads as `gZeroVector`.
///
/// Threads may work at the same time on models of their own, and any number of them may call the const
/// members of one model and read its fields through const references. Everything else wants the model to
/// itself: `IsFaceInGroup` and `write` may add to `_groups`, and indexing `_faces` other than as a const
/// array unpacks faces.
class KSMTH_API OBJModel {
 public:
  std::string _errorMessage;  ///< texts of what the last read met; empty after a clean read
  std::unique_ptr<OBJVectorArray> _vertices;
  std::unique_ptr<OBJVectorArray> _normals;
  std::unique_ptr<OBJVectorArray> _textureCoords;
  std::vector<OBJMaterial> _materials;  ///< in the order they were added
  std::unique_ptr<OBJFaceArray> _faces;
  std::unique_ptr<OBJLinkArray> _links;                   ///< faces of each vertex; null until built
  std::vector<OBJElementList> _materialFaces;             ///< one face list per material
  std::vector<std::string> _groupNames;                   ///< in the order they were first used
  std::map<std::string, OBJElementList> _groups;          ///< face list of each group
  std::uint32_t _smoothingGroupCount = 0;                 ///< entries in use in `_smoothingGroups`
  std::uint32_t _smoothingGroups[kMaxSmoothingGroups]{};  ///< distinct numbers in the order first met
  std::string _reserved1;                                 ///< kept empty, nothing reads it
  std::string _reserved2;                                 ///< likewise
  OBJReadNotes _readNotes;                                ///< what the last read passed over

  /// An empty model. `small` selects the block sizes: 4,000 elements (8,000 texture coordinates) where it is
  /// true, else 16,000 (32,000).
  explicit OBJModel(bool small);
  OBJModel(const OBJModel&) = delete;
  OBJModel& operator=(const OBJModel&) = delete;
  ~OBJModel();

  // ---- building -----------------------------------------------------------------------------------------

  /// Computes the face's normal and centre, stores them in `face`, appends a copy of it and files it under
  /// its material, where the model has one of that index. Without memory for the face it is dropped silently:
  /// the face count tells.
  void addFace(OBJFace& face);
  /// Appends a copy of `material`, with an empty face list.
  void addMaterial(const OBJMaterial& material);
  /// Appends `faceIndex` to the group `name`, which is made where it is new. A face may be in several groups,
  /// and in one group twice.
  void addFaceToGroup(const std::string& name, std::uint32_t faceIndex);

  /// Position of the first material of exactly this name, -1 for none.
  std::int32_t getMaterialIndex(std::string name) const;
  /// The first material of exactly this name. Throws std::out_of_range for an unknown name.
  OBJMaterial& getMaterial(std::string name);

  /// Builds `_links`, once: true at once when it exists, faces added later are not linked. Corners at or past
  /// the vertex count link nothing. False when memory for the lists runs out, `_links` is then null.
  bool LinkVertsToFaces();
  /// Number of faces that use the vertex; -1 without `_links` or for a vertex that it does not have.
  std::int32_t GetVertToFaceCount(std::uint32_t vertex) const;
  /// The i-th face that uses the vertex, in the order of linking; 0 where there is none, the same as the
  /// first face's index: bound i by `GetVertToFaceCount`.
  std::uint32_t GetFaceForVertexIndex(std::uint32_t vertex, std::int32_t i) const;

  // ---- reading ------------------------------------------------------------------------------------------

  /// Reads the OBJ file at `path`, and the material libraries that it names, into this model, which is meant
  /// to be new: a second read appends. True when the end of the file was reached; `_errorMessage` may then
  /// hold the messages of lines that were passed over. False with the reason in `_errorMessage`; what was
  /// read up to then stays. Index errors end the read in both modes; `strict` also ends it at an unknown
  /// line, a malformed corner, an unknown material and a failing library, which a lenient read passes over.
  /// A folder cannot be opened. When memory runs out, and past `kMaxMaterials`, `_errorMessage` is "Out of
  /// memory." and the result false in both modes. A large text is read on as many threads as the program asks
  /// for, see `KSmthGrpImpt_SetThreads`, to the same end.
  bool read(std::string path, bool strict);
  /// The same for a text that is no file. `name` takes the place of its path: it stands for the text in
  /// messages, and libraries are looked for in its folder, see `getPath`.
  bool read(const OBJByteSource& source, std::string name, bool strict);
  /// The same for a text in memory, of which nothing is kept.
  bool readBytes(std::string_view bytes, std::string name, bool strict);

  /// Reads a material library and appends a new material to `materials` at each "newmtl" line; the caller
  /// owns them (`delete`), also on false. False with the reason appended to `_errorMessage` when it cannot be
  /// opened (only regular files can), when a keyword comes before the first "newmtl", and in strict mode
  /// for an unknown keyword. Throws std::bad_alloc, also where this model and `materials` together would have
  /// more than `kMaxMaterials`.
  bool readMaterialFile(std::string path, std::vector<OBJMaterial*>& materials, bool strict);

  /// Parses one corner, "v", "v/vt", "v//vn" or "v/vt/vn" as the two flags say. Numbers are the file's, from
  /// 1. A number that is not there leaves its target as it was. True when the whole token was used up.
  static bool readVertexInfo(const std::string& token, bool hasTexture, bool hasNormal, std::int32_t& v,
                             std::int32_t& vt, std::int32_t& vn);
  /// The part of `path` up to and including the last "\" or "/"; empty without one.
  static std::string getPath(const std::string& path);
  /// Extracts three numbers in order, as in the C locale whatever the stream's is. The first that is not one
  /// ends the extraction; it and those after it stay as they were.
  static void readThreeDouble(double* values, std::istream& stream);
  /// Extracts four numbers into x, y, z, w, likewise; one that is missing gives 0.
  static void readOBJVector(OBJVector& vector, std::istream& stream);

  // ---- groups -------------------------------------------------------------------------------------------

  /// Number of vertices from the smallest to the largest that the group's faces use, and the smallest in
  /// `start`. 0 for an unknown or empty group and for one that touches a single vertex; an empty group leaves
  /// the vertex count in `start`.
  std::uint32_t GetGroupVertexRange(std::uint32_t group, std::uint32_t& start) const;
  /// The same over the faces that carry this smoothing-group number.
  std::uint32_t GetSmoothingGroupVertexRange(std::uint32_t number, std::uint32_t& start) const;
  /// Number of faces that carry this smoothing-group number.
  std::uint32_t GetSmoothingGroupFaceCount(std::uint32_t number) const;
  /// True if the group's list holds the face. An unknown name gains an empty list (but no entry in
  /// `_groupNames`): after the question `getGroupElements` knows it. Fixed by the host's contract.
  bool IsFaceInGroup(std::uint32_t face, const std::string& name);
  /// Name of the first group, in the order of `_groupNames`, that holds the face; "default" if none does.
  std::string GetFaceGroupName(std::uint32_t face) const;
  /// The group's face list. Throws the string "Out of bounds" (std::string) for an unknown name.
  const OBJElementList& getGroupElements(std::string name) const;
  /// A new model with the group's vertex range, its faces (renumbered, without texture coordinates and
  /// normals, their material indices as they were) and the group; none when the range is empty or memory runs
  /// out.
  std::unique_ptr<OBJModel> ExtractGroup(std::uint32_t group) const;

  // ---- writing ------------------------------------------------------------------------------------------
  // A file that cannot be opened for writing fails an assertion; errors of writing are ignored. `mtlName`
  // may be null or empty: no "mtllib" line.

  /// Writes the comment lines and the "mtllib" line. A count of 0 stands for the model's own.
  void WriteHeader(std::ostream& stream, const char* mtlName, std::uint32_t vertexCount,
                   std::uint32_t faceCount) const;
  /// Writes the whole model, in face order or group by group. Answers true.
  /// The "vn" lines carry texture coordinates: fixed by the host's contract. With more normals than texture
  /// coordinates the texture array's assertion fails once the index is past its blocks.
  bool write(std::string path, bool byFaceOrder, const char* mtlName);
  /// Writes the group's vertex range and faces. False, without a file, when it has no vertex range.
  bool WriteGroup(std::string path, std::uint32_t group, const char* mtlName) const;
  /// Writes the vertex range and faces of a smoothing group, as a named group: the host sees its number as a
  /// name. False, without a file, when no face carries the number.
  bool WriteSmoothingGroup(std::string path, std::uint32_t number, const char* mtlName) const;

  // The same bytes for a sink. False also when the sink ended the write.
  bool write(const OBJByteSink& sink, bool byFaceOrder, const char* mtlName);
  bool WriteGroup(const OBJByteSink& sink, std::uint32_t group, const char* mtlName) const;
  bool WriteSmoothingGroup(const OBJByteSink& sink, std::uint32_t number, const char* mtlName) const;

  // ---- geometry -----------------------------------------------------------------------------------------

  /// Exchanges the vertex arrays of two models of equal vertex count; false, with nothing changed, otherwise.
  /// Nothing is recomputed: the faces' stored normals and centres stay those of the old positions.
  bool SwapVertices(OBJModel& other);
  /// True if this model has vertices and each of them occurs in `other` exactly.
  bool IsSubsetOf(const OBJModel& other) const;
  /// Negates x (`axis` 0), y (1) or z (any other) of every vertex and recomputes every face's normal and
  /// centre. The faces keep their corner order.
  void FlipAxis(std::int32_t axis);
  /// True if (u, v) lies inside the face's texture polygon (even-odd rule). Of an axis-aligned rectangle the
  /// left and bottom edges are inside, the right and top edges are not.
  bool insideTexture(const OBJFace& face, double u, double v) const;
  /// Clips the segment p0 to p1 (x, y taken as u, v; z carried along) against the face's texture polygon,
  /// which must be convex and counter-clockwise: polygons wound the other way clip everything away. True with
  /// the clipped ends (w = 1) if a part lies inside; on false the ends are as they were.
  bool intersectTexture(const OBJVector& p0, const OBJVector& p1, const OBJFace& face, OBJVector& out0,
                        OBJVector& out1) const;

 private:
  friend class OBJReader;

  /// Appends a face that is not a flat record, computes its normal and centre and files it under its
  /// material. `inPlace` tells that its corners stand in `OBJFaceArray::cornerRoom` already. False when there
  /// is no memory for it.
  bool appendFace(const OBJFaceView& face, bool inPlace);
  /// The same for a face whose corners stand in memory of `OBJFaceArray::addMemory`.
  bool appendFace(const OBJFaceView& face, const OBJPlacedCorners& corners);
  /// Appends the index of the last face to its material's list.
  void fileLastFace(std::int32_t materialIndex);
  /// The list of group `name`, made where it is new.
  OBJElementList& groupList(const std::string& name);
};

}  // namespace WavefrontOBJ
