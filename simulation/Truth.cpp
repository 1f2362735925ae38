// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/CameraHead.h>
#include <simulation/Output.h>
#include <simulation/Truth.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cstddef>

namespace simulation {

namespace {

QString qt(std::string const& text) {
  return QString::fromStdString(text);
}

template <std::size_t Count>
QJsonArray arrayOf(std::array<double, Count> const& values) {
  QJsonArray array;
  for (double const value : values) {
    array.append(value);
  }
  return array;
}

QJsonArray arrayOf(geo::GroundPoint const& point) {
  return {point.x, point.y, point.z};
}

template <class Items, class ToJson>
QJsonArray listOf(Items const& items, ToJson const& toJson) {
  QJsonArray list;
  for (auto const& item : items) {
    list.append(toJson(item));
  }
  return list;
}

QJsonArray nodesOf(std::vector<std::array<double, 3>> const& nodes) {
  return listOf(nodes, [](std::array<double, 3> const& node) { return arrayOf(node); });
}

QJsonObject cameraOf(Truth const& truth) {
  CameraErrors const& errors = truth.strips.front().errors.camera();
  std::vector<std::string> const bands = CameraHead::bandIds();
  QJsonArray lines;
  for (std::size_t i = 0; i < bands.size(); ++i) {
    lines.append(QJsonObject{{"band", qt(bands[i])}, {"correction", arrayOf(errors.lines[i])}});
  }
  return {{"sensorId", qt(truth.recordedCamera)},
          {"trueSensorId", qt(truth.trueCamera)},
          {"boresight", arrayOf(errors.common.boresight)},
          {"leverArm", arrayOf(errors.common.leverArm)},
          {"focalLength", errors.common.focalLength},
          {"principalPoint", arrayOf(errors.common.principalPoint)},
          {"lines", lines}};
}

QJsonObject stripOf(StripTruth const& strip) {
  return {{"name", qt(strip.name)},
          {"strip", qt(strip.files.strip)},
          {"trueStrip", qt(strip.files.trueStrip)},
          {"trueOrientation", qt(strip.files.trueEop)},
          {"timeOffset", strip.errors.timeOffset()},
          {"gnssShift", arrayOf(strip.errors.gnssShift())},
          {"gnssDrift", arrayOf(strip.errors.gnssDrift())},
          {"nodes", QJsonObject{{"start", strip.errors.start()},
                                {"interval", StripErrors::interval},
                                {"position", nodesOf(strip.errors.positions())},
                                {"attitude", nodesOf(strip.errors.attitudes())}}}};
}

QJsonObject groundPointOf(SurveyedPoint const& point) {
  return {{"id", qt(point.truth.id)},
          {"kind", point.isCheck ? "check" : "control"},
          {"position", arrayOf(point.truth)},
          {"surveyed", arrayOf(point.surveyed)},
          {"wrong", point.isWrong}};
}

}  // namespace

void Truth::write(std::string const& folder) const {
  QJsonObject object{{"navigation", qt(navigation)},
                     {"camera", cameraOf(*this)},
                     {"strips", listOf(strips, stripOf)},
                     {"groundPoints", listOf(groundPoints, groundPointOf)},
                     {"tiePoints", listOf(tiePoints,
                                          [](geo::GroundPoint const& point) {
                                            return QJsonObject{{"id", qt(point.id)}, {"position", arrayOf(point)}};
                                          })},
                     {"blunders", listOf(blunders, [](Blunder const& blunder) {
                        return QJsonObject{{"strip", qt(blunder.strip)},
                                           {"band", qt(blunder.band)},
                                           {"id", qt(blunder.id)},
                                           {"shift", QJsonArray{blunder.shift.x, blunder.shift.y}}};
                      })}};
  if (!map.empty()) {
    object["coordinateSystem"] = qt(map);
  }
  QByteArray const text = QJsonDocument(object).toJson(QJsonDocument::Indented);
  writeFile(folder + "/" + fileName, {text.constData(), static_cast<std::size_t>(text.size())});
}

}  // namespace simulation
