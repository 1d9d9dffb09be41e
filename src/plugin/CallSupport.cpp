#include "plugin/CallSupport.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

#include "ThreadCount.h"
#include "Utf8Cut.h"
#include "obj/OBJModel.h"
#include "plugin/CallLimits.h"
#include "plugin/KOBJRev01.h"

namespace {

std::size_t textLimit = 0;
bool answersAssertions = false;

}  // namespace

size_t KSmthGrpImpt_SetTextLimit(size_t bytes) {
  return std::exchange(textLimit, bytes);
}

unsigned KSmthGrpImpt_SetThreads(unsigned threads) {
  return setThreads(threads);
}

int KSmthGrpImpt_SetAssertionAnswers(int answers) {
  return std::exchange(answersAssertions, answers != 0) ? 1 : 0;
}

void answer(char* block1, std::string_view text) {
  if (block1 == nullptr) return;
  if (textLimit != 0) text = utf8Cut(text, textLimit - 1);
  std::memcpy(block1, text.data(), text.size());
  block1[text.size()] = '\0';
}

AssertionsAsAsked::AssertionsAsAsked() {
  if (answersAssertions) answered_.emplace();
}

void giveUpModel(char* block1, const WavefrontOBJ::OBJFailedAssertion& failed) noexcept {
  delete std::exchange(gOBJModel, nullptr);
  std::array<char, 256> text{};
  answer(block1, failed.text(text));
}
