// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Strip.h"

#include <sensor/kessensor.h>

#include <QByteArray>
#include <QFile>
#include <QXmlStreamReader>
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

constexpr int bands = 12;
constexpr int pixels = 12000;
constexpr int tdiRows = 16;

constexpr char const* head =
    "<System Type=\"HDB00\"><SystemInfo Component=\"SensorHead\" SerialNo=\"1\" Revision=\"A\" "
    "ArticleNo=\"2\"/></System><Creation Name=\"Bench\" Location=\"Bench\" "
    "Environment=\"Bench\" Remark=\"\"><DateTime Type=\"UTC\" Date=\"20200101\" "
    "Time=\"000000\"/></Creation>";

void writeFile(std::string const& name, std::string const& root, std::string const& text) {
  std::ofstream(name) << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" << root << ">" << head << text << "</" << root
                      << ">\n";
}

std::string band(int index) {
  return "BAND" + std::to_string(index) + "A";
}

std::string list(double start, double step) {
  std::string text;
  for (int i = 0; i < pixels; ++i) {
    std::array<char, 32> number;
    std::snprintf(number.data(), number.size(), "%.5f ", start + i * step + 0.002 * std::sin(i * 1e-3));
    text += number.data();
  }
  text.pop_back();
  return text;
}

std::string geometryText() {
  std::string text = "<LensSystem PrincipalDistance_mm=\"62.5\" SigmaPrincipalDistance_mm=\"0.001\"/>"
                     "<Misalignment_deg Omega=\"0.1\" SigmaOmega=\"0.01\" Phi=\"0.2\" SigmaPhi=\"0.01\" Kappa=\"0.3\" "
                     "SigmaKappa=\"0.01\"/><Sensors>";
  for (int i = 0; i < bands; ++i) {
    text += "<Sensor i=\"" + std::to_string(i) +
            "\"><Sensor Type=\"Line\" Structure=\"Mono\" PixelSize_mm=\"0.0065\" Rows=\"1\" Columns=\"12000\"/>"
            "<DistortionGrid Channel=\"" +
            band(i) + "\" Columns=\"12000\"><GridRow i=\"0\"><Row_mm>" + list(-30.0 + 5.0 * i, 1e-7) +
            "</Row_mm><Column_mm>" + list(-39.0, 0.0065) + "</Column_mm><SigmaRow_mm>" + list(0.0003, 0.0) +
            "</SigmaRow_mm><SigmaColumn_mm>" + list(0.0004, 0.0) +
            "</SigmaColumn_mm></GridRow></DistortionGrid></Sensor>\n";
  }
  return text + "</Sensors>";
}

std::string sensorText() {
  std::string text = "<Sensors>";
  for (int i = 0; i < bands; ++i) {
    text += "<Sensor i=\"" + std::to_string(i) + "\"><Type>" + band(i) +
            "</Type><RadiometricGain Value=\"1\"/><ImagingPixels Value=\"12000\"/><WaveLengthRange Width=\"60\" "
            "Center=\"500\"/><DSNU Upper=\"400\" Lower=\"20\"/><PRNU Width=\"0\"/><Lookups><Lookup ColumnStart=\"0\" "
            "Columns=\"6000\"><in>0 16383</in><out>0 16383</out></Lookup><Lookup ColumnStart=\"6000\" "
            "Columns=\"6000\"><in>0 16383</in><out>0 16383</out></Lookup></Lookups></Sensor>\n";
  }
  return text + "</Sensors>";
}

template <class Sample>
std::string imageText(std::string const& element, double first, double step) {
  std::vector<Sample> samples;
  for (int i = 0; i < pixels * tdiRows; ++i) {
    samples.push_back(static_cast<Sample>(first + step * std::sin(i * 0.37)));
  }
  QByteArray const bytes(reinterpret_cast<char const*>(samples.data()),
                         static_cast<int>(samples.size() * sizeof(Sample)));
  std::string const data = bytes.toBase64().toStdString();
  std::string text = "<Sensors>";
  for (int i = 0; i < bands; ++i) {
    text += "<Sensor i=\"" + std::to_string(i) + "\"><Type>" + band(i) + "</Type><" + element +
            " Width=\"12000\" Height=\"" + std::to_string(tdiRows) + "\" Data=\"" + data + "\"/></Sensor>\n";
  }
  return text + "</Sensors>";
}

// Twelve lines of 12000 pixels with 16 TDI settings.
std::string const& calibration() {
  static std::string const folder = [] {
    std::string name = bench::flightFolder() + "/HDB00";
    std::filesystem::create_directories(name);
    writeFile(name + "/Geometry.xml", "DigitalSensorHeadInteriorOrientation", geometryText());
    writeFile(name + "/SensorData.xml", "SensorData", sensorText());
    writeFile(name + "/PrnuData.xml", "PrnuData", imageText<float>("PRNU", 1.0, 0.05));
    writeFile(name + "/DsnuData.xml", "DsnuData", imageText<std::uint16_t>("DSNU", 200.0, 30.0));
    return name;
  }();
  return folder;
}

std::int64_t fileSize() {
  std::uintmax_t size = 0;
  for (auto const& entry : std::filesystem::directory_iterator(calibration())) {
    size += entry.file_size();
  }
  return static_cast<std::int64_t>(size);
}

void walkFile(std::string const& name) {
  QFile file(QString::fromStdString(name));
  file.open(QIODevice::ReadOnly);
  QXmlStreamReader reader(&file);
  while (!reader.atEnd()) {
    benchmark::DoNotOptimize(reader.readNext());
  }
}

void readCamera(benchmark::State& state) {
  sensor::SerializerCameraKesV2Xml const serializer(calibration());
  for (auto _ : state) {
    sensor::CameraKes const camera("HDB00", "1", 1, serializer);
    benchmark::DoNotOptimize(camera.version());
  }
  state.SetBytesProcessed(state.iterations() * fileSize());
}
BENCHMARK(readCamera)->Name("read an XML calibration of 12 bands")->Unit(benchmark::kMillisecond);

void walk(benchmark::State& state) {
  std::string const folder = calibration();
  for (auto _ : state) {
    for (char const* name : {"/Geometry.xml", "/SensorData.xml", "/PrnuData.xml", "/DsnuData.xml"}) {
      walkFile(folder + name);
    }
  }
  state.SetBytesProcessed(state.iterations() * fileSize());
}
BENCHMARK(walk)->Name("walk of QXmlStreamReader through the same files")->Unit(benchmark::kMillisecond);

void readGeometry(benchmark::State& state) {
  std::string const name = calibration() + "/Geometry.xml";
  for (auto _ : state) {
    xmlFileData::KesBGeoCalibData data;
    xmlFileData::readGeoCalibData(name, data);
    benchmark::DoNotOptimize(data.sensors().size());
  }
}
BENCHMARK(readGeometry)->Name("read its geometry file")->Unit(benchmark::kMillisecond);

void walkGeometry(benchmark::State& state) {
  std::string const name = calibration() + "/Geometry.xml";
  for (auto _ : state) {
    walkFile(name);
  }
}
BENCHMARK(walkGeometry)->Name("walk of QXmlStreamReader through the geometry file")->Unit(benchmark::kMillisecond);

void readPrnu(benchmark::State& state) {
  std::string const name = calibration() + "/PrnuData.xml";
  for (auto _ : state) {
    xmlFileData::KesBPrnuData data;
    xmlFileData::readPrnuData(name, data);
    benchmark::DoNotOptimize(data.sensors().size());
  }
}
BENCHMARK(readPrnu)->Name("read its PRNU file")->Unit(benchmark::kMillisecond);

void walkPrnu(benchmark::State& state) {
  std::string const name = calibration() + "/PrnuData.xml";
  for (auto _ : state) {
    walkFile(name);
  }
}
BENCHMARK(walkPrnu)->Name("walk of QXmlStreamReader through the PRNU file")->Unit(benchmark::kMillisecond);

void quickLook(benchmark::State& state) {
  std::filesystem::create_directories(bench::flightFolder() + "/quick/HDB00_1");
  std::filesystem::path const link = bench::flightFolder() + "/quick/HDB00_1/v001";
  if (!std::filesystem::exists(link)) {
    std::filesystem::create_directory_symlink(std::filesystem::absolute(calibration()), link);
  }
  sensor::CameraFactory& factory = *sensor::CameraFactory::instance();
  factory.addSearchPath(bench::flightFolder() + "/quick");
  for (auto _ : state) {
    benchmark::DoNotOptimize(factory.getCalibrationInformation("1", "HDB00", 1).omega);
  }
}
BENCHMARK(quickLook)->Name("quick look at the calibration")->Unit(benchmark::kMillisecond);

}  // namespace
