// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <sensor/KESOrientation.h>

#include <benchmark/benchmark.h>

#include <fstream>
#include <vector>

namespace {

constexpr int recordCount = 1000000;
constexpr std::size_t fileSize = 512 + 40 * static_cast<std::size_t>(recordCount);

// A flight of a million records, 200 a second, in the internal vectors.
sensor::KESOrientation const& million() {
  static sensor::KESOrientation const store = [] {
    sensor::KESOrientation made;
    made.setNumSets(recordCount);
    std::vector<sensor::TimeQuantity<double>> t;
    std::vector<double> way;
    std::vector<double> angle;
    for (int i = 0; i < recordCount; ++i) {
      t.push_back(sensor::seconds(i * 0.005));
      way.push_back(i * 0.4);
      angle.push_back(i * 1e-6);
    }
    made.setXYZOPK(0, recordCount, t.data(), way.data(), way.data(), way.data(), angle.data(), angle.data(),
                   angle.data());
    return made;
  }();
  return store;
}

std::string const& odfFile() {
  static std::string const name = [] {
    std::string file = bench::flightFolder() + "/million.odf";
    sensor::KESOrientation store = million();
    store.write(file);
    return file;
  }();
  return name;
}

void readOdf(benchmark::State& state) {
  std::string const& file = odfFile();
  for (auto _ : state) {
    sensor::KESOrientation const store(file);
    benchmark::DoNotOptimize(store.numSets());
  }
  state.SetItemsProcessed(state.iterations() * recordCount);
}
BENCHMARK(readOdf)->Name("read an ODF of a million records")->Unit(benchmark::kMillisecond);

void readBytes(benchmark::State& state) {
  std::string const& file = odfFile();
  for (auto _ : state) {
    std::ifstream in(file, std::ios::binary);
    std::vector<char> bytes(fileSize);
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    benchmark::DoNotOptimize(bytes.data());
  }
  state.SetItemsProcessed(state.iterations() * recordCount);
}
BENCHMARK(readBytes)->Name("plain read of its bytes")->Unit(benchmark::kMillisecond);

void packOdf(benchmark::State& state) {
  sensor::KESOrientation store = million();
  for (auto _ : state) {
    benchmark::DoNotOptimize(store.compress());
  }
  state.SetItemsProcessed(state.iterations() * recordCount);
}
BENCHMARK(packOdf)->Name("pack a million records of an ODF")->Unit(benchmark::kMillisecond);

// Packing, and a file that is on the disk before it takes the old one's place.
void writeOdf(benchmark::State& state) {
  std::string const file = bench::flightFolder() + "/written.odf";
  sensor::KESOrientation store = million();
  for (auto _ : state) {
    benchmark::DoNotOptimize(store.write(file));
  }
  state.SetItemsProcessed(state.iterations() * recordCount);
}
BENCHMARK(writeOdf)->Name("write an ODF of a million records")->Unit(benchmark::kMillisecond)->UseRealTime();

void writeBytes(benchmark::State& state) {
  std::string const file = bench::flightFolder() + "/bytes.odf";
  std::vector<char> const bytes(fileSize);
  for (auto _ : state) {
    std::ofstream out(file, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.flush();
  }
  state.SetItemsProcessed(state.iterations() * recordCount);
}
BENCHMARK(writeBytes)->Name("plain write of its bytes")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
