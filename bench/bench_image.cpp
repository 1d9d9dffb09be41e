// Benchmarks of the bitmap beside memcpy, memset, pixman and OpenCV. Takes the options of Google Benchmark;
// prints a table at the end. Every iteration times the work and then its yardstick on the same buffers, so
// that both meet the machine in the same state; the best of each counts.
#include <benchmark/benchmark.h>
#include <pixman.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>
#include <vector>

#include "geometry/Rect.h"
#include "image/BitMap.h"

namespace {

/// The images of one size, and room for planes.
struct Images {
  explicit Images(std::int32_t side) {
    std::mt19937 random(1);
    for (ABitMap* map : {&a, &b, &c, &d}) {
      map->Allocate(side, side, 32);
      for (std::int32_t i = 0; i < bytes(); i += 4) {
        const std::uint32_t value = static_cast<std::uint32_t>(random());
        std::memcpy(map->buffer + i, &value, sizeof value);
      }
    }
    a.BltTo(b, 0, 0);
    // Four equal pixels at a time, which a shift by one moves apart at every fourth.
    for (ABitMap* map : {&blocks, &shifted}) map->Allocate(side, side, 32);
    for (std::int32_t i = 0; i < side * side; ++i) {
      std::memcpy(blocks.buffer + 4 * i, a.buffer + i / 4 * 4, 4);
      std::memcpy(shifted.buffer + 4 * i, a.buffer + (i + 1) / 4 * 4, 4);
    }
    quarter.Allocate(side / 2, side / 2, 32);
    quarter.ClearBuffer();
    planes.resize(static_cast<std::size_t>(bytes()) + 16, 1);
  }
  Images(const Images&) = delete;
  Images& operator=(const Images&) = delete;
  ~Images() {
    for (ABitMap* map : {&a, &b, &c, &d, &blocks, &shifted, &quarter}) map->Free();
  }

  std::int32_t bytes() const { return a.BufferBytes(); }

  ABitMap a;       ///< what is read
  ABitMap b;       ///< a copy of a
  ABitMap c;       ///< what is written
  ABitMap d;       ///< nothing in common with a
  ABitMap blocks;  ///< forgiven by a comparison with `shifted`
  ABitMap shifted;
  ABitMap quarter;  ///< of half the width and height
  std::vector<unsigned char> planes;
};

struct Case {
  const char* name;
  double moved;  ///< bytes read and written, in sizes of the image
  std::function<void(Images&)> work;
  enum Yardstick { kCopy, kSet, kZero, kArea } yardstick;
};

struct Row {
  std::string name;
  double rate, yardstickRate;
  Case::Yardstick yardstick;
};

constexpr double yardstickMoved(Case::Yardstick yardstick) {
  return yardstick == Case::kCopy ? 2.0 : yardstick == Case::kArea ? 1.25 : 1.0;
}

cv::Mat matrix(const ABitMap& map) {
  return {map.height, map.width, CV_8UC4, map.buffer};
}

void areaHalving(Images& images) {
  cv::Mat destination = matrix(images.quarter);
  cv::resize(matrix(images.a), destination, destination.size(), 0, 0, cv::INTER_AREA);
}

void halving(Images& images) {
  const ARect destination = ARect::FromWhole(0, 0, images.quarter.width, images.quarter.height);
  ABitMap_BltRGBAHalfSizentialisedQubic(images.a, images.quarter, ARect(), destination);
}

void runYardstick(Case::Yardstick yardstick, Images& images) {
  const auto bytes = static_cast<std::size_t>(images.bytes());
  switch (yardstick) {
    case Case::kCopy:
      std::memcpy(images.c.buffer, images.a.buffer, bytes);
      break;
    case Case::kSet:
      std::memset(images.c.buffer, 0x55, bytes);
      break;
    case Case::kZero:
      std::memset(images.c.buffer, 0, bytes);
      break;
    case Case::kArea:
      areaHalving(images);
      break;
  }
  benchmark::ClobberMemory();
}

pixman_image_t* pixmanImage(const ABitMap& map) {
  return pixman_image_create_bits_no_clear(PIXMAN_a8r8g8b8, map.width, map.height,
                                           reinterpret_cast<std::uint32_t*>(map.buffer), map.width * 4);
}

void pixmanCopy(Images& images) {
  pixman_image_t* from = pixmanImage(images.a);
  pixman_image_t* to = pixmanImage(images.c);
  pixman_image_composite32(PIXMAN_OP_SRC, from, nullptr, to, 0, 0, 0, 0, 0, 0, images.a.width,
                           images.a.height);
  pixman_image_unref(from);
  pixman_image_unref(to);
}

void pixmanFill(Images& images) {
  const ABitMap& map = images.c;
  pixman_fill(reinterpret_cast<std::uint32_t*>(map.buffer), map.width, 32, 0, 0, map.width, map.height,
              0x11223344);
}

std::vector<Case> cases() {
  const auto full = [](const Images& i) { return i.a.fullWidth; };
  return {
      {"Paint, 32 bits", 1, [](Images& i) { i.c.Paint(std::uint64_t{0x11223344}); }, Case::kSet},
      {"Paint, rectangle", 1, [=](Images& i) { i.c.Paint(0x11223344U, 1, 1, full(i) - 1, full(i) - 1); },
       Case::kSet},
      {"PaintZero", 1, [](Images& i) { i.c.PaintZero(); }, Case::kZero},
      {"pixman fill", 1, pixmanFill, Case::kSet},
      {"BltTo", 2, [](Images& i) { i.a.BltTo(i.c, 0, 0); }, Case::kCopy},
      {"BltTo, shifted", 2, [](Images& i) { i.a.BltTo(i.c, 3, 1); }, Case::kCopy},
      {"pixman copy", 2, pixmanCopy, Case::kCopy},
      {"BltTransparentTo", 3, [](Images& i) { i.a.BltTransparentTo(i.c, 0, 0); }, Case::kCopy},
      {"BltToAutoOpacity", 3, [](Images& i) { i.a.BltToAutoOpacity(i.c); }, Case::kCopy},
      {"Darken", 2, [](Images& i) { i.c.Darken(); }, Case::kCopy},
      {"DarkenQtr, rectangle", 2, [=](Images& i) { i.c.DarkenQtr(1, 1, full(i) - 1, full(i) - 1); },
       Case::kCopy},
      {"Mask_And", 2, [](Images& i) { i.c.Mask_And(0x00FFFFFF); }, Case::kCopy},
      {"Mask_Add", 2, [](Images& i) { i.c.Mask_Add(0x01020304); }, Case::kCopy},
      {"DarkenAndAdd", 2, [=](Images& i) { i.c.DarkenAndAdd(1, 0, 0, full(i), full(i), 5); }, Case::kCopy},
      {"Switch", 2, [](Images& i) { i.c.Switch(1, 2, 0, 0, 0, 0); }, Case::kCopy},
      {"InvertAlphaRGBA", 2, [](Images& i) { i.c.InvertAlphaRGBA(); }, Case::kCopy},
      {"BlendQtrIntensiy", 3, [](Images& i) { i.c.BlendQtrIntensiy(i.a); }, Case::kCopy},
      {"Blend3QtrIntensiy", 3, [](Images& i) { i.c.Blend3QtrIntensiy(i.a); }, Case::kCopy},
      {"WriteAlphaToMaterial", 3, [](Images& i) { i.c.WriteAlphaToMaterial(i.a, 0); }, Case::kCopy},
      {"FlipVert", 2, [](Images& i) { i.c.FlipVert(); }, Case::kCopy},
      {"IsEqual", 2, [](Images& i) { benchmark::DoNotOptimize(i.a.IsEqual(i.b, false)); }, Case::kCopy},
      {"IsEqual, colors", 2, [](Images& i) { benchmark::DoNotOptimize(i.a.IsEqual(i.b, true)); },
       Case::kCopy},
      {"IsEqualToFullSize", 2, [](Images& i) { benchmark::DoNotOptimize(i.a.IsEqualToFullSize(i.b)); },
       Case::kCopy},
      {"FullChanged, all", 2, [](Images& i) { benchmark::DoNotOptimize(i.a.FullChanged(i.d)); }, Case::kCopy},
      {"Compare", 2, [](Images& i) { benchmark::DoNotOptimize(i.a.Compare(i.b)); }, Case::kCopy},
      {"Compare, shifted", 2, [](Images& i) { benchmark::DoNotOptimize(i.blocks.Compare(i.shifted)); },
       Case::kCopy},
      {"HasAlphaWithColors", 2, [](Images& i) { benchmark::DoNotOptimize(i.a.HasAlphaWithColors(i.b)); },
       Case::kCopy},
      {"MinValue32", 1, [](Images& i) { benchmark::DoNotOptimize(i.a.MinValue32(0)); }, Case::kCopy},
      {"FullMinValue32ColorMap", 2,
       [](Images& i) { benchmark::DoNotOptimize(i.a.FullMinValue32ColorMap(0, i.b, nullptr, 0)); },
       Case::kCopy},
      {"FullMinValue32ColorMap, all masked", 3,
       [](Images& i) { benchmark::DoNotOptimize(i.a.FullMinValue32ColorMap(0, i.b, &i.b, UINT32_MAX)); },
       Case::kCopy},
      {"half size", 1.25, halving, Case::kArea},
      {"half size, new bitmap", 1.25, [](Images& i) { i.a.CreateHalfSizeBitMap(i.quarter); }, Case::kArea},
      {"WriteRGBToBuffer", 1.75, [](Images& i) { i.a.WriteRGBToBuffer(i.planes.data(), 0, false, false); },
       Case::kCopy},
      {"WriteRGBToBuffer, alpha", 2, [](Images& i) { i.a.WriteRGBToBuffer(i.planes.data(), 0, true, true); },
       Case::kCopy},
      {"WriteAlphaToBuffer", 1.25, [](Images& i) { i.a.WriteAlphaToBuffer(i.planes.data(), 0, 0, 8, true); },
       Case::kCopy},
      {"WriteOneRGBAOffsetToBuffer", 1.25,
       [](Images& i) { i.a.WriteOneRGBAOffsetToBuffer(i.planes.data(), 0, 2, 0); }, Case::kCopy},
  };
}

double secondsOf(const std::function<void()>& work) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void measure(benchmark::State& state, const Case& one, Images& images, const std::string& name,
             std::vector<Row>& rows) {
  // Small images many times over, so that the clock's own time does not count.
  const int repeats = std::max(1, (1 << 24) / images.bytes());
  double best = std::numeric_limits<double>::infinity();
  double bestYardstick = best;
  for ([[maybe_unused]] auto iteration : state) {
    const double seconds = secondsOf([&] {
      for (int i = 0; i < repeats; ++i) {
        one.work(images);
        benchmark::ClobberMemory();
      }
    });
    state.SetIterationTime(seconds / repeats);
    best = std::min(best, seconds / repeats);
    const double other = secondsOf([&] {
      for (int i = 0; i < repeats; ++i) runYardstick(one.yardstick, images);
    });
    bestYardstick = std::min(bestYardstick, other / repeats);
  }
  const double size = images.bytes() * 1e-9;
  const Row row{name, one.moved * size / best, yardstickMoved(one.yardstick) * size / bestYardstick,
                one.yardstick};
  state.counters["GB/s"] = row.rate;
  state.counters["yardstick"] = row.yardstickRate;
  rows.push_back(row);
}

void print(const std::vector<Row>& rows) {
  const char* const yardsticks[] = {"memcpy", "memset", "memset 0", "OpenCV INTER_AREA"};
  std::printf("\n%-44s %8s  %-26s %6s\n", "GB/s read and written", "", "beside", "ratio");
  for (const Row& row : rows) {
    std::printf("%-44s %8.1f  %-18s %7.1f %6.2f\n", row.name.c_str(), row.rate, yardsticks[row.yardstick],
                row.yardstickRate, row.rate / row.yardstickRate);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  cv::setNumThreads(1);
  std::vector<Row> rows;
  // Made when a benchmark of their size runs, only one size at a time.
  std::unique_ptr<Images> images;
  const auto imagesOf = [&images](std::int32_t side) -> Images& {
    if (images == nullptr || images->a.fullWidth != side) {
      images.reset();
      images = std::make_unique<Images>(side);
    }
    return *images;
  };
  // 64 megapixels, and images of which three fit into the second-level cache.
  const std::pair<const char*, std::int32_t> sizes[] = {{"64 MP", 8192}, {"256 KB", 256}};
  for (const auto& [label, side] : sizes) {
    for (const Case& one : cases()) {
      const std::string name = std::string(label) + " " + one.name;
      const auto run = [&, one, name, side = side](benchmark::State& state) {
        measure(state, one, imagesOf(side), name, rows);
      };
      benchmark::RegisterBenchmark(name.c_str(), run)
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond)
          ->Iterations(side > 1000 ? 6 : 30);
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  if (!rows.empty()) print(rows);
  return 0;
}
