// Writing and reading Photoshop documents of 4096 x 4096 pixels, beside copying and writing (or reading) the
// same bytes, and beside ImageMagick. Takes the options of Google Benchmark. Rates are bytes of the file per
// second of the best iteration; the file lies in the folder for temporary files (TMPDIR).
#include <Magick++.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "LargePages.h"
#include "TempFolder.h"
#include "image/PSDFile.h"

namespace {

constexpr std::int32_t kSide = 4096;

class Picture : public ABitMap {
 public:
  explicit Picture(unsigned seed) {
    if (Allocate(kSide, kSide, 32) == nullptr) throw std::bad_alloc();
    std::uint32_t state = seed;
    for (std::int32_t i = 0; i < BufferBytes(); ++i) {
      state = state * 1664525 + 1013904223;
      buffer[i] = static_cast<unsigned char>(state >> 24);
    }
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  ~Picture() { Free(); }
};

/// The work that is measured; it answers whether it succeeded.
using Work = std::function<bool()>;

/// The files of a run and what they are written from.
struct Setting {
  bench::TempFolder folder;
  Picture layers[3] = {Picture(1), Picture(2), Picture(3)};
  std::string flat = folder.file("flat.psd");
  std::string layered = folder.file("layered.psd");
  std::string scratch = folder.file("scratch.psd");

  Setting() {
    if (!writeFlat(flat) || !writeLayered(layered)) throw std::runtime_error("cannot write the documents");
  }
  bool writeFlat(const std::string& path) const { return layers[0].SavePSD(path.c_str(), false) == 0; }
  bool writeLayered(const std::string& path) const {
    const ABitMap* const maps[] = {&layers[0], &layers[1], &layers[2]};
    return SavePSDMultiLayered(path.c_str(), maps, 3, &layers[0], nullptr, 0) == 0;
  }
};

std::size_t fileBytes(const std::string& path) {
  return std::filesystem::file_size(path);
}

std::vector<unsigned char> contentOf(const std::string& path) {
  std::vector<unsigned char> bytes(fileBytes(path));
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file || std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
    throw std::runtime_error("cannot read " + path);
  }
  return bytes;
}

using Block = std::unique_ptr<void, void (*)(void*)>;

/// Memory as the library takes it, large pages included: the yardsticks must not pay for more page faults.
Block newBlock(std::size_t size) {
  Block block(std::malloc(size), &std::free);
  preferLargePages(block.get(), size);
  return block;
}

/// What the library cannot do without: the bytes into a block of their own, and the block into the file.
bool copyAndWrite(const std::vector<unsigned char>& bytes, const std::string& path) {
  const Block block = newBlock(bytes.size());
  std::memcpy(block.get(), bytes.data(), bytes.size());
  const int file = open(path.c_str(), O_RDWR | O_CREAT, 0666);
  std::size_t done = 0;
  while (file >= 0 && done < bytes.size()) {
    const ssize_t put = write(file, static_cast<char*>(block.get()) + done, bytes.size() - done);
    if (put <= 0) break;
    done += static_cast<std::size_t>(put);
  }
  const bool cut = ftruncate(file, static_cast<off_t>(done)) == 0;
  return close(file) == 0 && cut && done == bytes.size();
}

/// The file into a block, and the block into another.
bool readAndCopy(const std::string& path) {
  const std::size_t size = fileBytes(path);
  const Block block = newBlock(size);
  const Block copy = newBlock(size);
  const int file = open(path.c_str(), O_RDONLY);
  std::size_t done = 0;
  while (file >= 0 && done < size) {
    const ssize_t got = read(file, static_cast<char*>(block.get()) + done, size - done);
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  std::memcpy(copy.get(), block.get(), done);
  benchmark::DoNotOptimize(copy.get());
  return close(file) == 0 && done == size;
}

/// Writes `count` images that share their pixels: its limits of memory leave no room for more.
Work magickWrite(const Setting& setting, std::size_t count) {
  Magick::Image image(setting.flat + "[0]");
  image.compressType(Magick::NoCompression);
  return [images = std::vector<Magick::Image>(count, image), path = setting.scratch]() mutable {
    Magick::writeImages(images.begin(), images.end(), path);
    return true;
  };
}

bool magickRead(const std::string& path) {
  std::vector<Magick::Image> images;
  Magick::readImages(&images, path);
  return !images.empty();
}

/// What `prepare` makes ready lives as long as its benchmark runs.
void add(const std::string& name, std::size_t bytes, const std::function<Work()>& prepare) {
  const auto run = [bytes, prepare](benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    const Work work = prepare();
    // Once before: a file that grows costs the system more than one that is there.
    work();
    double best = std::numeric_limits<double>::infinity();
    for ([[maybe_unused]] auto iteration : state) {
      const Clock::time_point start = Clock::now();
      const bool succeeded = work();
      const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
      state.SetIterationTime(seconds);
      best = std::min(best, seconds);
      if (!succeeded) {
        state.SkipWithError("the work failed");
        return;
      }
    }
    state.counters["MB/s"] = static_cast<double>(bytes) / best / 1e6;
  };
  benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime()->Unit(benchmark::kMillisecond);
}

void addAll(const Setting& s) {
  for (const bool isFlat : {true, false}) {
    const std::string kind = isFlat ? "flat" : "three_layers";
    const std::string path = isFlat ? s.flat : s.layered;
    const std::size_t size = fileBytes(path);
    add("write/" + kind + "/library", size, [&s, isFlat]() -> Work {
      return [&s, isFlat] { return isFlat ? s.writeFlat(s.scratch) : s.writeLayered(s.scratch); };
    });
    add("write/" + kind + "/memcpy_and_write", size, [&s, path]() -> Work {
      return [&s, content = contentOf(path)] { return copyAndWrite(content, s.scratch); };
    });
    add("write/" + kind + "/imagemagick", size, [&s, isFlat] { return magickWrite(s, isFlat ? 1 : 4); });
    add("read/" + kind + "/library", size, [path, isFlat]() -> Work {
      return [path, isFlat] {
        ABitMap map;
        const std::int32_t result =
            isFlat ? map.LoadPSD(path.c_str(), false) : map.LoadPSDLayer(path.c_str(), 0, false);
        map.Free();
        return result == 0;
      };
    });
    add("read/" + kind + "/read_and_memcpy", size,
        [path]() -> Work { return [path] { return readAndCopy(path); }; });
    add("read/" + kind + "/imagemagick", size,
        [path]() -> Work { return [path] { return magickRead(path); }; });
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  Magick::InitializeMagick(*argv);
  try {
    const Setting setting;
    addAll(setting);
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_psd: %s\n", error.what());
    return 1;
  }
  return 0;
}
