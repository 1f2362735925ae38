// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <QDomDocument>
#include <QFile>
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <sstream>

namespace {

constexpr int listedCount = 200;

std::string read(std::string const& name) {
  std::ostringstream text;
  text << std::ifstream(name, std::ios::binary).rdbuf();
  return text.str();
}

void write(std::string const& name, std::string const& text) {
  std::ofstream(name, std::ios::binary) << text;
}

// Strips of the flight, which differ in nothing but their names, and blocks that list the first of them.
class Block {
public:
  Block() {
    std::string const& name = bench::strip().modelData()->fileName();
    mFolder = std::filesystem::path(name).parent_path();
    std::string const text = read(name);
    std::string const attribute = "name=\"" + bench::strip().name() + "\"";
    std::size_t const at = text.find(attribute);
    for (int i = 0; i < listedCount; ++i) {
      std::string const number = std::to_string(i);
      std::string strip = text;
      strip.replace(at, attribute.size(), "name=\"Line" + number + "\"");
      write(stripFile(i), strip);
    }
  }

  std::string stripFile(int i) const { return (mFolder / ("line" + std::to_string(i) + ".stp")).string(); }

  // The block file of so many strips.
  std::string file(int strips) const {
    std::string text = "<Block version=\"1.0\"><Strips>";
    for (int i = 0; i < strips; ++i) {
      text += "<Strip filename=\"line" + std::to_string(i) + ".stp\"/>";
    }
    std::string name = (mFolder / "bench.blf").string();
    write(name, text + "</Strips><CoordinateSystem definition=\"EPSG:32616\"/></Block>");
    return name;
  }

  static Block const& get() {
    static Block const made;
    return made;
  }

private:
  std::filesystem::path mFolder;
};

double heapBytes() {
  struct mallinfo2 const heap = mallinfo2();
  return static_cast<double>(heap.uordblks) + static_cast<double>(heap.hblkhd);
}

void openBlock(benchmark::State& state) {
  std::string const file = Block::get().file(listedCount);
  for (auto _ : state) {
    sensor::BlockModelData const block(file, false, false, false);
    benchmark::DoNotOptimize(block.numStrips());
  }
  state.SetItemsProcessed(state.iterations() * listedCount);
}
BENCHMARK(openBlock)->Name("open a strip of a block of 200")->Unit(benchmark::kMillisecond);

// The files that opening reads: the strip file, of which the document model is made, the head of the orientation file,
// and the files of integration times and TDI stages.
void readFiles(benchmark::State& state) {
  Block const& block = Block::get();
  std::filesystem::path const timing = std::filesystem::path(block.stripFile(0)).parent_path() / "timing";
  std::vector<std::string> scanlines;
  for (auto const& entry : std::filesystem::directory_iterator(timing)) {
    if (entry.path().extension() != ".ctg" && entry.path().extension() != ".ctgl") {
      scanlines.push_back(entry.path().string());
    }
  }
  for (auto _ : state) {
    for (int i = 0; i < listedCount; ++i) {
      QFile file(QString::fromStdString(block.stripFile(i)));
      QDomDocument document;
      benchmark::DoNotOptimize(file.open(QIODevice::ReadOnly) && document.setContent(&file));
      std::vector<char> head(1024);
      std::ifstream(bench::strip().eopFileName(), std::ios::binary).read(head.data(), 1024);
      benchmark::DoNotOptimize(head);
      for (std::string const& name : scanlines) {
        benchmark::DoNotOptimize(read(name));
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * listedCount);
}
BENCHMARK(readFiles)->Name("plain read of the same strip's files")->Unit(benchmark::kMillisecond);

// Kilobytes of the heap for each strip that is listed.
void memoryOfListed(benchmark::State& state) {
  auto const strips = static_cast<int>(state.range(0));
  std::string const file = Block::get().file(strips);
  sensor::BlockModelData(file, false, false, false);  // Cameras come, and stay.
  double bytes = 0.0;
  for (auto _ : state) {
    double const before = heapBytes();
    sensor::BlockModelData const block(file, false, false, false);
    bytes = heapBytes() - before;
  }
  state.counters["KB"] = bytes / 1e3;
  state.counters["KB_a_strip"] = bytes / 1e3 / strips;
}
BENCHMARK(memoryOfListed)->Name("memory of strips listed")->Arg(50)->Arg(200)->Unit(benchmark::kMillisecond);

// The same for each strip that is loaded, in a block of 200.
void memoryOfLoaded(benchmark::State& state) {
  auto const strips = static_cast<int>(state.range(0));
  sensor::BlockModelData const block(Block::get().file(listedCount), false, false, false);
  double bytes = 0.0;
  for (auto _ : state) {
    double const before = heapBytes();
    for (int i = 0; i < strips; ++i) {
      block.strip("Line" + std::to_string(i))->loadData(false, false);
    }
    bytes = heapBytes() - before;
    for (int i = 0; i < strips; ++i) {
      block.strip("Line" + std::to_string(i))->unloadData();
    }
  }
  state.counters["KB"] = bytes / 1e3;
  state.counters["KB_a_strip"] = bytes / 1e3 / strips;
}
BENCHMARK(memoryOfLoaded)->Name("memory of strips loaded")->Arg(1)->Arg(4)->Arg(16)->Unit(benchmark::kMillisecond);

}  // namespace
