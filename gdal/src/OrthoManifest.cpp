// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoManifest.h"

#include "JsonFields.h"
#include "OrthoNames.h"
#include "OrthoWarper.h"
#include "files/NumberText.h"

#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <bit>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

namespace fs = std::filesystem;

constexpr char const* formatName = "kessensor orthophoto plan";
constexpr int formatVersion = 1;
// Beyond this, one should think again.
constexpr double mostTiles = 1e6;

QString text(std::string const& value) {
  return QString::fromStdString(value);
}

// JSON has no numbers that aren't finite.
QJsonValue number(double value) {
  return std::isfinite(value) ? QJsonValue(value) : QJsonValue(text(files::shortestText(value)));
}

QJsonValue whole(std::uint64_t value) {
  return QJsonValue(static_cast<qint64>(value));
}

QJsonArray texts(std::vector<std::string> const& values) {
  QJsonArray array;
  for (std::string const& value : values) {
    array.append(text(value));
  }
  return array;
}

QJsonArray indices(std::vector<std::size_t> const& values) {
  QJsonArray array;
  for (std::size_t const value : values) {
    array.append(whole(value));
  }
  return array;
}

QJsonArray boxOf(PixelBox const& box) {
  return {box.left, box.top, box.columns, box.rows};
}

QJsonObject sourceOf(OrthoSource const& source) {
  return {
      {"elevationModel", text(source.elevationModel)}, {"vertical", text(source.vertical)}, {"map", text(source.map)}};
}

QJsonObject optionsOf(OrthoPlan const& plan) {
  QJsonObject options{{"bands", texts(plan.bands)},
                      {"cut", text(plan.cut)},
                      {"resampling", text(nameOf(plan.resampling))},
                      {"type", text(nameOf(plan.type))},
                      {"format", text(nameOf(plan.format))},
                      {"creationOptions", texts(plan.creationOptions)},
                      {"record", plan.hasRecord},
                      {"noData", number(plan.noData)},
                      {"gsd", plan.gsd},
                      {"isPlaced", plan.grid.has_value() || plan.extent.has_value()}};
  if (plan.scale) {
    options["scale"] = QJsonArray{plan.scale->lowest, plan.scale->highest};
  }
  return options;
}

QJsonObject gridOf(OrthoGrid const& grid) {
  QJsonArray place;
  for (double const value : grid.geoTransform()) {
    place.append(value);
  }
  return {{"geoTransform", place}, {"columns", grid.columns()}, {"rows", grid.rows()}};
}

QJsonObject pixelsOf(OrthoLayout const& layout) {
  QJsonObject pixels{{"type", GDALGetDataTypeName(layout.type)},
                     {"boxSide", layout.boxSide},
                     {"severalStrips", layout.isOfSeveralStrips}};
  if (layout.heights) {
    pixels["heights"] = QJsonArray{layout.heights->lowest, layout.heights->highest};
  }
  return pixels;
}

QJsonArray inputsOf(std::vector<OrthoInput> const& inputs) {
  QJsonArray array;
  for (OrthoInput const& input : inputs) {
    QJsonObject object{{"role", text(input.role)}, {"path", text(input.name)}};
    if (input.isFile) {
      object["bytes"] = whole(input.bytes);
      object["modified"] = text(std::to_string(input.modified));  // has more digits than a double
      object["sha256"] = text(input.sha256);
    }
    array.append(object);
  }
  return array;
}

QJsonArray stripsOf(std::vector<LaidStrip> const& strips) {
  QJsonArray array;
  for (LaidStrip const& strip : strips) {
    array.append(QJsonObject{{"path", text(strip.fileName)},
                             {"description", text(strip.description)},
                             {"calibrations", texts(strip.opening.calibrations)},
                             {"settings", text(strip.opening.settings)},
                             {"orientation", text(nameOf(strip.opening.orientation))},
                             {"camera", text(strip.cameraFolder)},
                             {"bands", strip.bands},
                             {"box", boxOf(strip.part)},
                             {"inputs", indices(strip.inputs)}});
  }
  return array;
}

QJsonObject memoryOf(OrthoTiling::Data const& data) {
  TileMemory const& memory = data.memory;
  return {{"limit", whole(memory.limit)},
          {"bound", whole(memory.bound(data.threads))},
          {"fixed", whole(memory.fixed)},
          {"perThread", whole(memory.perThread)},
          {"imageCache", whole(memory.imageCache)}};
}

QJsonArray tilesOf(std::vector<OrthoTile> const& tiles) {
  QJsonArray array;
  for (OrthoTile const& tile : tiles) {
    array.append(QJsonObject{{"box", boxOf({tile.left, tile.top, tile.columns, tile.rows})},
                             {"strips", indices(tile.strips)},
                             {"bytes", whole(tile.bytes)}});
  }
  return array;
}

PixelBox boxIn(JsonFields const& fields, char const* name) {
  std::vector<double> const numbers = fields.numbers(name, 4);
  PixelBox const box{fields.asInt(name, numbers[0]), fields.asInt(name, numbers[1]), fields.asInt(name, numbers[2]),
                     fields.asInt(name, numbers[3])};
  if (box.left < 0 || box.top < 0 || box.columns < 0 || box.rows < 0) {
    fields.fail(name, "is no box of pixels");
  }
  return box;
}

template <class Choice>
Choice choiceIn(JsonFields const& fields, char const* name) {
  auto const choice = choiceOf<Choice>(fields.text(name));
  if (!choice) {
    fields.fail(name, "isn't one of the names it may have");
  }
  return *choice;
}

OrthoPlan planIn(JsonFields const& options, JsonFields const& grid) {
  OrthoPlan plan;
  plan.bands = options.texts("bands");
  plan.cut = options.text("cut");
  plan.resampling = choiceIn<Resampling>(options, "resampling");
  plan.type = choiceIn<PixelType>(options, "type");
  plan.format = choiceIn<FileFormat>(options, "format");
  plan.creationOptions = options.texts("creationOptions");
  plan.hasRecord = options.flag("record");
  plan.noData = options.number("noData");
  plan.gsd = options.number("gsd");
  if (options.has("scale")) {
    std::vector<double> const scale = options.numbers("scale", 2);
    plan.scale = {scale[0], scale[1]};
  }
  std::vector<double> const place = grid.numbers("geoTransform", 6);
  GeoTransform transform{};
  std::copy(place.begin(), place.end(), transform.begin());
  plan.grid = OrthoGrid(transform, grid.integer("columns"), grid.integer("rows"));
  return plan;
}

LaidStrip stripIn(JsonFields const& fields, OrthoLayout const& layout) {
  LaidStrip strip{fields.text("path"), fields.text("description"), fields.text("camera"), {}};
  strip.opening.calibrations = fields.texts("calibrations");
  strip.opening.settings = fields.text("settings");
  strip.opening.orientation = choiceIn<kes::Orientation>(fields, "orientation");
  strip.bands = fields.integer("bands");
  strip.part = boxIn(fields, "box");
  PixelBox const inside = common(strip.part, layout.whole());
  if (strip.part.size() != inside.size()) {
    fields.fail("box", "isn't within the orthophoto");
  }
  strip.inputs = fields.indices("inputs", layout.inputs.all().size());
  return strip;
}

OrthoInput inputIn(JsonFields const& fields) {
  OrthoInput input{fields.text("role"), fields.text("path")};
  input.isFile = fields.has("sha256");
  if (input.isFile) {
    input.bytes = fields.whole("bytes");
    input.modified = fields.longInteger("modified");
    input.sha256 = fields.text("sha256");
  }
  return input;
}

bool operator==(OrthoTile const& a, OrthoTile const& b) {
  return a.left == b.left && a.top == b.top && a.columns == b.columns && a.rows == b.rows && a.strips == b.strips &&
         a.bytes == b.bytes;
}

// What is there twice must agree.
void requireTiles(JsonFields const& fields, std::vector<OrthoTile> const& tiles, std::size_t strips) {
  std::vector<JsonFields> const listed = fields.objects("tiles");
  bool isSame = listed.size() == tiles.size();
  for (std::size_t i = 0; isSame && i < tiles.size(); ++i) {
    PixelBox const box = boxIn(listed[i], "box");
    isSame =
        tiles[i] ==
        OrthoTile{
            box.left, box.top, box.columns, box.rows, listed[i].indices("strips", strips), listed[i].whole("bytes")};
  }
  if (!isSame) {
    fields.fail("tiles", "aren't those of the grid and the strips");
  }
}

OrthoLayout layoutIn(JsonFields const& fields) {
  JsonFields const options = fields.object("options");
  OrthoPlan plan = planIn(options, fields.object("grid"));
  JsonFields const pixels = fields.object("pixels");
  std::string const typeName = pixels.text("type");
  std::vector<OrthoInput> inputs;
  for (JsonFields const& input : fields.objects("inputs")) {
    inputs.push_back(inputIn(input));
  }
  OrthoLayout layout{plan,
                     *plan.grid,
                     GDALGetDataTypeByName(typeName.c_str()),
                     pixels.integer("boxSide"),
                     pixels.flag("severalStrips"),
                     0.0,
                     0,
                     0,
                     {},
                     nullptr,
                     {},
                     OrthoInputs(inputs)};
  if (layout.type == GDT_Unknown || GDALDataTypeIsComplex(layout.type) != 0) {
    pixels.fail("type", "is no type of pixels");
  }
  if (layout.boxSide < leastBoxSide || layout.boxSide > greatestBoxSide ||
      !std::has_single_bit(static_cast<unsigned>(layout.boxSide))) {
    pixels.fail("boxSide", "is no side of a box");
  }
  if (pixels.has("heights")) {
    std::vector<double> const heights = pixels.numbers("heights", 2);
    layout.heights = kes::Surface::HeightRange{heights[0], heights[1]};
  }
  if (!options.flag("isPlaced")) {
    layout.plan.grid.reset();
  }
  for (JsonFields const& strip : fields.objects("strips")) {
    layout.strips.push_back(stripIn(strip, layout));
  }
  return layout;
}

OrthoTiling::Data dataIn(JsonFields const& fields) {
  if (fields.text("format") != formatName) {
    fields.fail("format", "isn't \"" + std::string(formatName) + "\"");
  }
  if (fields.integer("version") != formatVersion) {
    fields.fail("version", "is " + std::to_string(fields.integer("version")) + ", not " +
                               std::to_string(formatVersion) + ": another version of the software made it");
  }
  if (fields.text("software") != KESSENSOR_VERSION) {
    fields.fail("software", "is " + fields.text("software") +
                                ", not " KESSENSOR_VERSION ": only the same version makes the same pixels");
  }
  JsonFields const source = fields.object("source");
  JsonFields const memory = fields.object("memory");
  OrthoTiling::Data data{{}, {}, {}, fields.text("folder"), {}, layoutIn(fields), fields.texts("method"), {}};
  data.source.elevationModel = source.text("elevationModel");
  data.source.vertical = source.text("vertical");
  data.source.map = source.text("map");
  data.memory = {memory.whole("limit"), memory.whole("fixed"), memory.whole("perThread"), memory.whole("imageCache")};
  data.threads = fields.integer("threads");
  data.tileSide = fields.integer("tileSide");
  if (data.threads < 1) {
    fields.fail("threads", "is below 1");
  }
  if (data.tileSide < data.layout.boxSide || data.tileSide % data.layout.boxSide != 0) {
    fields.fail("tileSide", "isn't a multiple of the boxes' side");
  }
  data.tiles = tilesOf(data.layout, data.tileSide);
  requireTiles(fields, data.tiles, data.layout.strips.size());
  return data;
}

}  // namespace

std::string OrthoTiling::Data::path(std::string const& name) const {
  if (name.empty() || fs::path(name).is_absolute()) {
    return name;
  }
  std::error_code ignored;
  std::string const completed = (fs::path(folder) / name).string();
  return fs::exists(completed, ignored) ? completed : name;
}

std::vector<OrthoTile> tilesOf(OrthoLayout const& layout, int tileSide) {
  OrthoGrid const& grid = layout.grid;
  auto const count = [&](int pixels) { return (static_cast<std::int64_t>(pixels) + tileSide - 1) / tileSide; };
  std::int64_t const columns = count(grid.columns());
  std::int64_t const rows = count(grid.rows());
  if (static_cast<double>(columns) * static_cast<double>(rows) > mostTiles) {
    throw std::runtime_error("tiles of " + std::to_string(tileSide) + " pixels to a side are " +
                             std::to_string(columns) + " x " + std::to_string(rows) + ", more than a million");
  }
  std::uint64_t const pixelBytes =
      static_cast<std::uint64_t>(GDALGetDataTypeSizeBytes(layout.type)) * layout.plan.bands.size();
  std::vector<OrthoTile> tiles;
  for (std::int64_t row = 0; row < rows; ++row) {
    for (std::int64_t column = 0; column < columns; ++column) {
      auto const left = static_cast<int>(column * tileSide);
      auto const top = static_cast<int>(row * tileSide);
      PixelBox const box{left, top, std::min(tileSide, grid.columns() - left), std::min(tileSide, grid.rows() - top)};
      OrthoTile tile{left, top, box.columns, box.rows, {}, box.size() * pixelBytes};
      for (std::size_t i = 0; i < layout.strips.size(); ++i) {
        if (layout.strips[i].bands > 0 && common(layout.strips[i].part, box).size() > 0) {
          tile.strips.push_back(i);
        }
      }
      tiles.push_back(std::move(tile));
    }
  }
  return tiles;
}

std::string manifestText(OrthoTiling::Data const& data) {
  QJsonObject const manifest{{"format", formatName},
                             {"version", formatVersion},
                             {"software", KESSENSOR_VERSION},
                             {"folder", text(data.folder)},
                             {"source", sourceOf(data.source)},
                             {"options", optionsOf(data.layout.plan)},
                             {"grid", gridOf(data.layout.grid)},
                             {"pixels", pixelsOf(data.layout)},
                             {"method", texts(data.method)},
                             {"inputs", inputsOf(data.layout.inputs.all())},
                             {"strips", stripsOf(data.layout.strips)},
                             {"threads", data.threads},
                             {"memory", memoryOf(data)},
                             {"tileSide", data.tileSide},
                             {"tiles", tilesOf(data.tiles)}};
  return QJsonDocument(manifest).toJson(QJsonDocument::Indented).toStdString();
}

OrthoTiling::Data parsedManifest(std::string const& fileName) {
  QFile file(text(fileName));
  if (!file.open(QIODevice::ReadOnly)) {
    throw std::runtime_error("can't read " + fileName + ": " + file.errorString().toStdString());
  }
  QByteArray const bytes = file.readAll();
  QJsonParseError error{};
  QJsonDocument const document = QJsonDocument::fromJson(bytes, &error);
  std::string const owner = fileName + " is no plan of an orthophoto: ";
  if (!document.isObject()) {
    throw std::runtime_error(
        owner + (error.error == QJsonParseError::NoError ? "it is no JSON object" : error.errorString().toStdString()));
  }
  OrthoTiling::Data data = [&] {
    try {
      return dataIn(JsonFields(document.object()));
    } catch (std::runtime_error const& reason) {
      throw std::runtime_error(owner + reason.what());
    }
  }();
  data.fileName = fileName;
  data.tileFolder = tileFolderOf(fileName);
  data.id = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
  return data;
}

std::string tileFolderOf(std::string const& manifest) {
  return fs::path(manifest).replace_extension(".tiles").string();
}

}  // namespace kesgdal
