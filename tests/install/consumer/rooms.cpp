// One thing of every room, through the installed headers. Argument: an OBJ file with groups.
#include "KSmthVersion.h"
#include "document/OBJDocument.h"
#include "geometry/Rect.h"
#include "image/BitMap.h"
#include "obj/OBJModel.h"
#include "plugin/KOBJRev01.h"
#include "system/TalvexPlugin.h"

int main(int, char** arguments) {
  WavefrontOBJ::OBJDocument document;
  WavefrontOBJ::OBJModel model(true);
  ABitMap bitmap;
  const double version = KSMTH_VERSION_MAJOR + KSMTH_VERSION_MINOR / 10.0;
  const bool isGood = document.read(arguments[1]) && model.read(arguments[1], false) &&
                      document.groups().size() > 1 && document.groups().size() == model._groupNames.size() &&
                      ARect::FromWhole(0, 0, 2, 1).Width() == 2 * fixed::kOne &&
                      bitmap.Allocate(2, 1, 32) != nullptr && STR_LowerCase('A') == 'a' &&
                      Version(nullptr, 0, nullptr, 0, 0, 0, nullptr) == static_cast<float>(version);
  return isGood ? 0 : 1;
}
