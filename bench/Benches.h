#pragma once

#include <string>

#include "Results.h"
#include "SheetFiles.h"

namespace bench {

// Registers the benchmarks of one subject. `files` and `results` must outlive the run.

/// Loading beside other loaders: "load/<loader>".
void addLoadBenches(SheetFiles& files, Results& results);
/// Whole-model export beside standard streams: "export/<writer>".
void addExportBenches(SheetFiles& files, Results& results);
/// The document beside them: "export/document", "export/assimp", "document/<work>".
void addDocumentBenches(SheetFiles& files, Results& results);
/// The calls over sheets of growing size: "<call>/<sheet>", see `kScalingCalls` and `scalingSheets`.
void addScalingBenches(SheetFiles& files, Results& results);

/// Marking a host's mesh: "mesh_mask/<model>" and "mesh_later_crease/<model>" per face of the group,
/// "mesh_first_crease/<model>" per face of the model, see `kMeshModels`.
void addMeshBenches(SheetFiles& files, Results& results);

/// The sheet that loaders and writers are compared on.
inline constexpr SheetShape kComparedSheet{};

/// Sheets of the scaling benchmarks and what they are called.
struct ScalingSheet {
  const char* name;
  SheetShape shape;
};
inline constexpr ScalingSheet kScalingSheets[] = {{"100k", {316, 50, 20, false}},
                                                  {"1M", {1000, 50, 20, false}},
                                                  {"4M", {2000, 50, 20, false}},
                                                  {"1M_interleaved", {1000, 1000, 20, true}}};
inline constexpr const char* kScalingCalls[] = {"scale_load", "scale_export", "scale_group_export",
                                                "scale_group_ranges", "scale_smoothing_export"};

/// Models of the mesh benchmarks and what they are called: the compared sheet, and fans in sectors and with
/// neighbours in different groups.
enum class MeshModel { sheet, fan, interleavedFan };
struct NamedMeshModel {
  const char* name;
  MeshModel model;
  int corners;  ///< of each face
};
inline constexpr NamedMeshModel kMeshModels[] = {{"sheet", MeshModel::sheet, 4},
                                                 {"fan", MeshModel::fan, 3},
                                                 {"fan_interleaved", MeshModel::interleavedFan, 3}};

}  // namespace bench
