// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

constexpr int recordCount = 1000000;
constexpr int lineCount = 200000;
constexpr int camCount = 12;

std::string const& eopFile() {
  static std::string const name = [] {
    std::string file = bench::flightFolder() + "/million.eop";
    sensor::EOPData eop;
    for (int i = 0; i < recordCount; ++i) {
      sensor::EOP record;
      record.gpsTime = i * 0.005;
      record.q0 = static_cast<float>(std::cos(i * 1e-6));
      record.q3 = static_cast<float>(std::sin(i * 1e-6));
      record.z = 2000.0;
      eop.addEOP(record);
    }
    eop.write(file, 0);
    return file;
  }();
  return name;
}

void loadEop(benchmark::State& state) {
  std::string const file = eopFile();
  for (auto _ : state) {
    sensor::EOPData eop(file);
    benchmark::DoNotOptimize(eop.numSets());
  }
  state.SetItemsProcessed(state.iterations() * recordCount);
}
BENCHMARK(loadEop)->Name("load an EOP file of a million records")->Unit(benchmark::kMillisecond);

// What loading can't do without: the bytes, and for each record six sines and cosines and the products.
void readAndConvert(benchmark::State& state) {
  std::string const file = eopFile();
  constexpr std::size_t recordSize = 48;
  for (auto _ : state) {
    std::ifstream in(file, std::ios::binary);
    std::vector<char> bytes(recordSize * recordCount);
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    float sum = 0.0F;
    for (std::size_t i = 0; i < recordCount; ++i) {
      auto const* angles = reinterpret_cast<float const*>(bytes.data() + i * recordSize + 32);
      float const a = -angles[0] / 2;
      float const b = -angles[1] / 2;
      float const c = -angles[2] / 2;
      sum += std::cos(a) * std::cos(b) * std::cos(c) + std::sin(a) * std::sin(b) * std::sin(c);
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * recordCount);
}
BENCHMARK(readAndConvert)->Name("plain read and conversion of the same")->Unit(benchmark::kMillisecond);

void loadCtg(benchmark::State& state) {
  std::string const file = bench::flightFolder() + "/lines.ctg";
  sensor::CameraTime written;
  written.setCtgFileName(file);
  for (int i = 0; i < lineCount; ++i) {
    written.values().push_back(i * 0.003);
  }
  written.writeData();
  for (auto _ : state) {
    sensor::CameraTime const time(file);
    benchmark::DoNotOptimize(time.size());
  }
  state.SetItemsProcessed(state.iterations() * lineCount);
}
BENCHMARK(loadCtg)->Name("load a CTG file of 200000 lines")->Unit(benchmark::kMillisecond);

// A folder of twelve CAM files.
std::string const& camFolder() {
  static std::string const name = [] {
    std::string const source = bench::flightFolder() + "/calibration/KESA0_12000/v003";
    std::string folder = bench::flightFolder() + "/twelve";
    std::filesystem::create_directories(folder);
    std::filesystem::copy(source + "/misalignment.dat", folder, std::filesystem::copy_options::overwrite_existing);
    for (int i = 0; i < camCount; ++i) {
      std::filesystem::copy(source + "/PANN00A.cam", folder + "/" + std::to_string(i) + ".cam",
                            std::filesystem::copy_options::overwrite_existing);
    }
    return folder;
  }();
  return name;
}

void loadCams(benchmark::State& state) {
  sensor::SerializerCameraKesV1Cam const serializer(camFolder());
  for (auto _ : state) {
    sensor::CameraKes const camera("KESA0", "12000", 3, serializer);
    benchmark::DoNotOptimize(camera.version());
  }
  state.SetItemsProcessed(state.iterations() * camCount);
}
BENCHMARK(loadCams)->Name("load a folder of 12 CAM files")->Unit(benchmark::kMillisecond)->UseRealTime();

// Calls `use` with the bytes of each CAM file.
template <class Use>
void readCams(Use use) {
  std::vector<char> bytes;
  for (int i = 0; i < camCount; ++i) {
    std::string const name = camFolder() + "/" + std::to_string(i) + ".cam";
    bytes.resize(std::filesystem::file_size(name));
    std::ifstream(name, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    use(bytes);
  }
}

void readCamBytes(benchmark::State& state) {
  for (auto _ : state) {
    readCams([](std::vector<char> const& bytes) { benchmark::DoNotOptimize(bytes.back()); });
  }
  state.SetItemsProcessed(state.iterations() * camCount);
}
BENCHMARK(readCamBytes)->Name("plain read of the same")->Unit(benchmark::kMillisecond)->UseRealTime();

// The words that are numbers, in the header, too.
void convertCams(benchmark::State& state) {
  for (auto _ : state) {
    readCams([](std::vector<char> const& bytes) {
      char const* const end = bytes.data() + bytes.size();
      double sum = 0.0;
      for (char const* at = bytes.data(); at < end; ++at) {
        double value = 0.0;
        at = std::from_chars(at, end, value).ptr;
        sum += value;
      }
      benchmark::DoNotOptimize(sum);
    });
  }
  state.SetItemsProcessed(state.iterations() * camCount);
}
BENCHMARK(convertCams)->Name("read and std::from_chars of the same")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
