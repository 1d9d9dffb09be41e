#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "document/NewFolder.h"
#include "document/Output.h"

namespace {

using namespace WavefrontOBJ;

std::size_t entries(const TempFolder& folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path("")), {}));
}

TEST(Output, ReplacesTheTargetAtCommitAlone) {
  const TempFolder folder;
  folder.write("real.obj", "old");
  ASSERT_EQ(chmod(folder.path("real.obj").c_str(), 0640), 0);
  std::filesystem::create_directory(folder.path("sub"));
  std::filesystem::create_symlink("../real.obj", folder.path("sub/link"));
  std::filesystem::create_symlink("sub/link", folder.path("chain"));
  std::filesystem::create_symlink("nowhere.obj", folder.path("dangling"));
  const std::string big(300'000, 'x');
  for (const char* const text : {"new", big.c_str()}) {
    {
      Output out(folder.path("chain"));
      ASSERT_TRUE(out.write("unfinished"));
      EXPECT_EQ(folder.read("real.obj").substr(0, 3), text == big ? "new" : "old");
      EXPECT_EQ(entries(folder), 5U);
    }
    EXPECT_EQ(entries(folder), 4U);
    Output out(folder.path("chain"));
    ASSERT_TRUE(out.open());
    EXPECT_FALSE(out.isDirect());
    ASSERT_TRUE(out.write(std::string_view(text).substr(0, 2)));
    ASSERT_TRUE(out.write(std::string_view(text).substr(2)));
    ASSERT_TRUE(out.commit());
    ASSERT_TRUE(out.commit());
    EXPECT_EQ(out.bytesWritten(), std::string_view(text).size());
    EXPECT_EQ(folder.read("real.obj"), text);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("chain")));
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("sub/link")));
    struct stat status {};
    ASSERT_EQ(stat(folder.path("real.obj").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
  }
  Output dangling(folder.path("dangling"));
  ASSERT_TRUE(dangling.commit());
  EXPECT_TRUE(folder.has("nowhere.obj"));
  const mode_t mask = umask(022);
  Output fresh(folder.path("fresh.obj"));
  ASSERT_TRUE(fresh.commit());
  umask(mask);
  struct stat status {};
  ASSERT_EQ(stat(folder.path("fresh.obj").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST(Output, SaysWhatIsWrong) {
  const TempFolder folder;
  std::filesystem::create_symlink("loop", folder.path("loop"));
  std::filesystem::create_directory(folder.path("sub"));
  for (const char* const name : {"", "sub", "none/x.obj", "loop"}) {
    Output out(folder.path(name));
    const Result result = out.open();
    EXPECT_EQ(result.status, Status::writeFailed) << name;
    EXPECT_TRUE(result.text.starts_with(folder.path(name) + ": ")) << result.text;
    // The first failure stays.
    EXPECT_EQ(out.write("x").text, result.text);
    EXPECT_EQ(out.commit().text, result.text);
  }
  EXPECT_FALSE(Output("").open());
  EXPECT_EQ(Output("-").name(), "standard output");
  EXPECT_EQ(entries(folder), 2U);
  Output abandoned(folder.path("x.obj"));
  ASSERT_TRUE(abandoned.write("x"));
  abandoned.abandon();
  EXPECT_EQ(abandoned.commit().status, Status::cancelled);
  EXPECT_EQ(entries(folder), 2U);

  Output full("/dev/full");
  ASSERT_TRUE(full.open());
  EXPECT_TRUE(full.isDirect());
  ASSERT_TRUE(full.write("x"));
  EXPECT_EQ(full.commit().status, Status::writeFailed);
}

/// Runs `work` in a process of its own; its exit status, or the signal that ended it as a negative number.
template <class Work>
int inChild(Work work) {
  const pid_t child = fork();
  if (child == 0) _exit(work());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

TEST(Output, AFullDiskLeavesTheTarget) {
  const TempFolder folder;
  folder.write("a.obj", "old");
  const int failed = inChild([&] {
    const rlimit limit{100'000, 100'000};
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
    Output out(folder.path("a.obj"));
    Result result = out.write(std::string(90'000, 'x'));
    if (result) result = out.write(std::string(90'000, 'x'));
    if (result) result = out.commit();
    return result.status == Status::writeFailed ? 7 : 1;
  });
  EXPECT_EQ(failed, 7);
  EXPECT_EQ(folder.read("a.obj"), "old");
  EXPECT_EQ(entries(folder), 1U);
}

TEST(Output, SignalsLeaveNothing) {
  const TempFolder folder;
  folder.write("a.obj", "old");
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ, SIGALRM, SIGUSR1, SIGABRT, SIGRTMIN}) {
    const int ended = inChild([&] {
      // Where the tests run it may be ignored.
      std::signal(signal, SIG_DFL);
      Output::removeTemporariesOnSignals();
      Output first(folder.path("a.obj"));
      Output second(folder.path("b.obj"));
      const NewFolder made(folder.path("x/y"));
      Output third(made.error() ? "" : folder.path("x/y/c.obj"));
      if (!first.write("new") || !second.finish() || !third.open() || entries(folder) != 4) return 1;
      raise(signal);
      return 2;
    });
    EXPECT_EQ(ended, -signal);
    EXPECT_EQ(entries(folder), 1U) << signal;
  }
  EXPECT_EQ(folder.read("a.obj"), "old");
  EXPECT_EQ(inChild([&] {
              std::signal(SIGINT, SIG_IGN);
              Output::removeTemporariesOnSignals();
              Output out(folder.path("a.obj"));
              raise(SIGINT);
              return out.write("new") && out.commit() ? 5 : 1;
            }),
            5);
  EXPECT_EQ(folder.read("a.obj"), "new");
}

TEST(Output, StandardOutputIsWrittenDirectly) {
  const TempFolder folder;
  folder.write("out.txt", "");
  // By its sign, and by the path of the file that it is.
  for (const std::string& path : {std::string("-"), folder.path("out.txt")}) {
    const int status = inChild([&] {
      if (std::freopen(folder.path("out.txt").c_str(), "a", stdout) == nullptr) return 1;
      Output out(path);
      if (!out.open() || !out.isStandardOutput() || !out.isDirect()) return 2;
      return out.write("text;") && out.commit() ? 0 : 3;
    });
    EXPECT_EQ(status, 0) << path;
  }
  EXPECT_EQ(folder.read("out.txt"), "text;text;");
  EXPECT_EQ(inChild([] {
              close(STDOUT_FILENO);
              return Output("-").open() ? 0 : 4;
            }),
            4);
}

TEST(Output, ManyAtATime) {
  const TempFolder folder;
  std::vector<std::unique_ptr<Output>> outputs;
  for (int i = 0; i < 40; ++i) {
    outputs.push_back(std::make_unique<Output>(folder.path(std::to_string(i))));
    ASSERT_TRUE(outputs.back()->write(std::to_string(i)));
    if (i % 2 == 0) {
      ASSERT_TRUE(outputs.back()->finish());
    }
  }
  std::vector<std::size_t> done;
  const auto note = [&](std::size_t i) {
    EXPECT_TRUE(folder.has(std::to_string(i)));
    done.push_back(i);
  };
  // A target that has become a folder cannot be replaced: what stands before it is done, the rest is not.
  std::filesystem::create_directories(folder.path("25/x"));
  EXPECT_EQ(Output::commitAll(outputs, note).status, Status::writeFailed);
  EXPECT_EQ(done.size(), 25U);
  EXPECT_FALSE(folder.has("26"));
  std::filesystem::remove_all(folder.path("25"));
  outputs.erase(outputs.begin(), outputs.begin() + 26);
  done.clear();
  ASSERT_TRUE(Output::commitAll(outputs, [&](std::size_t i) { done.push_back(i); }));
  EXPECT_EQ(done.size(), 14U);
  EXPECT_EQ(folder.read("39"), "39");
  EXPECT_EQ(entries(folder), 39U);
}

}  // namespace
