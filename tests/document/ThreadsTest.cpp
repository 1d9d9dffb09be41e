// A document that several threads read and parse.
#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "TestSupport.h"
#include "ThreadCount.h"
#include "c/KSmthGrp.h"
#include "document/DocumentReference.h"
#include "document/OBJDocument.h"
#include "plugin/CallLimits.h"

namespace {

using namespace WavefrontOBJ;

/// The least of many looks: a thread that was joined may be there for a moment yet.
std::ptrdiff_t runningThreads() {
  std::ptrdiff_t least = std::numeric_limits<std::ptrdiff_t>::max();
  for (int look = 0; look < 300; ++look)
    least = std::min(least, std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
  return least;
}

/// Of a read on as many threads, and of values: how they end, and what there is then.
std::string outcomes(const std::string& path, unsigned threads, const Progress& progress = {}) {
  DocumentReadOptions options;
  options.threads = threads;
  options.threadBytes = 0;
  options.windowBytes = 4096;
  options.placesPerKind = 300;
  OBJDocument document;
  std::string text;
  const auto tell = [&text](const Result& result) {
    text += std::to_string(static_cast<int>(result.status)) + result.text + "\n";
  };
  options.progress = progress;
  tell(document.read(path, options));
  if (!progress) text += describe(document);
  options.progress = {};
  tell(document.read(path, options));
  std::vector<double> doubles;
  std::vector<float> floats;
  // How far it is when the calling thread looks depends on the others.
  const Progress atOnce = [&progress](double) { return progress(1); };
  tell(document.values(VectorKind::position, 3, doubles, progress ? atOnce : Progress()));
  tell(document.vertexColours(floats));
  text.append(reinterpret_cast<const char*>(doubles.data()), doubles.size() * sizeof(double));
  text.append(reinterpret_cast<const char*>(floats.data()), floats.size() * sizeof(float));
  return text;
}

}  // namespace

TEST(Threads, ReadADocumentAsOneDoes) {
  const TempFolder folder;
  std::string text;
  for (int i = 1; i <= 150'000; ++i) {
    const std::string number = std::to_string(i);
    text += "v " + number + " 0.5 1e-3" + (i % 5 == 0 ? " 1 0 0.25\r\n" : "\n");
    if (i % 3 == 0) text += "vt 0.25 " + number + "\n";
    if (i % 700 == 0)
      text += "g g" + number + "\ns " + std::to_string(i % 9) + "\nf 1 2 -1\nf 1/1 2/2 " + number + "/3\n";
    if (i % 7000 == 0)
      text +=
          "# " + std::string(static_cast<std::size_t>(i), 'x') + "\\\nf 3 2 " + std::to_string(i + 1) + "\n";
  }
  const std::string path = folder.write("a.obj", text);
  const std::string expected = outcomes(path, 1);
  EXPECT_TRUE(outcomes(path, 2) == expected);
  EXPECT_TRUE(outcomes(path, 5) == expected);
  const auto cancel = [](double) { return false; };
  EXPECT_TRUE(outcomes(path, 3, cancel) == outcomes(path, 1, cancel));
  int changes = 0;
  const auto change = [&](double) {
    std::filesystem::last_write_time(path, std::filesystem::file_time_type(std::chrono::hours(++changes)));
    return true;
  };
  EXPECT_TRUE(outcomes(path, 3, change) == outcomes(path, 1, change));
  // A stack that no system has room for.
  pthread_attr_t before;
  pthread_attr_t huge;
  ASSERT_EQ(pthread_getattr_default_np(&before), 0);
  ASSERT_EQ(pthread_attr_init(&huge), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&huge, std::numeric_limits<std::size_t>::max() / 16 * 15), 0);
  ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
  EXPECT_ANY_THROW(std::thread([] {}).join());
  EXPECT_TRUE(outcomes(path, 3) == expected);
  EXPECT_EQ(pthread_setattr_default_np(&before), 0);
}

TEST(Threads, AreAsManyAsTheProgramAsks) {
  EXPECT_EQ(KSmthGrpImpt_SetThreads(3), 0U);
  EXPECT_EQ(ksmth_set_threads(100), 3U);
  EXPECT_EQ(threadCount(), kMostThreads);
  EXPECT_EQ(ksmth_set_threads(0), kMostThreads);
  const unsigned byItself = std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
  for (const auto& [text, threads] : std::initializer_list<std::pair<const char*, unsigned>>{
           {"5", 5}, {"99999999999", kMostThreads}, {"0", byItself}, {"9x", byItself}, {"", byItself}}) {
    ::setenv("KSMTH_THREADS", text, 1);
    EXPECT_EQ(threadCount(), threads) << text;
  }
  ::unsetenv("KSMTH_THREADS");
  // Small files need none.
  KSmthGrpImpt_SetThreads(3);
  std::string text;
  while (text.size() < 16U << 20) text += "# " + std::string(1021, 'x') + "\n";
  std::thread([] {}).join();  // the thread sanitizer adds one of its own with the first
  const std::ptrdiff_t before = runningThreads();
  for (const std::ptrdiff_t more : {2, 0}) {
    std::ptrdiff_t seen = -1;
    DocumentReadOptions options;
    options.progress = [&](double) {
      if (seen < 0) seen = runningThreads() - before;
      return true;
    };
    OBJDocument document;
    ASSERT_TRUE(document.readBytes(text, "a.obj", options));
    EXPECT_EQ(seen, more);
    text.pop_back();
  }
  KSmthGrpImpt_SetThreads(0);
}
