#include "document/OutputRegistry.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

#include "document/Output.h"

namespace WavefrontOBJ {
namespace {

constexpr std::size_t kRoom = 256;

std::atomic<OutputRegistry::Entry*> firstEntry{nullptr};

extern "C" void removeAndDie(int signal) {
  OutputRegistry::unlinkAll();
  // The handler was for once: the default ends the process, and tells its parent why.
  static_cast<void>(std::raise(signal));
}

}  // namespace

OutputRegistry::Entry* OutputRegistry::add(const std::string& path) {
  const std::size_t bytes = path.size() + 1;
  Entry* entry = firstEntry.load();
  for (; entry != nullptr; entry = entry->next) {
    bool used = false;
    if (entry->capacity >= bytes && entry->inUse.compare_exchange_strong(used, true)) break;
  }
  if (entry == nullptr) {
    // Names of temporary files differ in length; most fit into what any other left.
    const std::size_t capacity = (bytes / kRoom + 1) * kRoom;
    auto text = std::make_unique<char[]>(capacity);
    entry = new Entry;
    entry->inUse = true;
    entry->capacity = capacity;
    entry->path = text.release();
    entry->next = firstEntry.load();
    while (!firstEntry.compare_exchange_weak(entry->next, entry)) {
    }
  }
  std::memcpy(entry->path, path.c_str(), bytes);
  entry->isThere = true;
  return entry;
}

void OutputRegistry::remove(Entry* entry) noexcept {
  entry->isThere = false;
  entry->inUse = false;
}

void OutputRegistry::unlinkAll() noexcept {
  for (const Entry* entry = firstEntry.load(); entry != nullptr; entry = entry->next) {
    if (entry->isThere.load()) static_cast<void>(::unlink(entry->path));
  }
  // A folder may lie in another one.
  bool any = true;
  while (std::exchange(any, false)) {
    for (const Entry* entry = firstEntry.load(); entry != nullptr; entry = entry->next) {
      any = (entry->isThere.load() && ::rmdir(entry->path) == 0) || any;
    }
  }
}

void Output::removeTemporaries() noexcept {
  OutputRegistry::unlinkAll();
}

void Output::removeTemporariesOnSignals() {
  // Those that do not end the process; of the others, SIGKILL cannot be had.
  constexpr int kHarmless[] = {SIGCHLD, SIGCONT, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH};
  for (int signal = 1; signal < NSIG; ++signal) {
    if (std::find(std::begin(kHarmless), std::end(kHarmless), signal) != std::end(kHarmless)) continue;
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
    action = {};
    action.sa_handler = removeAndDie;
    // By the flag's name cast: it is unsigned, the member is not.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    static_cast<void>(::sigaction(signal, &action, nullptr));
  }
}

}  // namespace WavefrontOBJ
