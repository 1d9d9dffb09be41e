#include "smthgrp/model/WholeModel.h"

#include <cstdio>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/OutputFile.h"
#include "smthgrp/common/TerminalText.h"

namespace smthgrp {

void announce(const std::string& path, const WrittenFile& written) {
  if (!written.announce) return;
  std::printf("%s: %s, %s\n", printable(path).c_str(),
              counted(written.vertices, "vertex", "vertices").c_str(),
              counted(written.faces, "face").c_str());
}

void requireWholeModelWritable(const WavefrontOBJ::OBJModel& model, const std::string& path) {
  const std::uint64_t normals = model._normals->count;
  const std::uint64_t slots =
      std::uint64_t{model._textureCoords->blocks.size()} * model._textureCoords->blockSize;
  if (normals <= slots) return;
  throw Failure(path + ": the library cannot write this model as a whole, it has " +
                counted(normals, "normal") + " and only " +
                counted(model._textureCoords->count, "texture coordinate") +
                "; its groups can be written one by one, with split or export --group");
}

void exportWholeModel(PluginLibrary& library, const std::string& modelPath, const std::string& output) {
  const WavefrontOBJ::OBJModel& model = *library.model();
  requireWholeModelWritable(model, modelPath);
  const bool normals = model._normals->count > 0;
  const std::optional<WrittenFile> written = exportTo(library, "ExportOBJGroup", 0.0, output);
  if (!written) throw Failure(outputName(output) + ": the library did not write the model");
  announce(output, *written);
  if (normals) {
    std::fprintf(stderr,
                 "smthgrp: note: %s: normals are not preserved, recompute them where they are needed\n",
                 printable(outputName(output)).c_str());
  }
}

}  // namespace smthgrp
