#include <XmlWriter.h>
#include <raster/Statistics.h>

#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTextStream>
#include <gdal_priv.h>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace raster {

namespace {

constexpr int bucketCount = 256;
constexpr qint64 maxFileSize = qint64{16} << 20;

// GDAL would keep what it computes in a file of its own beside the image.
class WithoutAuxiliaryFiles {
public:
  WithoutAuxiliaryFiles() { CPLSetThreadLocalConfigOption("GDAL_PAM_ENABLED", "NO"); }
  ~WithoutAuxiliaryFiles() { CPLSetThreadLocalConfigOption("GDAL_PAM_ENABLED", nullptr); }
  WithoutAuxiliaryFiles(WithoutAuxiliaryFiles const&) = delete;
  WithoutAuxiliaryFiles& operator=(WithoutAuxiliaryFiles const&) = delete;
};

bool computeLayer(GDALRasterBand& band, bool approximate, Statistics::Layer& layer) {
  if (band.ComputeStatistics(approximate ? TRUE : FALSE, &layer.minimum, &layer.maximum, &layer.mean,
                             &layer.standardDeviation, nullptr, nullptr) != CE_None) {
    return false;
  }
  // The classes of the extremes have them in their middle.
  double const half = std::max(0.5 * (layer.maximum - layer.minimum) / (bucketCount - 1), 1e-9);
  layer.histogramMinimum = layer.minimum - half;
  layer.histogramMaximum = layer.maximum + half;
  std::vector<GUIntBig> counts(bucketCount);
  if (band.GetHistogram(layer.histogramMinimum, layer.histogramMaximum, bucketCount, counts.data(), FALSE,
                        approximate ? TRUE : FALSE, nullptr, nullptr) != CE_None) {
    return false;
  }
  layer.histogram.assign(counts.begin(), counts.end());
  return true;
}

void scale(Statistics::Layer& layer, double factor) {
  for (double* value : {&layer.minimum, &layer.maximum, &layer.mean, &layer.standardDeviation, &layer.histogramMinimum,
                        &layer.histogramMaximum}) {
    *value *= factor;
  }
}

QDomDocument readDocument(std::string const& fileName) {
  QFile file(QString::fromStdString(fileName));
  QDomDocument document;
  if (QFileInfo(file).isFile() && file.size() <= maxFileSize && file.open(QIODevice::ReadOnly)) {
    document.setContent(file.readAll());
  }
  return document;
}

double metadata(QDomElement const& band, char const* key) {
  QDomElement const list = band.firstChildElement(QStringLiteral("Metadata"));
  for (QDomElement e = list.firstChildElement(QStringLiteral("MDI")); !e.isNull();
       e = e.nextSiblingElement(QStringLiteral("MDI"))) {
    if (e.attribute(QStringLiteral("key")) == QLatin1String(key)) {
      return e.text().toDouble();
    }
  }
  return 0.0;
}

Statistics::Layer layerOf(QDomElement const& band) {
  Statistics::Layer layer;
  layer.minimum = metadata(band, "STATISTICS_MINIMUM");
  layer.maximum = metadata(band, "STATISTICS_MAXIMUM");
  layer.mean = metadata(band, "STATISTICS_MEAN");
  layer.standardDeviation = metadata(band, "STATISTICS_STDDEV");
  QDomElement const item = band.firstChildElement(QStringLiteral("Histograms")).firstChildElement();
  layer.histogramMinimum = item.firstChildElement(QStringLiteral("HistMin")).text().toDouble();
  layer.histogramMaximum = item.firstChildElement(QStringLiteral("HistMax")).text().toDouble();
  QString const counts = item.firstChildElement(QStringLiteral("HistCounts")).text();
  for (QString const& count : counts.isEmpty() ? QStringList() : counts.split(QLatin1Char('|'))) {
    layer.histogram.push_back(count.toULongLong());
  }
  return layer;
}

// By band number, from 0.
std::map<int, Statistics::Layer> readLayers(std::string const& fileName) {
  std::map<int, Statistics::Layer> layers;
  QDomElement const root = readDocument(fileName).documentElement();
  if (root.tagName() != QLatin1String("PAMDataset")) {
    return layers;
  }
  QString const bandTag = QStringLiteral("PAMRasterBand");
  for (QDomElement e = root.firstChildElement(bandTag); !e.isNull(); e = e.nextSiblingElement(bandTag)) {
    int const number = e.attribute(QStringLiteral("band")).toInt() - 1;
    if (number >= 0 && number < Statistics::allLayers) {
      layers[number] = layerOf(e);
    }
  }
  return layers;
}

QString numberText(double value) {
  return QString::number(value, 'g', 17);
}

void writeMetadata(XmlWriter& writer, char const* key, double value) {
  writer.addAttribute(QStringLiteral("key"), key);
  writer.writeElement(QStringLiteral("MDI"), numberText(value));
}

void writeHistogram(XmlWriter& writer, Statistics::Layer const& layer) {
  QStringList counts;
  for (std::uint64_t const count : layer.histogram) {
    counts << QString::number(count);
  }
  writer.writeStartElement(QStringLiteral("Histograms"));
  writer.writeStartElement(QStringLiteral("HistItem"));
  writer.writeElement(QStringLiteral("HistMin"), numberText(layer.histogramMinimum));
  writer.writeElement(QStringLiteral("HistMax"), numberText(layer.histogramMaximum));
  writer.writeElement(QStringLiteral("BucketCount"), QString::number(layer.histogram.size()));
  writer.writeElement(QStringLiteral("IncludeOutOfRange"), "0");
  writer.writeElement(QStringLiteral("Approximate"), "0");
  writer.writeElement(QStringLiteral("HistCounts"), counts.join(QLatin1Char('|')));
  writer.writeEndElement();
  writer.writeEndElement();
}

void writeLayer(XmlWriter& writer, int band, Statistics::Layer const& layer) {
  writer.addAttribute(QStringLiteral("band"), band);
  writer.writeStartElement(QStringLiteral("PAMRasterBand"));
  writeHistogram(writer, layer);
  writer.writeStartElement(QStringLiteral("Metadata"));
  writeMetadata(writer, "STATISTICS_MAXIMUM", layer.maximum);
  writeMetadata(writer, "STATISTICS_MEAN", layer.mean);
  writeMetadata(writer, "STATISTICS_MINIMUM", layer.minimum);
  writeMetadata(writer, "STATISTICS_STDDEV", layer.standardDeviation);
  writer.writeEndElement();
  writer.writeEndElement();
}

}  // namespace

Statistics::Statistics(int lowPercent, int middlePercent, int highPercent, int step, float factor)
    : mPercents{lowPercent, middlePercent, highPercent}, mStep(step), mFactor(factor) {}

void Statistics::compute(std::string const& imageFileName) {
  mLayers.clear();
  GDALAllRegister();
  WithoutAuxiliaryFiles const guard;
  GDALDatasetUniquePtr const image(GDALDataset::Open(imageFileName.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
  if (!image) {
    throw std::runtime_error("can't open image: " + imageFileName);
  }
  for (int band = 1; band <= std::min<int>(image->GetRasterCount(), allLayers); ++band) {
    Layer layer;
    if (!computeLayer(*image->GetRasterBand(band), mStep > 1, layer)) {
      mLayers.clear();
      throw std::runtime_error("can't read image: " + imageFileName);
    }
    scale(layer, static_cast<double>(mFactor));
    mLayers.push_back(layer);
  }
}

bool Statistics::load(std::string const& fileName, float factor, LayerType layer) {
  mLayers.clear();
  for (auto& [number, values] : readLayers(fileName)) {
    if (layer == allLayers || layer == number) {
      scale(values, static_cast<double>(factor) * static_cast<double>(mFactor));
      mLayers.push_back(values);
    }
  }
  return !mLayers.empty();
}

void Statistics::save(std::string const& fileName) const {
  QByteArray text;
  {
    QTextStream stream(&text, QIODevice::WriteOnly);
    XmlWriter writer(stream, 0);
    writer.writeStartElement(QStringLiteral("PAMDataset"));
    for (std::size_t i = 0; i < mLayers.size(); ++i) {
      writeLayer(writer, static_cast<int>(i) + 1, mLayers[i]);
    }
    writer.writeEndDocument();
  }
  QSaveFile file(QString::fromStdString(fileName));
  bool const written =
      file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush() && file.size() == text.size();
  if (!written) {
    file.cancelWriting();
  }
  if (!file.commit()) {
    throw std::runtime_error("can't write statistics: " + fileName);
  }
}

bool Statistics::hasLayer(std::string const& fileName, LayerType layer) const {
  auto const layers = readLayers(fileName);
  return layer == allLayers ? !layers.empty() : layers.count(layer) > 0;
}

std::vector<double> Statistics::percentiles(LayerType layer) const {
  std::vector<double> values;
  Layer const& l = mLayers.at(layer);
  double total = 0.0;
  for (std::uint64_t const count : l.histogram) {
    total += static_cast<double>(count);
  }
  double const width = (l.histogramMaximum - l.histogramMinimum) / static_cast<double>(l.histogram.size());
  for (int const percent : mPercents) {
    double const wanted = total * percent / 100.0;
    double sum = 0.0;
    std::size_t i = 0;
    while (i + 1 < l.histogram.size() && sum + static_cast<double>(l.histogram[i]) < wanted) {
      sum += static_cast<double>(l.histogram[i++]);
    }
    double const inClass =
        l.histogram.empty() || l.histogram[i] == 0 ? 0.0 : (wanted - sum) / static_cast<double>(l.histogram[i]);
    double const value = l.histogramMinimum + width * (static_cast<double>(i) + inClass);
    values.push_back(std::clamp(value, l.minimum, l.maximum));
  }
  return values;
}

}  // namespace raster
