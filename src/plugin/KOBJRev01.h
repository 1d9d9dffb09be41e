#pragma once

#include <cstdint>

#include "KSmthExport.h"

namespace WavefrontOBJ {
class OBJModel;
}

/// The one current model: null until a `LoadOBJFile` succeeds, destroyed by the next one, by a failed one and
/// by `FreeOBJModel`. Nothing frees it at unload. Not guarded, see the calls.
KSMTH_API extern WavefrontOBJ::OBJModel* gOBJModel;

/// A smoke test that a host or linker finds the library's classes.
class KSMTH_API KOBJRev01 {
 public:
  /// Writes the text and a line end to standard output.
  void HelloWorld(const char* text);
};

class KSMTH_API KOBJRev01Priv {
 public:
  void HelloWorldPriv(const char* text);
};

// The plug-in calls, found by their plain names. Every call takes the same arguments and answers one float.
//
//   text        a path or a key word, NUL-terminated, may be null; key words are compared whole and as they
//               are written
//   number      an index from 1, a value or nothing. An index is truncated toward zero: one in (-1, 0) is 0;
//               what no 32 bits hold, and what is no number, is an index that no table has. A value is
//               rounded to single precision, a mask value truncated and held at the ends of 32 signed bits
//   block1      receives text answers, NUL-terminated, without a limit unless one is set (CallLimits.h): a
//               path, a group name or an error text must fit; may be null
//   unused1..3  what the host puts there is not read
//   hostData    the host's table of object pointers, read by the mesh calls alone
//
// 0 is success, a negative number a failure; calls that answer with a value return it as it is, so that
// counts above 2^24 lose precision. No exception leaves a call.
//
// The calls share the current model, the open folder and the mask value, none of which is guarded: one call
// at a time. Calls of `OBJModel` and of Mesh3DUtils.h on models other than the current one may run meanwhile.
#define KSMTH_CALL(name)                                                                               \
  KSMTH_API float name([[maybe_unused]] const char* text, [[maybe_unused]] double number,              \
                       [[maybe_unused]] char* block1, [[maybe_unused]] std::uint32_t unused1,          \
                       [[maybe_unused]] std::uint32_t unused2, [[maybe_unused]] std::uint32_t unused3, \
                       [[maybe_unused]] void* hostData)

extern "C" {

/// 1.3, whatever the arguments.
KSMTH_CALL(Version);

/// Reads the OBJ file `text` as the current model; the one before is freed first, whatever happens.
/// Answers the number of groups, which is 0 for a file without groups; 0 without a model for a null path; -1
/// for a file that cannot be read, with the reason in `block1`.
KSMTH_CALL(LoadOBJFile);

/// Frees the current model, if any. Answers 0.
KSMTH_CALL(FreeOBJModel);

/// Gives the current model the vertex positions of the OBJ file `text`. Answers 0; -1 without a model or a
/// path; -2 when the file cannot be read; -3 when its vertex count is another one.
KSMTH_CALL(ReplaceOBJVertices);

/// Answers the count that the key `text` names: "vertexCount", "faceCount", "groupCount",
/// "smoothGroupCount". 0 without a model and for any other key.
KSMTH_CALL(GetOBJInfo);

/// For group `number`, from 1: key "name" copies its name into `block1` and answers 0 (-2 for a null
/// `block1`), key "vertexCount" answers the length of its vertex range. -1 otherwise.
KSMTH_CALL(GetOBJGroupInfo);

/// Key "count" answers the number of smoothing groups; key "value" the number that smoothing group `number`,
/// from 1, carries, and 0 for the one past the last. -1 otherwise.
KSMTH_CALL(GetOBJSmoothGroupInfo);

/// Writes group `number`, from 1, or for 0 the whole model in face order, to the OBJ file `text`. Answers 0;
/// -1 without a model, path or such a group and for a group without a vertex range. A file that cannot be
/// opened for writing fails the writer's assertion.
KSMTH_CALL(ExportOBJGroup);

/// Writes smoothing group `number`, from 1, to the OBJ file `text`; a number between 0 and 1 writes the faces
/// outside every smoothing group. Answers as `ExportOBJGroup`.
KSMTH_CALL(ExportOBJSmoothGroup);

// ---- the host's mesh, entry 4 of `hostData` -------------------------------------------------------------

/// Key "groupCount" answers the number of the mesh's own groups; key "groupName" copies the name of group
/// `number`, from 0 unlike all others, into `block1` and answers 0; keys "importScaleX", "importScaleY",
/// "importScaleZ", "importOffsetX", "importOffsetY" and "importOffsetZ" answer that value. -1 without a mesh
/// or a key, for any other key, and where the mesh does not have what was asked for.
KSMTH_CALL(GetMesh3DInfo);

/// Key "maskValue" makes the low 8 bits of `number` the value that masking writes; the import keys of
/// `GetMesh3DInfo` store `number` there; both answer 0. Key "smoothAll" clears all crease bits and answers
/// the number of faces. -1 without a mesh or a key, for any other key, and without face attributes to clear.
KSMTH_CALL(SetMesh3DInfo);

/// Applies group `number`, from 1, of the current model to the mesh: key "mask" writes the mask value to the
/// vertices of its faces and answers the number of writes; key "crease" creases the edges on its border and
/// answers how many pairs of an edge and a face beyond it there are. -1 without a model, a key, such a group
/// or a mesh, and for a mesh without the attributes needed; -3 for a mesh of another vertex count, which one
/// without vertex attributes has.
KSMTH_CALL(SetMesh3DFromOBJGroup);

/// The same for the smoothing group `number`, from 1: its position in the table, not the number it carries.
KSMTH_CALL(SetMesh3DFromOBJSmoothGroup);

// ---- files and folders ----------------------------------------------------------------------------------

/// Deletes the file `text`. Answers 0, or -1.
KSMTH_CALL(FileDelete);

/// Opens the folder `text` to list its entries. Answers 0, or -1. A folder still open is lost: close it
/// first.
KSMTH_CALL(OpenFolder);

/// Copies the name of the next entry into `block1`, "." and "..", hidden files and folders included, in the
/// platform's order, and answers 0. -3 after the last, -1 without an open folder, -2 for a null `block1`, for
/// which an entry is passed over.
KSMTH_CALL(GetFile);

/// Closes the folder. Answers 0, or -1 when none is open.
KSMTH_CALL(CloseFolder);

}  // extern "C"
