#pragma once

#include <string>

#include "KSmthExport.h"

namespace WavefrontOBJ {

/// One material of a material library. Colours are red, green, blue, usually 0 to 1.
struct KSMTH_API OBJMaterial {
  std::string name;
  double Kd[3] = {0.0, 0.0, 0.0};  ///< diffuse colour
  double Ka[3] = {0.0, 0.0, 0.0};  ///< ambient colour
  double Ks[3] = {0.0, 0.0, 0.0};  ///< specular colour
  double Ns = 0.0;                 ///< specular exponent
  double d = 1.0;                  ///< dissolve: 1 opaque, 0 invisible
  double Ni = 1.0;                 ///< index of refraction
  double illum = 0.0;              ///< illumination model; a double like the other scalars
  std::string map_Kd;              ///< texture files: the library's folder + the name, but for `map_Ka`
  std::string map_Ks;
  std::string map_Ka;  ///< the bare name: fixed by the host's contract
  std::string map_bump;
  std::string map_d;
};

}  // namespace WavefrontOBJ
