#include <algorithm>
#include <cstdint>
#include <ctime>

#include "TestSupport.h"
#include "system/TalvexPlugin.h"

TEST(Memory, CountsWhatItGivesAndNeverSubtracts) {
  gAllocatedMem = INT32_MAX - 10;
  gMemAllocationFailed = 0;
  for (void* (*allocate)(int, const char*) : {&MY_MEM_MALLOC, &MY_MEM_MALLOC_CLEAR}) {
    for (const int size : {1000, 0, -1}) {
      gMem_SkipNExtErrorMessage = 1;
      const auto before = static_cast<std::uint32_t>(gAllocatedMem);
      void* block = allocate(size, "test");
      EXPECT_EQ(gMem_SkipNExtErrorMessage, 0);
      EXPECT_EQ(block != nullptr, size >= 0);
      EXPECT_EQ(gMemAllocationFailed, size < 0 ? 1 : 0);
      EXPECT_GE(Sys_GetMemSize(block), std::max(size, 0));
      if (allocate == &MY_MEM_MALLOC_CLEAR && size > 0) {
        EXPECT_EQ(std::memcmp(block, std::string(1000, '\0').data(), 1000), 0);
      }
      // Wrapped round past 2^31.
      const std::uint32_t counted = before + static_cast<std::uint32_t>(Sys_GetMemSize(block));
      MY_MEM_FREE(block);
      EXPECT_EQ(gAllocatedMem, static_cast<std::int32_t>(counted));
    }
    gMemAllocationFailed = 0;
  }
}

TEST(Memory, FillsAndCopiesExactlyTheBytesNamed) {
  for (const int n : {INT32_MIN, 0, 1, 5, 9}) {
    std::string bytes = "0123456789abcdefghijklmnop";
    std::string expected = bytes;
    const auto count = static_cast<std::size_t>(std::max(n, 0));
    Sys_MemSet(bytes.data() + 1, 0xA5, n);
    EXPECT_EQ(bytes, expected.replace(1, count, count, '\xA5')) << n;
    Sys_MemMove(bytes.data() + 3, bytes.data(), n);
    EXPECT_EQ(bytes, expected.replace(3, count, expected.substr(0, count))) << n;
    Sys_MemCopy(bytes.data() + 14, bytes.data(), n);
    EXPECT_EQ(bytes, expected.replace(14, count, expected.substr(0, count))) << n;
    Sys_MemZero(bytes.data() + 2, n);
    EXPECT_EQ(bytes, expected.replace(2, count, count, '\0')) << n;
    Sys_MemCopy(nullptr, bytes.data(), n);
    Sys_MemMove(bytes.data(), nullptr, n);
    Sys_MemZero(nullptr, n);
  }
}

TEST(Memory, TellsWhatTheSystemHasAndTheTime) {
  EXPECT_GT(Sys_AvailableSystemMem(true, false), 0);
  const std::uint32_t ticks = Sys_Ticks();
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto later = static_cast<std::uint32_t>(now.tv_sec * 1000LL + now.tv_nsec / 1000000);
  EXPECT_LE(later - ticks, 60000U) << "in milliseconds";
  EXPECT_FALSE(Sys_SetClipboardText(nullptr, 0));
}
