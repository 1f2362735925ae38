// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <XmlWriter.h>
#include <geo/coordSys.h>
#include <sensor/CameraFactory.h>
#include <sensor/CameraKes.h>

// Objects that own what can't be shared are handed on by reference; a copy must not compile.

sensor::CameraKes const& handedOn(sensor::CameraKes const& camera) {
  return camera;
}

void useCamera([[maybe_unused]] sensor::CameraKes& camera) {
#ifdef MISUSE_COPY_OF_CAMERA
  sensor::CameraKes const copy(camera);
#else
  sensor::CameraKes const& copy(camera);
#endif
  handedOn(copy);
}

void assignCamera([[maybe_unused]] sensor::CameraKes& camera, sensor::CameraKes const& other) {
#ifdef MISUSE_ASSIGNMENT_OF_CAMERA
  camera = other;
#else
  handedOn(other);
#endif
}

void useFactory() {
#ifdef MISUSE_COPY_OF_FACTORY
  sensor::CameraFactory factory(*sensor::CameraFactory::instance());
#else
  sensor::CameraFactory& factory(*sensor::CameraFactory::instance());
#endif
  factory.addSearchPath("calibrations");
}

#ifdef MISUSE_COPY_OF_WRITER
void endDocument(XmlWriter writer) {
#else
void endDocument(XmlWriter& writer) {
#endif
  writer.writeEndDocument();
}

void end(XmlWriter& writer) {
  endDocument(writer);
}

geo::units const& unitsOf(geo::coordSys const* system) {
#ifdef MISUSE_SYSTEM_BY_VALUE
  geo::coordSys const copy = *system;
  return copy.verticalUnits();
#else
  return system->verticalUnits();
#endif
}
