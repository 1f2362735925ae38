#pragma once

/// All of the library.

#include <sensor/BlockModelData.h>
#include <sensor/CalibrationDate.h>
#include <sensor/CalibrationGeometry.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationInfo.h>
#include <sensor/CalibrationRadiometry.h>
#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CalibrationRadiometryKesV2.h>
#include <sensor/Camera.h>
#include <sensor/CameraFactory.h>
#include <sensor/CameraKes.h>
#include <sensor/CameraTime.h>
#include <sensor/CtglEntry.h>
#include <sensor/EOP.h>
#include <sensor/EOPData.h>
#include <sensor/FennLegacyLocations.h>
#include <sensor/GroundPointList.h>
#include <sensor/ImagePointList.h>
#include <sensor/IntegrationTime.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <sensor/Misalignment.h>
#include <sensor/Rotation.h>
#include <sensor/ScanlineData.h>
#include <sensor/SensorModelBase.h>
#include <sensor/Serializer.h>
#include <sensor/SerializerCameraKes.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <sensor/SerializerMisalignmentV1Dat.h>
#include <sensor/TdiStage.h>
#include <sensor/TimeQuantity.h>
