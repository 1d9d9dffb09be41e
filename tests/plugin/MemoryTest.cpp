// What becomes of a load when memory runs out, at each allocation in turn.
#include <cstdlib>
#include <new>

#include "TestSupport.h"
#include "plugin/KOBJRev01.h"

namespace {

int sAllocationsLeft = -1;  ///< the one after these fails; negative: none does

}  // namespace

// Not inlined: compilers would take the halves of one pair for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (sAllocationsLeft == 0) throw std::bad_alloc();
  if (sAllocationsLeft > 0) --sAllocationsLeft;
  if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return sAllocationsLeft == 0 ? nullptr : std::malloc(size != 0 ? size : 1);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

TEST(Memory, EveryFailedAllocationIsAFailedLoad) {
  const TempFolder folder;
  folder.write("m.mtl",
               "newmtl one\nmap_Kd a_texture_with_a_long_name.png\nnewmtl two\nTr 1\nnewmtl three\n");
  const std::string path = folder.write("m.obj",
                                        "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\ng "
                                        "a_group_with_a_rather_long_name b\nusemtl "
                                        "two\nxyz\ns 1\nf 1/1/1 2/1/1 3/1/1\nf 3 2 1\ng c\nf 1 2 3\n");
  int loaded = 0;
  int noModel = 0;
  int failed = 0;
  for (int n = 0; loaded < 3; ++n) {
    ASSERT_LT(n, 1000);
    char block[4096] = "";
    sAllocationsLeft = n;
    const float answer = LoadOBJFile(path.c_str(), 0, block, 0, 0, 0, nullptr);
    sAllocationsLeft = -1;
    SCOPED_TRACE(n);
    if (answer == 3.0F) {
      ++loaded;
      // A library that cannot be opened for want of memory is a library that fails, which a load passes over.
      ASSERT_TRUE(gOBJModel->_materials.size() == 3 || gOBJModel->_materials.empty());
    } else if (answer == 0.0F) {
      ++noModel;
      ASSERT_EQ(gOBJModel, nullptr);
    } else {
      ++failed;
      ASSERT_EQ(answer, -1.0F);
      ASSERT_EQ(gOBJModel, nullptr);
      ASSERT_STREQ(block, "Out of memory.");
    }
  }
  EXPECT_GT(noModel, 3) << "the model itself";
  EXPECT_GT(failed, 30);
  EXPECT_EQ(gOBJModel->_materials.size(), 3U);
  FreeOBJModel(nullptr, 0, nullptr, 0, 0, 0, nullptr);
}

TEST(Memory, EveryFailedAllocationIsAnExtractionOfNone) {
  WavefrontOBJ::OBJModel model(true);
  for (int i = 0; i < 3; ++i) model._vertices->push_back({});
  WavefrontOBJ::OBJFace face;
  for (std::uint32_t v = 0; v < 3; ++v) face.addVertex(v, 0, 0, false, false);
  model.addFace(face);
  model.addFaceToGroup("a_group_with_a_rather_long_name", 0);
  int none = 0;
  for (bool extracted = false; !extracted; none += extracted ? 0 : 1) {
    ASSERT_LT(none, 100);
    sAllocationsLeft = none;
    extracted = model.ExtractGroup(0) != nullptr;
    sAllocationsLeft = -1;
  }
  EXPECT_GT(none, 8);
}
