// The built plug-in as the host meets it: a file with plain names in it.
#include <dlfcn.h>

#include "TestSupport.h"
#include "plugin/KOBJRev01.h"

TEST(Library, IsFoundAndCalledByName) {
  void* library = dlopen(KSMTH_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto call = [library](const char* name, const char* text, double number, char* block1) {
    const auto function = reinterpret_cast<decltype(&Version)>(dlsym(library, name));
    EXPECT_NE(function, nullptr) << name;
    return function == nullptr ? -99.0F : function(text, number, block1, 0, 0, 0, nullptr);
  };
  const TempFolder folder;
  const std::string path = folder.write("m.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\ng arm\ns 4\nf 1 2 3\n");
  char block[4096] = "";
  EXPECT_EQ(call("Version", nullptr, 0, block), 1.3F);
  EXPECT_EQ(call("LoadOBJFile", path.c_str(), 0, block), 1.0F);
  EXPECT_EQ(call("GetOBJInfo", "faceCount", 0, block), 1.0F);
  EXPECT_EQ(call("GetOBJGroupInfo", "name", 1, block), 0.0F);
  EXPECT_STREQ(block, "arm");
  EXPECT_EQ(call("GetOBJSmoothGroupInfo", "value", 1, block), 4.0F);
  EXPECT_EQ(call("ReplaceOBJVertices", path.c_str(), 0, block), 0.0F);
  EXPECT_EQ(call("ExportOBJGroup", folder.path("g.obj").c_str(), 1, block), 0.0F);
  EXPECT_EQ(call("ExportOBJSmoothGroup", folder.path("s.obj").c_str(), 1, block), 0.0F);
  for (const char* name :
       {"GetMesh3DInfo", "SetMesh3DInfo", "SetMesh3DFromOBJGroup", "SetMesh3DFromOBJSmoothGroup",
        "FileDelete", "OpenFolder", "CloseFolder", "GetFile"}) {
    EXPECT_EQ(call(name, nullptr, 1, block), -1.0F) << name;
  }
  EXPECT_EQ(call("FreeOBJModel", nullptr, 0, block), 0.0F);
  EXPECT_NE(dlsym(library, "gOBJModel"), nullptr);
  EXPECT_NE(dlsym(library, "OBJSetAssertionHandler"), nullptr);
  // One name of each exported class, and none of the reader's workshop.
  EXPECT_NE(dlsym(library, "_ZN9KOBJRev0110HelloWorldEPKc"), nullptr);
  EXPECT_NE(dlsym(library, "_ZN12WavefrontOBJ8OBJModelC1Eb"), nullptr);
  for (const char* name :
       {"_ZNK4AMem11IsAvailableEv", "_Z15Mesh3D_IsLoadedP10AMash3DDXF", "sDefaultMaskValue",
        "_Z12Sys_FileOpenPKcb", "_ZN8FileSpec9GetFSSpecEv", "_Z13MY_MEM_MALLOCiPKc", "gAllocatedMem",
        "_Z9Sys_Ticksv", "_Z11STR_ComparePKcS0_bb", "_Z13GetGroupColori", "_ZNK5ARect5WidthEv",
        "_ZNK6APoint5AngleEv", "_ZN8APoint3D7UnifiedEv", "_Z15AVar_Initializev"}) {
    EXPECT_NE(dlsym(library, name), nullptr) << name;
  }
  EXPECT_EQ(dlsym(library, "_ZN12WavefrontOBJ9OBJReader4readEv"), nullptr);
  dlclose(library);
}
