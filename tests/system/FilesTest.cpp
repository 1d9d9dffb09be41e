#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <vector>

#include "Checksum.h"
#include "TestSupport.h"
#include "system/TalvexPlugin.h"

namespace {

using Answers = std::vector<std::int32_t>;

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
  Checksum all;
  for (const std::string& path : everyText("a.:/-", 6)) {
    for (unsigned wanted = 0; wanted < 8; ++wanted) {
      // Onto itself, in as much room as is promised to be enough, where a sanitizer watches its end.
      std::vector<char> out(path.c_str(), path.c_str() + path.size() + 1);
      all.add(int{ExtructFileNameComponents(out.data(), out.data(), wanted & 1U, wanted & 2U, wanted & 4U)});
      all.add(std::string_view(out.data()));
    }
  }
  EXPECT_EQ(all.sum, 0xA2805938U);
  char out[24];
  EXPECT_TRUE(ExtructFileNameComponents("C:\\a,b:c\\pic.PSD", out, true, false, true));
  EXPECT_STREQ(out, "C:/a,b/c/.PSD");
  EXPECT_FALSE(ExtructFileNameComponents("!:/a/pic.jpeg", out, false, true, true));
  EXPECT_STREQ(out, "pic.jpeg");
  EXPECT_FALSE(ExtructFileNameComponents(nullptr, out, false, true, false));
  EXPECT_FALSE(ExtructFileNameComponents("a", nullptr, false, true, true));
}

TEST_F(Files, EveryFormOfAPathNamesTheSameFile) {
  for (const std::string name : {"Pic.PSD", "long.jpeg", "a,b.psd", "a:b\\c.tif", "x.a-b"}) {
    for (const std::string prefix : {"", "!:", "file:", "!/", "file:!:"}) {
      const std::string path = prefix + folder_.path(name);
      EXPECT_EQ(Sys_FileOpenOrCreate(path.c_str(), false, 0), nullptr) << path;
      FileSpec* file = Sys_FileOpenOrCreate(path.c_str(), true, 0);
      ASSERT_NE(file, nullptr) << path;
      Sys_FileClose(file, false);
      EXPECT_TRUE(folder_.has(name) && Sys_FileAvialable(path.c_str(), true)) << path;
      EXPECT_EQ(Sys_FileDelete(path.c_str()), 0);
      EXPECT_FALSE(folder_.has(name)) << path;
    }
  }
}

TEST_F(Files, RefusesWhatItCannotOpen) {
  std::filesystem::create_directories(folder_.path("inner/X.A"));
  ASSERT_EQ(mkfifo(folder_.path("pipe").c_str(), 0600), 0);
  ASSERT_EQ(symlink("nowhere", folder_.path("dangling").c_str()), 0);
  std::string longest = folder_.path("") + "file";
  folder_.write("file", "text");
  longest.insert(longest.size() - 4, kMaxPath - 1 - longest.size(), '/');
  EXPECT_TRUE(Sys_FileAvialable(longest.c_str(), true));
  std::vector<std::string> paths = {"/" + longest, std::string(1000000, '/') + "tmp", "!", "!:", "", "file:"};
  for (const char* name : {"none/file", "file/file", "inner", "pipe", "dangling", "new/", "inner/X.A/b"}) {
    paths.push_back(folder_.path(name));
  }
  for (const std::string& path : paths) {
    EXPECT_EQ(Sys_FileOpen(path.c_str(), false), nullptr) << path.substr(0, 99);
    EXPECT_EQ(Sys_FileOpenOrCreate(path.c_str(), true, 0), nullptr) << path.substr(0, 99);
    EXPECT_EQ(SaveToFile(path.c_str(), "x", 1), -1) << path.substr(0, 99);
    EXPECT_EQ(Sys_FileDelete(path.c_str()), 0);
  }
  EXPECT_TRUE(folder_.has("inner") && folder_.has("pipe") && !folder_.has("inner/X.A/b"));
  FileSpec record = {};
  record.forkRefNum = -1;
  EXPECT_EQ(MakeFileSpec(paths[0].c_str(), false, &record, false), nullptr);
  EXPECT_EQ(record.forkRefNum, -1) << "nothing of the path got past its field";
  EXPECT_EQ(MakeFileSpec(folder_.path(std::string(300, 'n')).c_str(), false, &record, false), nullptr);
  EXPECT_EQ(Sys_FileOpenOrCreate(nullptr, true, 0), nullptr);
  EXPECT_EQ((Answers{Sys_FileDelete(nullptr), Sys_FileGetSize(nullptr), Sys_FileSeek(nullptr, 0, false)}),
            (Answers{0, 0, -1}));
  Sys_FileClose(nullptr, true);
}

TEST_F(Files, LeavesNothingBehindThatPermissionsForbid) {
  const mode_t old = umask(0777);
  const std::string kept = folder_.write("kept", "");
  chmod(kept.c_str(), 0644);
  // Root's permission to do everything is put away for the time.
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct before[2] = {};
  ASSERT_EQ(syscall(SYS_capget, &header, before), 0);
  __user_cap_data_struct none[2] = {before[0], before[1]};
  none[0].effective = none[1].effective = 0;
  ASSERT_EQ(syscall(SYS_capset, &header, none), 0);
  EXPECT_EQ(Sys_FileOpenOrCreate(folder_.path("new").c_str(), true, 0), nullptr);
  EXPECT_FALSE(folder_.has("new")) << "created, and not to be opened";
  chmod(folder_.path("").c_str(), 0500);
  EXPECT_EQ(Sys_FileDelete(kept.c_str()), -1);
  chmod(folder_.path("").c_str(), 0700);
  EXPECT_EQ(syscall(SYS_capset, &header, before), 0);
  umask(old);
}

TEST_F(Files, ReadsWritesAndSeeks) {
  const std::string path = folder_.write("f", "0123456789");
  char buffer[16] = "";
  FileSpec* file = Sys_FileOpen(path.c_str(), false);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(fcntl(file->forkRefNum, F_GETFD), FD_CLOEXEC);
  EXPECT_EQ((Answers{Sys_FileRead(file, buffer, 4), Sys_FileSeek(file, -2, true),
                     Sys_FileReadReverse(file, buffer, 3), Sys_FileSeek(file, 7, false)}),
            (Answers{4, 2, 3, 7}));
  EXPECT_STREQ(buffer, "4323");
  EXPECT_EQ((Answers{Sys_FileReadReverse(file, buffer, 9), Sys_FileRead(file, buffer, -1),
                     Sys_FileSeek(file, -11, true), Sys_FileGetPos(file)}),
            (Answers{3, 0, -1, 10}));
  EXPECT_STREQ(buffer, "9873");
  // It cannot be extended, and a skip too far leaves nothing to read.
  EXPECT_EQ((Answers{Sys_FileSeek(file, 3, false), Sys_FileSeek(file, 11, false), Sys_FileGetPos(file),
                     Sys_FileWriteReverse(file, buffer, 2), gIncompleteSaveCount,
                     Sys_FileWrite(file, buffer, 2), gIncompleteSaveCount}),
            (Answers{3, -1, 10, 0, 0, 0, 1}));
  Sys_FileClose(file, true);
  EXPECT_EQ(folder_.read("f"), "0123456789");

  file = Sys_FileOpen(path.c_str(), true);
  EXPECT_EQ((Answers{gIncompleteSaveCount, Sys_FileSeek(file, 12, false), Sys_FileGetSize(file),
                     Sys_FileWriteReverse(file, buffer, 3), Sys_FileSeek(file, -2, true)}),
            (Answers{0, 12, 12, 3, 13}));
  EXPECT_STREQ(buffer, "9873");
  const int spare = dup(file->forkRefNum);
  // A close that fails leaves the record open; whoever closed the descriptor has to put one back.
  close(file->forkRefNum);
  Sys_FileClose(file, false);
  EXPECT_NE(file->isOpen, 0);
  file->forkRefNum = spare;
  Sys_FileClose(file, true);
  EXPECT_EQ(folder_.read("f"), std::string("0123456789\0\0\67", 13));
  // Closed: nothing reaches whoever has the number next.
  EXPECT_EQ((Answers{Sys_FileRead(file, buffer, 1), Sys_FileWrite(file, buffer, 1)}), (Answers{0, 0}));
  Sys_FileClose(file, true);
}

TEST_F(Files, SizesEndAt2GiBAndDatesDoNot) {
  const std::string path = folder_.write("big", "");
  ASSERT_EQ(truncate(path.c_str(), INT32_MAX), 0) << errno;
  const timespec year2040[] = {{2208988800, 0}, {2208988800, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), year2040, 0), 0);
  FileSpec* file = Sys_FileOpen(path.c_str(), true);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(
      (Answers{Sys_FileGetSize(file), Sys_FileSeek(file, INT32_MAX - 2, false), Sys_FileSeek(file, 3, true),
               Sys_FileWrite(file, "abc", 3), gIncompleteSaveCount, Sys_FileGetPos(file)}),
      (Answers{INT32_MAX, INT32_MAX - 2, -1, 2, 1, INT32_MAX}));
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
  EXPECT_EQ(MakeFileSpec(path.c_str(), true, &record, true), &record);
  EXPECT_EQ(record.GetFSSpec()->volume, parent.st_dev);
  std::filesystem::remove(path);
  EXPECT_EQ(record.GetFSSpec()->folder, parent.st_ino);
  EXPECT_STREQ(record.GetFSSpec()->name, "f");
  ASSERT_EQ(MakeFileSpec("/", true, &record, false), &record);
  EXPECT_STREQ(record.GetFSSpec()->name, "/");
}

TEST_F(Files, WholeFilesGoBothWays) {
  const std::string path = "!:" + folder_.path("w.psd");
  for (const std::size_t size : {300000, 7, 0}) {  // Shorter each time, with no old tail behind.
    const std::string bytes(size, 'x');
    EXPECT_EQ(SaveToFile(path.c_str(), bytes.data(), static_cast<std::int32_t>(size)), 0);
    EXPECT_EQ(folder_.read("w.psd"), bytes);
    std::int32_t loaded = -5;
    void* block = LoadFromFile(path.c_str(), &loaded);
    EXPECT_EQ(loaded, size);
    EXPECT_EQ(block == nullptr, size == 0);
    EXPECT_TRUE(block == nullptr || std::memcmp(block, bytes.data(), size) == 0);
    MY_MEM_FREE(block);
  }
  EXPECT_EQ(SaveToFile("/dev/full", "text", 4), -1);
  EXPECT_EQ(gIncompleteSaveCount, 1);
  folder_.write("w.psd", "text");
  EXPECT_EQ(SaveToFile(path.c_str(), "x", -1), -1);
  EXPECT_EQ(SaveToFile(path.c_str(), nullptr, 1), -1);
  void* block = LoadFromFile(path.c_str(), nullptr);
  ASSERT_NE(block, nullptr);
  const std::string all(static_cast<char*>(block), static_cast<std::size_t>(Sys_GetMemSize(block)));
  EXPECT_STREQ(all.c_str(), "text") << "with zeros up to the block's end";
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
