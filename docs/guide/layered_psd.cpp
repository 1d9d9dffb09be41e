// A Photoshop document of two layers, layers.psd: a blue ground, and light on the middle of it.
// It prints first: layers.psd: 64 x 32, 2 layers
#include <cstdint>
#include <cstdio>

#include "image/BitMap.h"
#include "image/PSDFile.h"

int main() {
  ABitMap ground, light, merged;
  for (ABitMap* map : {&ground, &light, &merged}) {
    if (map->Allocate(64, 32, 32) == nullptr) return 1;
  }
  // Pixels are 0xAARRGGBB. Layers above the ground are hard light, of which medium grey changes nothing.
  ground.Paint(std::uint64_t{0xFF2060A0});
  light.Paint(std::uint64_t{0xFF808080});
  light.Paint(0xFFC0C0C0, 16, 8, 32, 16);
  // What programs show that do not read layers.
  ground.BltTo(merged, 0, 0);
  merged.Paint(0xFF91B0D0, 16, 8, 32, 16);

  const ABitMap* const layers[] = {&ground, &light};
  const bool saved = SavePSDMultiLayered("layers.psd", layers, 2, &merged, nullptr, 0) == 0;
  for (ABitMap* map : {&ground, &light, &merged}) map->Free();
  std::puts(saved ? "layers.psd: 64 x 32, 2 layers" : "layers.psd cannot be written");
  return saved ? 0 : 1;
}
