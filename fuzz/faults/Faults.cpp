// With FAULTS_SERVER in the environment the process becomes many where main begins: for each line "kind nth
// error forGood" on descriptor 198 one more, in which that call fails. On 199 comes back "status calls" when
// it has ended.
#include "Faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

// What the C library calls them itself, so that they need not be looked up, which takes memory.
extern "C" {
void* __libc_malloc(size_t bytes);
void* __libc_calloc(size_t count, size_t bytes);
void* __libc_realloc(void* memory, size_t bytes);
void* __libc_memalign(size_t alignment, size_t bytes);
void __libc_free(void* memory);
}

namespace {

/// In memory that is shared with the process that asks how many there were.
struct Counts {
  std::atomic<long> calls{0};
  std::atomic<long> blocks{0};
};
Counts sOwn;
Counts* sCounts = &sOwn;
std::atomic<bool> sArmed{false};
FaultKind sKind = kMemory;
long sNth = 0;
int sError = 0;
bool sForGood = false;

/// The call is one that has to fail; errno says how.
bool fails(FaultKind kind) {
  if (!sArmed || kind != sKind) return false;
  const long call = sCounts->calls++;
  if (call != sNth && !(sForGood && call > sNth)) return false;
  errno = sError;
  return true;
}

void* counted(void* memory) {
  if (memory != nullptr) ++sCounts->blocks;
  return memory;
}

template <class Call>
Call* real(Call*, const char* name) {
  return reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name));
}
#define REAL(name) static auto* const next = real(&name, #name)

/// A transfer that fails, is cut in half, or goes through.
template <class Call>
auto transfer(FaultKind kind, size_t bytes, Call call) -> decltype(call(bytes)) {
  if (!fails(kind)) return call(bytes);
  if (sError == kShort) return call(bytes > 1 ? bytes / 2 : bytes);
  return -1;
}

/// While it lives, the stream's file is another one, so that the C library itself meets the error.
class OtherFile {
 public:
  OtherFile(FILE* stream, const char* path, int flags)
      : descriptor_(fileno(stream)), kept_(dup(descriptor_)) {
    static auto* const open = real(&::open, "open");
    const int other = open(path, flags);
    dup2(other, descriptor_);
    ::close(other);
  }
  ~OtherFile() {
    dup2(kept_, descriptor_);
    ::close(kept_);
  }

 private:
  int descriptor_, kept_;
};

void serve() {
  void* const shared =
      mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  sCounts = new (shared) Counts;
  FILE* const orders = fdopen(198, "r");
  int kind = 0, error = 0, forGood = 0;
  for (long nth = 0; std::fscanf(orders, "%d %ld %d %d", &kind, &nth, &error, &forGood) == 4;) {
    sCounts->calls = 0;
    const pid_t child = fork();
    if (child == 0) {
      ::close(198);
      ::close(199);
      unsetenv("FAULTS_SERVER");
      alarm(30);
      faults_arm(static_cast<FaultKind>(kind), nth, error, forGood);
      return;
    }
    int status = 0;
    waitpid(child, &status, 0);
    dprintf(199, "%d %ld\n", WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status),
            sCounts->calls.load());
  }
  _exit(0);
}

void begin() {
  if (getenv("FAULTS_SERVER") != nullptr) serve();
  int kind = 0, error = 0, forGood = 0;
  long nth = 0;
  const char* const fault = getenv("FAULT");
  if (fault == nullptr || std::sscanf(fault, "%d %ld %d %d", &kind, &nth, &error, &forGood) != 4) return;
  faults_arm(static_cast<FaultKind>(kind), nth, error, forGood);
}

using Main = int (*)(int argc, char** argv, char** environment);
Main sMain = nullptr;

int mainOrMany(int argc, char** argv, char** environment) {
  begin();
  return sMain(argc, argv, environment);
}

}  // namespace

extern "C" {

/// Called by every program's first instructions. What is made before main can be reported by nobody.
int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(), void (*loaderFini)(),
                      void* stack) {
  static auto* const next = real(&__libc_start_main, "__libc_start_main");
  sMain = main;
  return next(mainOrMany, argc, argv, init, fini, loaderFini, stack);
}

void faults_arm(FaultKind kind, long nth, int error, int forGood) {
  sKind = kind;
  sNth = nth;
  sError = error;
  sForGood = forGood != 0;
  sCounts->calls = 0;
  sArmed = true;
}
long faults_disarm() {
  sArmed = false;
  return sCounts->calls;
}
long faults_blocks() {
  return sCounts->blocks;
}

void* malloc(size_t bytes) {
  return fails(kMemory) ? nullptr : counted(__libc_malloc(bytes));
}
void* calloc(size_t count, size_t bytes) {
  return fails(kMemory) ? nullptr : counted(__libc_calloc(count, bytes));
}
void* realloc(void* memory, size_t bytes) {
  if (fails(kMemory)) return nullptr;
  void* const moved = __libc_realloc(memory, bytes);
  return memory == nullptr ? counted(moved) : moved;
}
void* memalign(size_t alignment, size_t bytes) {
  return fails(kMemory) ? nullptr : counted(__libc_memalign(alignment, bytes));
}
void* aligned_alloc(size_t alignment, size_t bytes) {
  return memalign(alignment, bytes);
}
int posix_memalign(void** memory, size_t alignment, size_t bytes) {
  void* const block = memalign(alignment, bytes);
  if (block == nullptr) return ENOMEM;
  *memory = block;
  return 0;
}
void free(void* memory) {
  if (memory == nullptr) return;
  --sCounts->blocks;
  __libc_free(memory);
}

int open(const char* path, int flags, ...) {
  REAL(open);
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return fails(kOpen) ? -1 : next(path, flags, mode);
}
FILE* fopen(const char* path, const char* mode) {
  REAL(fopen);
  return fails(kOpen) ? nullptr : next(path, mode);
}
ssize_t read(int file, void* buffer, size_t bytes) {
  REAL(read);
  return transfer(kRead, bytes, [=](size_t part) { return next(file, buffer, part); });
}
ssize_t pread(int file, void* buffer, size_t bytes, off_t offset) {
  REAL(pread);
  return transfer(kRead, bytes, [=](size_t part) { return next(file, buffer, part, offset); });
}
ssize_t write(int file, const void* buffer, size_t bytes) {
  REAL(write);
  return transfer(kWrite, bytes, [=](size_t part) { return next(file, buffer, part); });
}
size_t fread(void* buffer, size_t size, size_t count, FILE* stream) {
  REAL(fread);
  if (!fails(kRead) || sError == kShort) return next(buffer, size, count, stream);
  // Interrupted in the middle, or nothing is read.
  const size_t part = sError == EINTR ? next(buffer, size, count / 2, stream) : 0;
  const OtherFile other(stream, "/dev/null", O_WRONLY);
  const size_t rest = next(static_cast<char*>(buffer) + part * size, size, count - part, stream);
  errno = sError;
  return part + rest;
}
size_t fwrite(const void* buffer, size_t size, size_t count, FILE* stream) {
  REAL(fwrite);
  if (stream == stdout || stream == stderr || !fails(kWrite) || sError == kShort) {
    return next(buffer, size, count, stream);
  }
  const size_t part = sError == EINTR ? next(buffer, size, count / 2, stream) : 0;
  const OtherFile other(stream, "/dev/full", O_WRONLY);
  const size_t rest = next(static_cast<const char*>(buffer) + part * size, size, count - part, stream);
  errno = sError;
  return part + rest;
}
int fclose(FILE* stream) {
  REAL(fclose);
  const bool failing = fails(kClose);
  const int result = next(stream);
  if (failing) errno = sError;
  return failing ? EOF : result;
}
int close(int file) {
  REAL(close);
  const bool failing = fails(kClose);
  const int result = next(file);
  if (failing) errno = sError;
  return failing ? -1 : result;
}
int fsync(int file) {
  REAL(fsync);
  return fails(kSync) ? -1 : next(file);
}
int ftruncate(int file, off_t size) {
  REAL(ftruncate);
  return fails(kSync) ? -1 : next(file, size);
}
int rename(const char* from, const char* to) {
  REAL(rename);
  return fails(kRename) ? -1 : next(from, to);
}
int stat(const char* path, struct stat* status) {
  REAL(stat);
  return fails(kStat) ? -1 : next(path, status);
}
int fstat(int file, struct stat* status) {
  REAL(fstat);
  return fails(kStat) ? -1 : next(file, status);
}
int fchmod(int file, mode_t mode) {
  REAL(fchmod);
  return fails(kStat) ? -1 : next(file, mode);
}
void* mmap(void* at, size_t bytes, int access, int flags, int file, off_t offset) {
  REAL(mmap);
  return fails(kMap) ? MAP_FAILED : next(at, bytes, access, flags, file, offset);
}
void* mremap(void* block, size_t bytes, size_t newBytes, int flags, ...) {
  REAL(mremap);
  va_list rest;
  va_start(rest, flags);
  void* const place = (flags & MREMAP_FIXED) != 0 ? va_arg(rest, void*) : nullptr;
  va_end(rest);
  return fails(kMap) ? MAP_FAILED : next(block, bytes, newBytes, flags, place);
}
int mkdir(const char* path, mode_t mode) {
  REAL(mkdir);
  return fails(kFolder) ? -1 : next(path, mode);
}
DIR* opendir(const char* path) {
  REAL(opendir);
  return fails(kFolder) ? nullptr : next(path);
}
char* realpath(const char* path, char* resolved) {
  REAL(realpath);
  return fails(kFolder) ? nullptr : next(path, resolved);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*work)(void*),
                   void* argument) {
  REAL(pthread_create);
  return fails(kThread) ? sError : next(thread, attributes, work, argument);
}

// The names of the same calls where offsets have 64 bits anyway.
#pragma GCC diagnostic ignored "-Wattribute-alias"
int open64(const char* path, int flags, ...) __attribute__((alias("open")));
FILE* fopen64(const char* path, const char* mode) __attribute__((alias("fopen")));
ssize_t pread64(int file, void* buffer, size_t bytes, off64_t offset) __attribute__((alias("pread")));
int ftruncate64(int file, off64_t size) __attribute__((alias("ftruncate")));
int stat64(const char* path, struct stat64* status) __attribute__((alias("stat")));
int fstat64(int file, struct stat64* status) __attribute__((alias("fstat")));
void* mmap64(void* at, size_t bytes, int access, int flags, int file, off64_t offset)
    __attribute__((alias("mmap")));
}
