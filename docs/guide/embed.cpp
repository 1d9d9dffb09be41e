// One thing of every room of the library. Argument: an OBJ file with groups.
// It prints first: KSmthGrpImpt 1.3 is all there
#include <cstdio>

#include "KSmthVersion.h"
#include "document/OBJDocument.h"
#include "geometry/Rect.h"
#include "image/BitMap.h"
#include "obj/OBJModel.h"
#include "plugin/KOBJRev01.h"
#include "system/TalvexPlugin.h"

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  WavefrontOBJ::OBJDocument document;
  WavefrontOBJ::OBJModel model(true);
  ABitMap bitmap;
  const double version = KSMTH_VERSION_MAJOR + KSMTH_VERSION_MINOR / 10.0;
  const bool isThere = document.read(argv[1]) && model.read(argv[1], false) && document.groups().size() > 1 &&
                       document.groups().size() == model._groupNames.size() &&
                       ARect::FromWhole(0, 0, 2, 1).Width() == 2 * fixed::kOne &&
                       bitmap.Allocate(2, 1, 32) != nullptr && STR_LowerCase('A') == 'a' &&
                       Version(nullptr, 0, nullptr, 0, 0, 0, nullptr) == static_cast<float>(version);
  bitmap.Free();
  std::printf("KSmthGrpImpt %.1f is %s\n", version, isThere ? "all there" : "not all there");
  return isThere ? 0 : 1;
}
