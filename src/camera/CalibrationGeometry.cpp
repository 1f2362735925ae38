#include <sensor/CalibrationGeometry.h>

namespace sensor {

CalibrationGeometry::CalibrationGeometry() = default;

CalibrationGeometry::~CalibrationGeometry() = default;

}  // namespace sensor
