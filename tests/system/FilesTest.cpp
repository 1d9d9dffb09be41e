#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <thread>
#include <vector>

#include "TestSupport.h"
#include "system/TalvexPlugin.h"

namespace {

/// Holds a test to the files that were open before it.
class Files : public testing::Test {
 protected:
  static std::ptrdiff_t descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }
  void TearDown() override { EXPECT_EQ(descriptors() + _openFilesCount, before_); }

  const TempFolder folder_;
  const std::ptrdiff_t before_ = descriptors();
};

/// While true, every other transfer is interrupted, and the rest move three bytes at most.
bool gHindered = false;

template <class Call>
ssize_t transfer(Call call, std::size_t size) {
  static bool interrupt = false;
  interrupt = gHindered && !interrupt;
  if (!interrupt) return call(gHindered ? std::min<std::size_t>(size, 3) : size);
  errno = EINTR;
  return -1;
}

}  // namespace

// The linker leads the program's own calls here (--wrap).
extern "C" ssize_t __real_read(int descriptor, void* buffer, std::size_t size);
extern "C" ssize_t __wrap_read(int descriptor, void* buffer, std::size_t size) {
  return transfer([=](std::size_t part) { return __real_read(descriptor, buffer, part); }, size);
}
extern "C" ssize_t __real_write(int descriptor, const void* buffer, std::size_t size);
extern "C" ssize_t __wrap_write(int descriptor, const void* buffer, std::size_t size) {
  return transfer([=](std::size_t part) { return __real_write(descriptor, buffer, part); }, size);
}

TEST_F(Files, PathsComeApart) {
  const struct {
    const char* path;
    const char* parts[3];  ///< Folder, name and extension, empty where not found.
  } cases[] = {
      {"!:/a/b/pic.psd", {"!:/a/b/", "pic", ".psd"}},
      {"!:/a/b/pic.jpeg", {"!:/a/b/", "pic.jpeg", ""}},
      {"!:/a/b/pic.h", {"!:/a/b/", "pic.h", ""}},
      {"/a/b/pic.psd", {"", "/a/b/pic", ".psd"}},
      {"C:\\a\\b:c\\pic.PSD", {"C:/a/b/c/", "pic", ".PSD"}},
      {"!:/a/b.cd/", {"!:/a/b.cd/", "", ""}},
      {"!:/a,b", {"!:/a,", "b", ""}},
      {"!:/a/b.c-d", {"!:/a/", "b", ".c"}},
      {"a.-bc", {"", "a", "."}},
      {"!:/a.b/c", {"!:/", "a", ".b"}},
      {".psd", {"", "", ".psd"}},
      {"psd", {"", "psd", ""}},
      {"!:", {"!:", "", ""}},
      {"a/:b\\c", {"", "a//b/c", ""}},
      {"", {"", "", ""}},
  };
  for (const auto& c : cases) {
    for (unsigned wanted = 0; wanted < 8; ++wanted) {
      std::string expected;
      bool found = true;
      for (unsigned i = 0; i < 3; ++i) {
        if ((wanted >> i & 1U) == 0) continue;
        expected += c.parts[i];
        found = found && *c.parts[i] != '\0';
      }
      // As much room as is promised to be enough, where a sanitizer watches its end.
      std::vector<char> out(std::strlen(c.path) + 1, '#');
      EXPECT_EQ(ExtructFileNameComponents(c.path, out.data(), wanted & 1U, wanted & 2U, wanted & 4U), found)
          << c.path << " " << wanted;
      EXPECT_STREQ(out.data(), expected.c_str()) << c.path << " " << wanted;
    }
  }
  char path[] = "!:/a/pic.psd";
  EXPECT_TRUE(ExtructFileNameComponents(path, path, false, true, true));
  EXPECT_STREQ(path, "pic.psd");
  EXPECT_FALSE(ExtructFileNameComponents(path, nullptr, false, true, true));
  EXPECT_FALSE(ExtructFileNameComponents(nullptr, path, false, true, true));
}

TEST_F(Files, EveryFormOfAPathNamesTheSameFile) {
  for (const char* name : {"Pic.PSD", "long.jpeg", "a,b.psd", "a:b\\c.tif", "x.a-b"}) {
    for (const char* prefix : {"", "!:", "file:", "!/", "file:!:"}) {
      const std::string path = prefix + folder_.path(name);
      SCOPED_TRACE(path);
      EXPECT_EQ(Sys_FileOpenOrCreate(path.c_str(), false, 0), nullptr);
      FileSpec* file = Sys_FileOpenOrCreate(path.c_str(), true, 0);
      ASSERT_NE(file, nullptr);
      EXPECT_STREQ(file->ref.path, folder_.path(name).c_str());
      Sys_FileClose(file, false);
      EXPECT_TRUE(folder_.has(name));
      EXPECT_TRUE(Sys_FileAvialable(path.c_str(), true));
      EXPECT_EQ(Sys_FileDelete(path.c_str()), 0);
      EXPECT_FALSE(folder_.has(name));
    }
  }
}

TEST_F(Files, RefusesWhatItCannotOpen) {
  std::filesystem::create_directories(folder_.path("inner/X.A"));
  ASSERT_EQ(mkfifo(folder_.path("pipe").c_str(), 0600), 0);
  ASSERT_EQ(symlink("nowhere", folder_.path("dangling").c_str()), 0);
  folder_.write("file", "text");
  const auto padded = [&](std::size_t length) {
    const std::string start = folder_.path("");
    return start + std::string(length - start.size() - 4, '/') + "file";
  };
  EXPECT_TRUE(Sys_FileAvialable(padded(kMaxPath - 1).c_str(), true)) << "the longest path there is";
  std::vector<std::string> paths = {padded(kMaxPath), padded(1000000), "!", "!:", "", "file:"};
  for (const char* name : {"none/file", "file/file", "inner", "pipe", "dangling", "new/", "inner/X.A/b"}) {
    paths.push_back(folder_.path(name));
  }
  for (const std::string& path : paths) {
    EXPECT_EQ(Sys_FileOpen(path.c_str(), false), nullptr) << path.substr(0, 99);
    EXPECT_EQ(Sys_FileOpenOrCreate(path.c_str(), true, 0), nullptr) << path.substr(0, 99);
    EXPECT_EQ(SaveToFile(path.c_str(), "x", 1), -1) << path.substr(0, 99);
    EXPECT_EQ(Sys_FileDelete(path.c_str()), 0);
  }
  EXPECT_TRUE(folder_.has("inner") && folder_.has("pipe"));
  EXPECT_TRUE(std::filesystem::is_empty(folder_.path("inner/X.A")));
  FileSpec record = {};
  EXPECT_EQ(MakeFileSpec(padded(kMaxPath).c_str(), false, &record, false), nullptr);
  EXPECT_EQ(record.forkRefNum, 0) << "nothing of the path got past its field";
  EXPECT_EQ(Sys_FileOpenOrCreate(nullptr, true, 0), nullptr);
  EXPECT_EQ(Sys_FileDelete(nullptr), 0);
  EXPECT_EQ(Sys_FileGetSize(nullptr), 0);
  EXPECT_EQ(Sys_FileSeek(nullptr, 0, false), -1);
  Sys_FileClose(nullptr, true);
}

TEST_F(Files, LeavesNothingBehindThatPermissionsForbid) {
  const mode_t old = umask(0777);
  const auto forbidden = [&] {
    // Root's permission to do everything belongs to the thread.
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[2] = {};
    EXPECT_EQ(syscall(SYS_capset, &header, none), 0);
    EXPECT_EQ(Sys_FileOpenOrCreate(folder_.path("new").c_str(), true, 0), nullptr);
    EXPECT_FALSE(folder_.has("new")) << "created, and not to be opened";
    const std::string kept = folder_.write("kept", "");
    chmod(kept.c_str(), 0600);
    chmod(folder_.path("").c_str(), 0500);
    EXPECT_EQ(Sys_FileOpenOrCreate(folder_.path("new").c_str(), true, 0), nullptr);
    EXPECT_EQ(Sys_FileDelete(kept.c_str()), -1);
  };
  std::thread(forbidden).join();
  umask(old);
  chmod(folder_.path("").c_str(), 0700);
}

TEST_F(Files, ReadsWritesAndSeeks) {
  const std::string path = folder_.write("f", "0123456789");
  char buffer[16] = "";
  FileSpec* file = Sys_FileOpen(path.c_str(), false);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(fcntl(file->forkRefNum, F_GETFD), FD_CLOEXEC);
  EXPECT_EQ(Sys_FileRead(file, buffer, 4), 4);
  EXPECT_EQ(Sys_FileSeek(file, -2, true), 2);
  EXPECT_EQ(Sys_FileReadReverse(file, buffer, 3), 3);
  EXPECT_STREQ(buffer, "4323");
  EXPECT_EQ(Sys_FileSeek(file, 7, false), 7);
  EXPECT_EQ(Sys_FileReadReverse(file, buffer, 9), 3);
  EXPECT_STREQ(buffer, "9873");
  EXPECT_EQ(Sys_FileRead(file, buffer, -1), 0);
  EXPECT_EQ(Sys_FileSeek(file, -11, true), -1);
  EXPECT_EQ(Sys_FileGetPos(file), 10);
  // It cannot be extended, and a skip too far leaves nothing to read.
  EXPECT_EQ(Sys_FileSeek(file, 3, false), 3);
  EXPECT_EQ(Sys_FileSeek(file, 11, false), -1);
  EXPECT_EQ(Sys_FileGetPos(file), 10);
  EXPECT_EQ(Sys_FileWriteReverse(file, buffer, 2), 0);
  EXPECT_EQ(gIncompleteSaveCount, 0);
  EXPECT_EQ(Sys_FileWrite(file, buffer, 2), 0);
  EXPECT_EQ(gIncompleteSaveCount, 1);
  Sys_FileClose(file, true);
  EXPECT_EQ(folder_.read("f"), "0123456789");

  file = Sys_FileOpen(path.c_str(), true);
  EXPECT_EQ(gIncompleteSaveCount, 0);
  EXPECT_EQ(Sys_FileSeek(file, 14, false), 14);
  EXPECT_EQ(Sys_FileGetSize(file), 14);
  EXPECT_EQ(Sys_FileWriteReverse(file, buffer, 3), 3);
  EXPECT_STREQ(buffer, "9873");
  EXPECT_EQ(Sys_FileSeek(file, -2, true), 15);
  const std::int32_t descriptor = file->forkRefNum;
  Sys_FileClose(file, true);
  EXPECT_EQ(folder_.read("f"), std::string("0123456789\0\0\0\0"
                                           "7",
                                           15));
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
  // Closed: nothing reaches whoever has the number next.
  EXPECT_EQ(Sys_FileRead(file, buffer, 1), 0);
  EXPECT_EQ(Sys_FileWrite(file, buffer, 1), 0);
  Sys_FileClose(file, true);

  // A close that fails leaves the record open; whoever closed the descriptor has to put one back.
  file = Sys_FileOpen(path.c_str(), false);
  const int spare = dup(file->forkRefNum);
  close(file->forkRefNum);
  Sys_FileClose(file, false);
  EXPECT_NE(file->isOpen, 0);
  EXPECT_EQ(_openFilesCount, 1);
  file->forkRefNum = spare;
  Sys_FileClose(file, false);
}

TEST_F(Files, SizesEndAt2GiBAndDatesDoNot) {
  const std::string path = folder_.write("big", "");
  ASSERT_EQ(truncate(path.c_str(), INT32_MAX), 0) << errno;
  const timespec year2040[] = {{2208988800, 0}, {2208988800, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), year2040, 0), 0);
  FileSpec* file = Sys_FileOpen(path.c_str(), true);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(Sys_FileGetSize(file), INT32_MAX);
  EXPECT_EQ(Sys_FileSeek(file, INT32_MAX - 2, false), INT32_MAX - 2);
  EXPECT_EQ(Sys_FileSeek(file, 3, true), -1);
  EXPECT_EQ(Sys_FileWrite(file, "abc", 3), 2);
  EXPECT_EQ(gIncompleteSaveCount, 1);
  EXPECT_EQ(Sys_FileGetPos(file), INT32_MAX);
  ASSERT_EQ(truncate(path.c_str(), off_t{INT32_MAX} + 1), 0);
  char c = 0;
  EXPECT_EQ(Sys_FileRead(file, &c, 1), 0);
  EXPECT_EQ(Sys_FileGetSize(file), -1);
  Sys_FileClose(file, false);
  EXPECT_EQ(Sys_FileOpenOrCreate(path.c_str(), true, 0), nullptr) << "too long";
  EXPECT_EQ(Sys_FileDelete(path.c_str()), 0);
  EXPECT_FALSE(folder_.has("big"));
}

TEST_F(Files, PoolHolds128) {
  for (FileSpec& record : _fileSpec) {
    ASSERT_EQ(Sys_FileOpenOrCreate(folder_.path("f").c_str(), true, 0), &record);
  }
  EXPECT_EQ(_openFilesCount, 128);
  EXPECT_EQ(Sys_FileOpen(folder_.path("f").c_str(), false), nullptr);
  EXPECT_EQ(Sys_FileOpenOrCreate(folder_.path("new").c_str(), true, 0), nullptr);
  EXPECT_FALSE(folder_.has("new"));
  Sys_FileClose(&_fileSpec[77], false);
  EXPECT_EQ(Sys_FileOpen(folder_.path("f").c_str(), false), &_fileSpec[77]);
  for (FileSpec& record : _fileSpec) Sys_FileClose(&record, false);
}

TEST_F(Files, RecordsNameFilesInTheOldStyleToo) {
  const std::string path = folder_.write("f", "");
  struct stat parent = {};
  ASSERT_EQ(stat(folder_.path("").c_str(), &parent), 0);
  FileSpec record = {};
  EXPECT_EQ(MakeFileSpec((path + "x").c_str(), true, &record, true), nullptr);
  EXPECT_EQ(MakeFileSpec((path + "/x").c_str(), false, &record, true), nullptr);
  EXPECT_EQ(MakeFileSpec((path + "x").c_str(), false, &record, true), &record);
  EXPECT_EQ(record.GetFSSpec()->folder, 0U);
  EXPECT_EQ(MakeFileSpec(("file:" + path).c_str(), true, &record, true), &record);
  EXPECT_EQ(record.GetFSSpec()->volume, parent.st_dev);
  std::filesystem::remove(path);
  EXPECT_EQ(record.GetFSSpec()->folder, parent.st_ino);
  EXPECT_STREQ(record.GetFSSpec()->name, "f");
  ASSERT_EQ(MakeFileSpec("/", true, &record, false), &record);
  EXPECT_STREQ(record.GetFSSpec()->name, "/");
}

TEST_F(Files, WholeFilesGoBothWays) {
  const std::string path = "!:" + folder_.path("w.psd");
  for (const std::int32_t size : {300000, 7, 0}) {  // Shorter each time, with no old tail behind.
    const std::string bytes(static_cast<std::size_t>(size), 'x');
    EXPECT_EQ(SaveToFile(path.c_str(), bytes.data(), size), 0);
    EXPECT_EQ(folder_.read("w.psd"), bytes);
    std::int32_t loaded = -5;
    char* block = static_cast<char*>(LoadFromFile(path.c_str(), &loaded));
    EXPECT_EQ(loaded, size);
    EXPECT_EQ(std::string(block == nullptr ? "" : block, static_cast<std::size_t>(loaded)), bytes);
    EXPECT_EQ(block == nullptr, size == 0);
    MY_MEM_FREE(block);
  }
  EXPECT_EQ(SaveToFile("/dev/full", "text", 4), -1);
  EXPECT_EQ(gIncompleteSaveCount, 1);
  folder_.write("w.psd", "text");
  EXPECT_EQ(SaveToFile(path.c_str(), "x", -1), -1);
  EXPECT_EQ(SaveToFile(path.c_str(), nullptr, 1), -1);
  // Zeros up to the block's end.
  char* block = static_cast<char*>(LoadFromFile(path.c_str(), nullptr));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(block, static_cast<std::size_t>(Sys_GetMemSize(block))).c_str(), std::string("text"));
  MY_MEM_FREE(block);
}

TEST_F(Files, TransfersGoOnAfterInterruptionsAndShortOnes) {
  FileSpec* file = Sys_FileOpenOrCreate(folder_.path("f").c_str(), true, 0);
  ASSERT_NE(file, nullptr);
  char text[16] = "";
  gHindered = true;
  EXPECT_EQ(Sys_FileWrite(file, "0123456789", 10), 10);
  EXPECT_EQ(Sys_FileSeek(file, 1, false), 1);
  EXPECT_EQ(Sys_FileRead(file, text, 16), 9);
  gHindered = false;
  EXPECT_STREQ(text, "123456789");
  Sys_FileClose(file, false);
  file = Sys_FileOpen("/dev/null", true);
  EXPECT_EQ(Sys_FileWrite(file, nullptr, 5), 0) << "though the device would take it";
  EXPECT_EQ(Sys_FileReadReverse(file, nullptr, 5), 0);
  Sys_FileClose(file, false);
}
