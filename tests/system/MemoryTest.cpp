#include <cstdint>
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
  const std::uint32_t before = Sys_Ticks();
  EXPECT_LT(Sys_Ticks() - before, 600000U);
  EXPECT_FALSE(Sys_SetClipboardText(nullptr, 0));
}
