#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "TestSupport.h"
#include "system/TalvexPlugin.h"

TEST(Memory, CountsWhatItGivesAndNeverSubtracts) {
  gAllocatedMem = INT32_MAX - 10;
  gMemAllocationFailed = 0;
  gMem_SkipNExtErrorMessage = 1;
  void* block = MY_MEM_MALLOC(1000, "test");
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(gMem_SkipNExtErrorMessage, 0);
  const std::int32_t size = Sys_GetMemSize(block);
  EXPECT_GE(size, 1000);
  // Wrapped round past 2^31.
  EXPECT_EQ(gAllocatedMem, static_cast<std::int32_t>(INT32_MAX - 10U + static_cast<std::uint32_t>(size)));
  const std::int32_t counted = gAllocatedMem;
  MY_MEM_FREE(block);
  MY_MEM_FREE(nullptr);
  EXPECT_EQ(gAllocatedMem, counted);
  EXPECT_EQ(Sys_GetMemSize(nullptr), 0);
  EXPECT_EQ(gMemAllocationFailed, 0);
  void* empty = MY_MEM_MALLOC(0, nullptr);
  EXPECT_NE(empty, nullptr);
  MY_MEM_FREE(empty);
}

TEST(Memory, ReportsANegativeSizeAsAFailedAllocation) {
  for (void* (*allocate)(int, const char*) : {&MY_MEM_MALLOC, &MY_MEM_MALLOC_CLEAR}) {
    gMemAllocationFailed = 0;
    gMem_SkipNExtErrorMessage = 1;
    const std::int32_t counted = gAllocatedMem;
    EXPECT_EQ(allocate(-1, "test"), nullptr);
    EXPECT_EQ(gMemAllocationFailed, 1);
    EXPECT_EQ(gMem_SkipNExtErrorMessage, 0);
    EXPECT_EQ(gAllocatedMem, counted);
  }
  gMemAllocationFailed = 0;
}

#if !defined(__SANITIZE_ADDRESS__)
TEST(Memory, ReportsMemoryThatTheSystemDoesNotHave) {
  // Some emulators pass over the limit; they give 32-bit programs no two such blocks.
  rlimit old{};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &old), 0);
  rlimit low = old;
  low.rlim_cur = std::min<rlim_t>(old.rlim_max, 1 << 30);
  ASSERT_EQ(setrlimit(RLIMIT_AS, &low), 0);
  std::vector<void*> blocks;
  blocks.reserve(2);
  gMemAllocationFailed = 0;
  while (gMemAllocationFailed == 0 && blocks.size() < 2) blocks.push_back(MY_MEM_MALLOC(INT32_MAX, "test"));
  setrlimit(RLIMIT_AS, &old);
  EXPECT_EQ(gMemAllocationFailed, 1);
  EXPECT_EQ(blocks.back(), nullptr);
  for (void* block : blocks) MY_MEM_FREE(block);
  gMemAllocationFailed = 0;
}
#endif

TEST(Memory, FillsAndCopiesExactlyTheBytesNamed) {
  for (int offset = 0; offset < 8; ++offset) {
    for (int n = -1; n < 40; ++n) {
      std::vector<unsigned char> bytes(64, 7);
      std::vector<unsigned char> expected = bytes;
      Sys_MemSet(bytes.data() + offset, 0xA5, n);
      for (int i = 0; i < n; ++i) expected[offset + i] = 0xA5;
      EXPECT_EQ(bytes, expected) << offset << " " << n;
      Sys_MemZero(bytes.data() + offset + 1, n - 1);
      for (int i = 0; i < n - 1; ++i) expected[offset + 1 + i] = 0;
      EXPECT_EQ(bytes, expected) << offset << " " << n;
      Sys_MemMove(bytes.data() + offset + 2, bytes.data() + offset, n);
      for (int i = n - 1; i >= 0; --i) expected[offset + 2 + i] = expected[offset + i];
      EXPECT_EQ(bytes, expected) << offset << " " << n;
    }
  }
  auto* clear = static_cast<unsigned char*>(MY_MEM_MALLOC_CLEAR(100, "test"));
  EXPECT_EQ(std::count(clear, clear + 100, 0), 100);
  MY_MEM_FREE(clear);
}

TEST(Memory, TellsWhatTheSystemHasAndTheTime) {
  EXPECT_GT(Sys_AvailableSystemMem(true, false), 0);
  const auto start = std::chrono::steady_clock::now();
  const std::uint32_t before = Sys_Ticks();
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  const std::uint32_t passed = Sys_Ticks() - before;
  const auto all = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start);
  EXPECT_GE(passed, 29U);
  EXPECT_LE(passed, all.count() + 1);
  EXPECT_FALSE(Sys_SetClipboardText(nullptr, 0));
}
