#pragma once

#include <cstdint>

#include "KSmthExport.h"
#include "obj/OBJModel.h"
#include "plugin/KStruct3.h"

// The host's mesh: what it tells, and what an OBJ model's groups do to it. A mesh belongs to the model that
// the host imported it from: same vertices, same faces, same order. Indices are from 0. The functions answer
// -1 where they can do nothing, and have then written nothing. They read and write the host's memory in place
// and keep nothing of it.
//
// Threads that each have a model and a mesh of their own may call at the same time. So may threads that share
// a model, each with its own mesh: masking only reads the model, creasing does so once the model has its
// links
// (`LinkVertsToFaces`), before which a thread must have the model to itself.

/// The mask value that masking writes. Set by `SetMesh3DInfo` alone.
KSMTH_API extern std::uint8_t sDefaultMaskValue;

/// True unless a present array of the mesh has a block that is not available, which then has been reported to
/// the host's message call. The host guarantees a block for every present array; one without is passed over.
KSMTH_API bool Mesh3D_IsLoaded(AMash3DDXF* mesh);

/// Elements of the vertex-attribute array; 0 for a null mesh and without such an array.
KSMTH_API std::int32_t Mesh3D_GetVertexAttribCount(AMash3D* mesh);

/// Clears the crease bits of all faces. Answers the face-attribute array's count; -1 for a null mesh, for a
/// missing array, block or data, and for elements that do not have 4 bytes.
KSMTH_API std::int32_t Mesh3D_ClearAllCreasing(AMash3DDXF* mesh);

/// Writes `maskValue` to every vertex of the group's faces, those that the mesh does not have left out.
/// Answers the number of writes, one for each corner: a vertex that two faces share counts twice. -1 for a
/// null model or mesh, a group that does not exist and a missing array, block or data.
/// Throws what `getGroupElements` throws.
KSMTH_API std::int32_t Mesh3D_MaskGroupFromOBJ(AMash3D* mesh, WavefrontOBJ::OBJModel* model,
                                               std::uint32_t groupIndex, unsigned char maskValue);

/// The same for the faces that carry the smoothing group at `smoothIndex` of the model's table.
KSMTH_API std::int32_t Mesh3D_MaskSmoothingGroupFromOBJ(AMash3D* mesh, WavefrontOBJ::OBJModel* model,
                                                        std::uint32_t smoothIndex, unsigned char maskValue);

/// Creases, in the group's faces, every edge that a face outside the group also uses both ends of. Answers
/// the number of pairs of such an edge and such a face: an edge shared with two faces outside counts twice.
/// Edge k of a face runs from its corner k to the next one and has bits 2k and 2k + 1; edges from the fifth
/// on count and have no bits, as host faces have four sides at most. Bits already set stay. -1 for a null
/// model or mesh, a group that does not exist, a missing array, block or data, elements that do not have 4
/// bytes, a count that is not the model's face count, and for want of memory for the links between vertices
/// and faces, which stay in the model: as they were made by the first crease or `LinkVertsToFaces`, whatever
/// has become of the faces since. Throws std::bad_alloc and what `getGroupElements` throws, with nothing
/// written.
KSMTH_API std::int32_t Mesh3D_CreaseGroupsFromOBJ(AMash3DDXF* mesh, WavefrontOBJ::OBJModel* model,
                                                  std::uint32_t groupIndex);

/// The same for the faces that carry the smoothing group at `smoothIndex` of the model's table.
KSMTH_API std::int32_t Mesh3D_CreaseSmoothingGroupFromOBJ(AMash3DDXF* mesh, WavefrontOBJ::OBJModel* model,
                                                          std::uint32_t smoothIndex);
