#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <set>

#include "TestSupport.h"
#include "plugin/KOBJRev01.h"

namespace {

float call(decltype(&Version) function, const char* text, char* block1 = nullptr) {
  return function(text, 0, block1, 0, 0, 0, nullptr);
}

/// Lets the leak checker pass over what is allocated while this lives.
struct KnownLeak {
#if defined(__SANITIZE_ADDRESS__)
  KnownLeak() {
    __lsan_disable();
  }
  ~KnownLeak() {
    __lsan_enable();
  }
#else
  KnownLeak() {}
#endif
};

}  // namespace

TEST(FolderCalls, ListEveryEntryOnceAndTheEndAgainAndAgain) {
  const TempFolder folder;
  const std::string longName(255, 'n');
  std::set<std::string> expected{".", "..", ".hidden", "a.obj", longName, "inner"};
  for (const char* name : {".hidden", "a.obj", longName.c_str()}) folder.write(name, "");
  std::filesystem::create_directory(folder.path("inner"));
  char block[256] = "";
  EXPECT_EQ(call(GetFile, nullptr, block), -1.0F);
  EXPECT_EQ(call(CloseFolder, nullptr), -1.0F);
  EXPECT_EQ(call(OpenFolder, folder.path("").c_str()), 0.0F);
  std::multiset<std::string> names;
  while (call(GetFile, nullptr, block) == 0.0F) names.insert(block);
  EXPECT_EQ(names, std::multiset<std::string>(expected.begin(), expected.end()));
  EXPECT_EQ(call(GetFile, nullptr, block), -3.0F);
  EXPECT_EQ(call(GetFile, nullptr, nullptr), -3.0F);
  EXPECT_EQ(call(CloseFolder, nullptr), 0.0F);
  EXPECT_EQ(call(CloseFolder, nullptr), -1.0F);
  const std::string file = folder.path("a.obj");
  for (const char* text : {file.c_str(), "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(call(OpenFolder, text), -1.0F);
    EXPECT_EQ(call(GetFile, nullptr, block), -1.0F);
  }
  // A folder that is still open gives way to the next, and to the next failure, and is lost.
  const KnownLeak lost;
  EXPECT_EQ(call(OpenFolder, folder.path("").c_str()), 0.0F);
  EXPECT_EQ(call(OpenFolder, folder.path("inner").c_str()), 0.0F);
  EXPECT_EQ(call(GetFile, nullptr, nullptr), -2.0F);
  int entries = 1;
  while (call(GetFile, nullptr, block) == 0.0F) ++entries;
  EXPECT_EQ(entries, 2);
  EXPECT_EQ(call(OpenFolder, folder.path("missing").c_str()), -1.0F);
  EXPECT_EQ(call(CloseFolder, nullptr), -1.0F);
}

TEST(FolderCalls, DeleteFiles) {
  const TempFolder folder;
  const std::string path = folder.write("a.obj", "x");
  EXPECT_EQ(call(FileDelete, path.c_str()), 0.0F);
  EXPECT_FALSE(folder.has("a.obj"));
  EXPECT_EQ(call(FileDelete, path.c_str()), -1.0F);
  EXPECT_EQ(call(FileDelete, ""), -1.0F);
  EXPECT_EQ(call(FileDelete, nullptr), -1.0F);
}
