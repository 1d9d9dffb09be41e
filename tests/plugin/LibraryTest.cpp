// The built plug-in as the host meets it: a file with plain names in it.
#include <dlfcn.h>

#include "TestSupport.h"
#include "plugin/PluginCall.h"

TEST(Library, IsFoundAndCalledByName) {
  void* library = dlopen(KSMTH_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  // With a number and nothing else.
  const std::pair<float, std::vector<const char*>> calls[] = {
      {1.3F, {"Version"}},
      {0.0F, {"LoadOBJFile", "FreeOBJModel", "GetOBJInfo"}},
      {-1.0F,
       {"ReplaceOBJVertices", "GetOBJGroupInfo", "GetOBJSmoothGroupInfo", "ExportOBJGroup",
        "ExportOBJSmoothGroup", "GetMesh3DInfo", "SetMesh3DInfo", "SetMesh3DFromOBJGroup",
        "SetMesh3DFromOBJSmoothGroup", "FileDelete", "OpenFolder", "GetFile", "CloseFolder"}}};
  for (const auto& [answer, names] : calls) {
    for (const char* name : names) {
      const auto function = reinterpret_cast<decltype(&Version)>(dlsym(library, name));
      ASSERT_NE(function, nullptr) << name;
      EXPECT_EQ(call(function, nullptr, 1), answer) << name;
    }
  }
  // One name of each exported class and room.
  for (const char* name :
       {"gOBJModel", "OBJSetAssertionHandler", "_ZN9KOBJRev0110HelloWorldEPKc",
        "_ZN12WavefrontOBJ8OBJModelC1Eb", "_ZNK4AMem11IsAvailableEv", "_Z15Mesh3D_IsLoadedP10AMash3DDXF",
        "sDefaultMaskValue", "_Z12Sys_FileOpenPKcb", "_ZN8FileSpec9GetFSSpecEv", "_Z13MY_MEM_MALLOCiPKc",
        "gAllocatedMem", "_Z9Sys_Ticksv", "_Z11STR_ComparePKcS0_bb", "_Z13GetGroupColori",
        "_ZNK5ARect5WidthEv", "_ZNK6APoint5AngleEv", "_ZN8APoint3D7UnifiedEv", "_Z15AVar_Initializev"}) {
    EXPECT_NE(dlsym(library, name), nullptr) << name;
  }
  dlclose(library);
}
