// The built plug-in as the host meets it: a file with plain names in it.
#include <dlfcn.h>

#include "TestSupport.h"
#include "plugin/PluginCall.h"

TEST(Library, IsFoundAndCalledByName) {
  void* library = dlopen(KSMTH_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const TempFolder folder;
  const std::string path = folder.write("m.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\ng arm\ns 4\nf 1 2 3\n");
  const std::tuple<const char*, const char*, float> calls[] = {{"Version", nullptr, 1.3F},
                                                               {"LoadOBJFile", path.c_str(), 1},
                                                               {"GetOBJInfo", "faceCount", 1},
                                                               {"GetOBJGroupInfo", "vertexCount", 3},
                                                               {"GetOBJSmoothGroupInfo", "value", 4},
                                                               {"ReplaceOBJVertices", path.c_str(), 0},
                                                               {"ExportOBJGroup", path.c_str(), 0},
                                                               {"ExportOBJSmoothGroup", path.c_str(), 0},
                                                               {"GetMesh3DInfo", nullptr, -1},
                                                               {"SetMesh3DInfo", nullptr, -1},
                                                               {"SetMesh3DFromOBJGroup", "", -1},
                                                               {"SetMesh3DFromOBJSmoothGroup", "", -1},
                                                               {"FileDelete", nullptr, -1},
                                                               {"OpenFolder", nullptr, -1},
                                                               {"CloseFolder", nullptr, -1},
                                                               {"GetFile", nullptr, -1},
                                                               {"FreeOBJModel", nullptr, 0}};
  for (const auto& [name, text, answer] : calls) {
    const auto function = reinterpret_cast<decltype(&Version)>(dlsym(library, name));
    ASSERT_NE(function, nullptr) << name;
    EXPECT_EQ(call(function, text, 1), answer) << name;
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
