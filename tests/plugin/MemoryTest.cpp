// What becomes of calls, and of functions of the C interface, when memory runs out, at each allocation in
// turn.
#include <cstdlib>
#include <functional>
#include <new>

#include "TestSupport.h"
#include "c/KSmthGrp.h"
#include "plugin/PluginCall.h"

using namespace WavefrontOBJ;

namespace {

int sAllocationsLeft = -1;  ///< those after these fail; negative: none does

bool fails() {
  return sAllocationsLeft >= 0 && (sAllocationsLeft == 0 || sAllocationsLeft-- == 0);
}

/// What `work` answers with the first `allocations` granted.
template <class Work>
auto with(int allocations, Work work) {
  sAllocationsLeft = allocations;
  const auto answer = work();
  sAllocationsLeft = -1;
  return answer;
}

/// Takes a list of whatever kind.
struct AnyList {
  const void* first = nullptr;
  template <class T>
  operator const T**() {
    return reinterpret_cast<const T**>(&first);
  }
};

}  // namespace

// Take the places of the C library's by the linker's --wrap; the operators below come here, too.
extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_calloc(std::size_t count, std::size_t bytes);
void* __real_realloc(void* memory, std::size_t bytes);
void* __wrap_malloc(std::size_t bytes) {
  return fails() ? nullptr : __real_malloc(bytes);
}
void* __wrap_calloc(std::size_t count, std::size_t bytes) {
  return fails() ? nullptr : __real_calloc(count, bytes);
}
void* __wrap_realloc(void* memory, std::size_t bytes) {
  return fails() ? nullptr : __real_realloc(memory, bytes);
}
}

// Not inlined: compilers would take the halves of one pair for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size != 0 ? size : 1);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

TEST(Memory, EveryFailedAllocationIsAFailedCall) {
  const TempFolder folder;
  folder.write("m.mtl",
               "newmtl one\nmap_Kd a_texture_with_a_long_name.png\nnewmtl two\nTr 1\nnewmtl three\n");
  std::string text =
      "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\ng a_group_with_a_rather_long_name b\n"
      "usemtl two\nxyz\ns 1\nf 1/1/1 2/1/1 3/1/1\nf 3 2 1\ng c\nf 1 2 3\n";
  for (int i = 0; i < 20; ++i) text += "f 1 2 3\n";
  const std::string path = folder.write("m.obj", text);
  int failed[2] = {};
  for (int n = 0; gOBJModel == nullptr || gOBJModel->_materials.empty(); ++n) {
    ASSERT_LT(n, 1000);
    char block[4096] = "";
    const float answer = with(n, [&] { return call(LoadOBJFile, path.c_str(), 0, block); });
    // A library that cannot be opened for want of memory is a library that fails, which a load passes over.
    if (answer == 3.0F) continue;
    ++failed[answer == 0.0F ? 0 : 1];
    ASSERT_EQ(gOBJModel, nullptr);
    ASSERT_STREQ(block, answer == -1.0F ? "Out of memory." : "") << n;
  }
  EXPECT_GT(failed[0], 3) << "the model itself";
  EXPECT_GT(failed[1], 30);
  host::HostMesh mesh(3, 23);
  for (int n = 0;; ++n) {
    const float answer = with(n, [&] { return call(SetMesh3DFromOBJGroup, mesh, "crease", 2); });
    if (answer > 0.0F) break;
    ASSERT_EQ(answer, -1.0F) << n;
    for (std::uint32_t f = 0; f < 23; ++f) ASSERT_EQ(mesh.creases(f), 0);
  }
  EXPECT_NE(mesh.creases(0), 0);
  call(FreeOBJModel, nullptr);
}

TEST(Memory, EveryFailedAllocationIsItsCodeInTheCInterface) {
  const TempFolder folder;
  std::string text = "mtllib a_library_with_a_long_name.mtl\nusemtl one\ns 1\nvt 0 0\nvn 0 0 1\nquux\n";
  for (int i = 1; i <= 60; ++i) {
    text += "v " + std::to_string(i) + " 0 0 1 0 0\n";
    if (i > 2) text += "g group_of_a_rather_long_name_" + std::to_string(i % 7) + "\nf 1/1/1 2/1/1 3/1/1\n";
  }
  folder.write("a_library_with_a_long_name.mtl", "newmtl one\nmap_Kd a_texture_with_a_long_name.png\n");
  const std::string path = folder.write("m.obj", text), out = folder.path("out.obj");
  const KSmthTarget file{sizeof file, out.c_str(), nullptr, nullptr};
  const KSmthTarget sink{sizeof sink, nullptr, [](const void*, std::size_t, void*) { return 0; }, nullptr};
  KSmthDocument* document = nullptr;
  KSmthModel* model = nullptr;
  const KSmthDifference* difference = nullptr;
  AnyList list;
  std::size_t n = 0;
  const std::function<KSmthStatus()> works[] = {
      [&] { return ksmth_document_open(path.c_str(), nullptr, nullptr, &document); },
      [&] { return ksmth_model_open_memory(text.data(), text.size(), "/none", nullptr, nullptr, &model); },
      [&] { return ksmth_document_doubles(document, KSMTH_POSITIONS, 3, list); },
      [&] { return ksmth_document_members(document, KSMTH_GROUPS, KSMTH_FACES, list); },
      [&] { return ksmth_document_libraries(document, list, &n); },
      [&] { return ksmth_document_findings(document, 7, nullptr, list, &n); },
      [&] { return ksmth_document_write(document, nullptr, nullptr, &file, nullptr, nullptr); },
      [&] { return ksmth_document_fix(document, nullptr, &sink, nullptr, nullptr); },
      [&] { return ksmth_document_replace(document, document, nullptr, &sink, nullptr, nullptr); },
      [&] { return ksmth_merge(&document, 1, nullptr, &sink, nullptr, nullptr); },
      [&] { return ksmth_diff(document, document, nullptr, &difference); },
      [&] { return ksmth_model_faces(model, list); },
      [&] { return ksmth_model_groups(model, list, &n); },
      [&] { return ksmth_model_smoothing(model, list, &n); },
      [&] { return ksmth_model_materials(model, list, &n); },
      [&] { return ksmth_model_write(model, 0, "m.mtl", &sink, nullptr); }};
  for (const auto& work : works) {
    int allocations = 0;
    KSmthStatus status = with(0, work);
    for (; status == KSMTH_OUT_OF_MEMORY && allocations < 10000; status = with(++allocations, work)) {
    }
    EXPECT_EQ(status, KSMTH_OK) << "work " << &work - works << ", allocation " << allocations;
    EXPECT_GT(allocations, 0) << "work " << &work - works;
  }
  ksmth_difference_free(difference);
  ksmth_document_close(document);
  ksmth_model_close(model);
}

TEST(Memory, ABlockThatCannotBeHadChangesNothing) {
  OBJVectorArray vectors(4);
  OBJFaceArray faces(4);
  OBJLinkArray links(4);
  // The first allocation is the array's own, of room for the block's address.
  EXPECT_FALSE(with(1, [&] { return vectors.push_back({1, 2, 3}); }));
  EXPECT_FALSE(with(1, [&] { return faces.push_back(gNullFace); }));
  EXPECT_EQ(vectors.count + faces.count, 0U);
  EXPECT_EQ(vectors.lastBlock, -1);
  EXPECT_EQ(faces.lastBlock, -1);
  EXPECT_TRUE(vectors.blocks.empty());
  EXPECT_FALSE(with(1, [&] { return links.reserve(5); }));
  EXPECT_EQ(links.count, 0U);
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
