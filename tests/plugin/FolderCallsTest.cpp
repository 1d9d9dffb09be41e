#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <set>

#include "TestSupport.h"
#include "plugin/PluginCall.h"

TEST(FolderCalls, ListEveryEntryOnceAndTheEndAgainAndAgain) {
  const TempFolder folder;
  const std::string longName(255, 'n');
  for (const char* name : {".hidden", "a.obj", longName.c_str()}) folder.write(name, "");
  std::filesystem::create_directory(folder.path("inner"));
  char block[256] = "";
  EXPECT_EQ(call(GetFile, nullptr, 0, block), -1.0F);
  EXPECT_EQ(call(CloseFolder, nullptr), -1.0F);
  EXPECT_EQ(call(OpenFolder, folder.path("").c_str()), 0.0F);
  std::multiset<std::string> names;
  while (call(GetFile, nullptr, 0, block) == 0.0F) names.insert(block);
  EXPECT_EQ(names, (std::multiset<std::string>{".", "..", ".hidden", "a.obj", longName, "inner"}));
  EXPECT_EQ(call(GetFile, nullptr, 0, block), -3.0F);
  EXPECT_EQ(call(GetFile, nullptr), -3.0F);
  EXPECT_EQ(call(CloseFolder, nullptr), 0.0F);
  EXPECT_EQ(call(CloseFolder, nullptr), -1.0F);
  const std::string file = folder.path("a.obj");
  for (const char* text : {file.c_str(), "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(call(OpenFolder, text), -1.0F);
    EXPECT_EQ(call(GetFile, nullptr, 0, block), -1.0F);
  }
  // A folder that is still open gives way to the next, and to the next failure, and is lost.
#if defined(__SANITIZE_ADDRESS__)
  const __lsan::ScopedDisabler lost;
#endif
  EXPECT_EQ(call(OpenFolder, folder.path("").c_str()), 0.0F);
  EXPECT_EQ(call(OpenFolder, folder.path("inner").c_str()), 0.0F);
  EXPECT_EQ(call(GetFile, nullptr), -2.0F) << "which passes over an entry";
  EXPECT_EQ(call(GetFile, nullptr, 0, block), 0.0F);
  EXPECT_EQ(call(GetFile, nullptr, 0, block), -3.0F);
  EXPECT_EQ(call(OpenFolder, folder.path("missing").c_str()), -1.0F);
  EXPECT_EQ(call(CloseFolder, nullptr), -1.0F);
}

TEST(FolderCalls, DeleteFiles) {
  const TempFolder folder;
  const std::string path = folder.write("a.obj", "x");
  EXPECT_EQ(call(FileDelete, path.c_str()), 0.0F);
  EXPECT_FALSE(folder.has("a.obj"));
  for (const char* text : {path.c_str(), "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(call(FileDelete, text), -1.0F);
  }
}
