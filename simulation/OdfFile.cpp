// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/KESOrientation.h>
#include <sensor/odf.h>
#include <simulation/OdfFile.h>
#include <simulation/Output.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace simulation {

namespace {

constexpr char source[] = "simulation";
// The code of angles that are packed to 1e-8 radians.
constexpr int fineAngles = 2;
constexpr int rotationSequence = 0;
constexpr int positionUnits = 0;

// Scales of version 1.0, which are the same in all its files.
constexpr std::int32_t timeScale = 10000;
constexpr std::int32_t positionScale = 1000;
constexpr std::int32_t angularScale = 100000000;
constexpr std::int32_t positionDeviationScale = 100000;
constexpr std::int32_t angularDeviationScale = 10000000;

std::string fieldText(std::string text) {
  constexpr std::size_t longest = 63;
  text.resize(std::min(text.size(), longest));
  std::replace_if(
      text.begin(), text.end(), [](char c) { return std::strchr(" \t\r\n\v\f", c) != nullptr; }, '_');
  return text;
}

void writeCurrentVersion(std::string const& file, OdfHead const& head, std::span<TimedPose const> poses) {
  constexpr int timeKey = 22;
  constexpr int timeDigits = 6;
  constexpr int written = 2;
  sensor::KESOrientation odf;
  odf.setDataSource(source);
  odf.setProjectName(fieldText(head.name));
  odf.setStripName(fieldText(head.name));
  odf.setComments("simulated");
  odf.setPositionUnits(positionUnits);
  odf.setAngularUnits(fineAngles);
  odf.setRotationSequence(rotationSequence);
  odf.setAbsoluteTime(sensor::seconds(head.absoluteTime));
  odf.setAnchorPoint(head.anchor.y, head.anchor.x);
  odf.setPrecision(timeKey, timeDigits);
  auto const count = static_cast<long>(poses.size());
  odf.setNumSets(static_cast<int>(count));
  for (long i = 0; i < count; ++i) {
    TimedPose const& pose = poses[static_cast<std::size_t>(i)];
    auto const time = sensor::seconds(pose.time);
    auto const [omega, phi, kappa] = pose.pose.omegaPhiKappa();
    geo::XYZPoint const& p = pose.pose.position;
    odf.setXYZOPK(i, 1, &time, &p.x, &p.y, &p.z, &omega, &phi, &kappa);
    auto const position = static_cast<float>(head.accuracy.position);
    auto const angle = static_cast<float>(head.accuracy.angle);
    odf.setStdDev(i, 1, &position, &position, &position, &angle, &angle, &angle);
  }
  if (odf.write(file) != written) {
    throw std::runtime_error("can't write " + file);
  }
}

// The whole number in the middle of the range of a quantity.
template <class Quantity>
std::int32_t middle(std::span<TimedPose const> poses, Quantity quantity) {
  auto const [low, high] = std::minmax_element(
      poses.begin(), poses.end(), [&](TimedPose const& a, TimedPose const& b) { return quantity(a) < quantity(b); });
  return static_cast<std::int32_t>(0.5 * (quantity(*low) + quantity(*high)));
}

struct Bases {
  explicit Bases(std::span<TimedPose const> poses)
      : time(middle(poses, [](TimedPose const& p) { return p.time; })),
        x(middle(poses, [](TimedPose const& p) { return p.pose.position.x; })),
        y(middle(poses, [](TimedPose const& p) { return p.pose.position.y; })),
        z(middle(poses, [](TimedPose const& p) { return p.pose.position.z; })) {}

  std::int32_t time;
  std::int32_t x;
  std::int32_t y;
  std::int32_t z;
};

std::int32_t packed(double value, std::int32_t scale) {
  return static_cast<std::int32_t>(std::llround(value * scale));
}

sensor::odf packed(TimedPose const& pose, Bases const& bases, Navigation::Accuracy const& accuracy) {
  auto const position = static_cast<std::uint16_t>(packed(accuracy.position, positionDeviationScale));
  auto const angle = static_cast<std::uint16_t>(packed(accuracy.angle, angularDeviationScale));
  auto const [omega, phi, kappa] = pose.pose.omegaPhiKappa();
  geo::XYZPoint const& p = pose.pose.position;
  return {packed(pose.time - bases.time, timeScale),
          packed(p.x - bases.x, positionScale),
          packed(p.y - bases.y, positionScale),
          packed(p.z - bases.z, positionScale),
          packed(omega, angularScale),
          packed(phi, angularScale),
          packed(kappa, angularScale),
          position,
          position,
          position,
          angle,
          angle,
          angle};
}

// The head is 512 bytes of texts at fixed places, each ended by a zero byte.
std::string oldHead(OdfHead const& head, std::size_t count, Bases const& bases) {
  constexpr std::size_t size = 512;
  std::string bytes(size, '\0');
  auto const place = [&](std::size_t offset, std::string const& text) { bytes.replace(offset, text.size(), text); };
  auto const placeNumber = [&](std::size_t offset, std::int64_t number) { place(offset, std::to_string(number)); };
  place(0, "ODF 1.0");
  place(16, source);
  place(48, fieldText(head.name));
  place(112, fieldText(head.name));
  placeNumber(176, static_cast<std::int64_t>(count));
  placeNumber(192, positionUnits);
  placeNumber(194, positionScale);
  placeNumber(208, fineAngles);
  placeNumber(210, angularScale);
  placeNumber(224, rotationSequence);
  placeNumber(240, head.absoluteTime);
  place(256, "simulated");
  placeNumber(384, bases.time);
  placeNumber(396, timeScale);
  placeNumber(416, bases.x);
  placeNumber(428, positionDeviationScale);
  placeNumber(448, bases.y);
  placeNumber(460, angularDeviationScale);
  placeNumber(480, bases.z);
  return bytes;
}

void writeOldVersion(std::string const& file, OdfHead const& head, std::span<TimedPose const> poses) {
  Bases const bases(poses);
  std::string bytes = oldHead(head, poses.size(), bases);
  for (TimedPose const& pose : poses) {
    sensor::odf const record = packed(pose, bases, head.accuracy);
    bytes.append(reinterpret_cast<char const*>(&record), sizeof record);
  }
  writeFile(file, bytes);
}

}  // namespace

void writeOdf(std::string const& file, OdfHead const& head, std::span<TimedPose const> poses) {
  if (head.version == FlightPlan::oldOdf) {
    writeOldVersion(file, head, poses);
  } else {
    writeCurrentVersion(file, head, poses);
  }
}

}  // namespace simulation
