// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <raster/Statistics.h>
#include <simulation/CameraHead.h>
#include <simulation/ImageFile.h>
#include <simulation/Images.h>
#include <simulation/Output.h>
#include <simulation/Renderer.h>

#include <QDomDocument>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <stdexcept>

namespace simulation {

namespace {

bool contains(std::vector<std::string> const& ids, std::string const& id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

[[noreturn]] void failUnknown(std::string const& id, std::vector<std::string> const& known) {
  std::string message = "no band \"" + id + "\" in the camera, which has ";
  for (std::string const& other : known) {
    message.append(&other == known.data() ? "" : ", ").append(other);
  }
  throw std::runtime_error(message);
}

void writeImage(Renderer const& renderer, std::string const& name, int threads, Progress const& progress) {
  int const height = renderer.height();
  ImageFile file(name, renderer.width(), height);
  for (int row = 0; row < height; row += ImageFile::tileSize) {
    int const count = std::min(ImageFile::tileSize, height - row);
    file.write(renderer.rows(row, count, threads));
    progress(static_cast<double>(row + count) / height);
  }
  file.finish();
}

void writeStatistics(std::string const& image) {
  raster::Statistics statistics(0, 50, 100, 1, 1.0F);
  statistics.compute(image);
  statistics.save(image.substr(0, image.rfind('.')) + ".stat");
}

// A strip file beside that of a flight, with the true orientation in place of the others.
class TrueStripFile {
public:
  TrueStripFile(std::string const& folder, FlightFiles const& files) : mName(folder + "/true_orientation.stp") {
    QDomDocument document = read(folder + "/" + files.strip);
    QDomElement orientation = document.documentElement().firstChildElement(QStringLiteral("EOP"));
    orientation.setAttribute(QStringLiteral("filename"), QString::fromStdString(files.trueEop));
    orientation.removeAttribute(QStringLiteral("filename_adjusted"));
    writeFile(mName, document.toByteArray().toStdString());
  }
  ~TrueStripFile() { std::remove(mName.c_str()); }
  TrueStripFile(TrueStripFile const&) = delete;
  TrueStripFile& operator=(TrueStripFile const&) = delete;

  std::string const& name() const { return mName; }

private:
  static QDomDocument read(std::string const& name) {
    QFile file(QString::fromStdString(name));
    QDomDocument document;
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(file.readAll())) {
      throw std::runtime_error("can't read " + name);
    }
    return document;
  }

  std::string mName;
};

}  // namespace

std::vector<std::string> renderedBands(FlightPlan const& plan) {
  std::vector<std::string> const known = CameraHead::bandIds();
  for (std::string const& id : plan.renderedBands) {
    if (id != FlightPlan::allBands && !contains(known, id)) {
      failUnknown(id, known);
    }
  }
  std::vector<std::string> bands;
  std::copy_if(known.begin(), known.end(), std::back_inserter(bands), [&](std::string const& id) {
    return contains(plan.renderedBands, FlightPlan::allBands) || contains(plan.renderedBands, id);
  });
  return bands;
}

kes::Strip trueStrip(FlightPlan const& plan, std::string const& folder, FlightFiles const& files) {
  kes::StripOptions options;
  options.calibrations = {(std::filesystem::path(folder) / files.calibrations).lexically_normal().string()};
  kes::Strip strip = files.trueStrip.empty() ? kes::Strip(TrueStripFile(folder, files).name(), options)
                                             : kes::Strip(folder + "/" + files.trueStrip, options);
  if (strip.camera().bands().front().samples != plan.samples) {
    throw std::runtime_error(std::string("another camera is in use: ") + CameraHead::type + "_" +
                             CameraHead::sensorId(plan.samples));
  }
  return strip;
}

std::vector<std::string> renderImages(FlightPlan const& plan, std::string const& folder, kes::Strip const& strip,
                                      Terrain const& terrain, Texture const& texture, Progress const& progress) {
  std::vector<std::string> const bands = renderedBands(plan);
  std::vector<std::string> images;
  for (std::string const& id : bands) {
    kes::Band const band = strip.band(id);
    std::string const name = band.imagePath();
    auto const done = static_cast<double>(images.size());
    auto const count = static_cast<double>(bands.size());
    writeImage(Renderer(band, terrain.surface(), texture), name, plan.threads,
               [&](double part) { progress((done + part) / count); });
    writeStatistics(name);
    images.push_back(std::filesystem::relative(name, folder).string());
  }
  return images;
}

}  // namespace simulation
