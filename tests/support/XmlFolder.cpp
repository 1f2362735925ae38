// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/XmlFolder.h"

#include <gtest/gtest.h>

namespace test {

namespace {

constexpr char const* declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr char const* system = "<System Type=\"HDB00\">"
                               "<SystemInfo Component=\"SensorHead\" SerialNo=\"1\" Revision=\"A\" ArticleNo=\"2\"/>"
                               "<SystemInfo Component=\"LensSystem\" SerialNo=\"3\" Revision=\"B\" ArticleNo=\"4\"/>"
                               "</System>\n";

std::string creation(std::string const& dateTime) {
  return "<Creation Name=\"Somebody\" Location=\"Works\" Environment=\"Bench\" Remark=\"first\"><DateTime " + dateTime +
         "/></Creation>\n";
}

constexpr char const* geometryBody =
    "<LensSystem PrincipalDistance_mm=\"62.5\" SigmaPrincipalDistance_mm=\"0.0005\"/>\n"
    "<Misalignment_deg Omega=\"0.1\" SigmaOmega=\"0.4\" Phi=\"-0.2\" SigmaPhi=\"0.5\" Kappa=\"0.3\" "
    "SigmaKappa=\"0.6\"/>\n"
    "<Sensors>\n"
    "<Sensor i=\"4\"><Sensor Type=\"Line\" Structure=\"Mono\" PixelSize_mm=\"0.0065\" Rows=\"1\" Columns=\"3\"/>"
    "<DistortionGrid Channel=\"PANF\" Columns=\"3\"><GridRow i=\"0\">"
    "<Row_mm>1.50000 1.25000 1.00000</Row_mm><Column_mm>-0.00650 0.00025 0.00700</Column_mm>"
    "<SigmaRow_mm>0.00001 0.00002 0.00003</SigmaRow_mm><SigmaColumn_mm>0.00004 0.00005 0.00006</SigmaColumn_mm>"
    "</GridRow></DistortionGrid></Sensor>\n"
    "<Sensor i=\"7\"><Sensor Type=\"Pair\" Structure=\"Bayer\" PixelSize_mm=\"0.0130\" Rows=\"2\" Columns=\"6\"/>"
    "<DistortionGrid Channel=\"BLUE\" Columns=\"2\"><GridRow i=\"0\">"
    "<Row_mm>-3 -2.5</Row_mm><Column_mm>0.026 -0.026</Column_mm>"
    "<SigmaRow_mm>0 0</SigmaRow_mm><SigmaColumn_mm>0 0</SigmaColumn_mm>"
    "</GridRow></DistortionGrid></Sensor>\n"
    "</Sensors>\n";

constexpr char const* settings =
    "<Adc><ClampLevel Enable=\"ON\" Value=\"240\"/></Adc>\n"
    "<CCDType i=\"2\"/>\n"
    "<BoardIds><Id Name=\"FPM\" Value=\"18446744073709551615\"/></BoardIds>\n"
    "<Preview><ColorGain Red=\"1.2\" Green=\"1.3\" Blue=\"1.4\"/></Preview>\n"
    "<Voltages><Voltage Name=\"VOD\" Value=\"15.5\"/>"
    "<MultiTDI><Type>Forward</Type><Voltage Name=\"VNS\" Value=\"-4.25\"/></MultiTDI>"
    "<MultiTDI><Type>nadir</Type><Voltage Name=\"VNS\" Value=\"-4.5\"/><Voltage Name=\"VPS\" Value=\"3.5\"/></MultiTDI>"
    "<MultiTDI><Type>Backward</Type><Voltage Name=\"VNS\" Value=\"-4.75\"/></MultiTDI></Voltages>\n";

// Images: 1.0 and 0.5 as little-endian floats are the bytes 0000803F and 0000003F.
constexpr char const* sensors =
    "<Sensors>\n"
    "<Sensor i=\"4\" Disabled=\"1\"><Type>Line_panf27</Type><Limit Value=\"9500\"/><RadiometricGain Value=\"0.8\"/>"
    "<ImagingPixels Value=\"2\"/><Brightness Value=\"0.5\" it=\"2.5\"/><WaveLengthRange Width=\"210\" Center=\"560\"/>"
    "<DSNU Upper=\"400\" Lower=\"20\"/><PRNU Width=\"1\" Height=\"1\" Data=\"AACAPw==\"/>"
    "<Lookups><Lookup ColumnStart=\"2\" Columns=\"1\"><in>0 10</in><out>0 11</out></Lookup>"
    "<Lookup ColumnStart=\"0\" Columns=\"2\"><in>0 5 5 9</in><out>1 6 7 10</out></Lookup></Lookups></Sensor>\n"
    "<Sensor i=\"7\"><Type>BLUE</Type><RadiometricGain Value=\"1.25\"/><ImagingPixels Value=\"4\"/>"
    "<WaveLengthRange Width=\"60\" Center=\"450\"/><DSNU Upper=\"300\" Lower=\"10\"/>"
    "<PRNU Width=\"2\" Data=\"AACAPwAAAD8=\"/>"
    "<Lookups><Lookup ColumnStart=\"0\" Columns=\"3\"><in>1</in><out>2</out></Lookup>"
    "<Lookup ColumnStart=\"3\" Columns=\"2\"><in>3</in><out>4</out></Lookup></Lookups></Sensor>\n"
    "</Sensors>\n";

// PANF: 1, 0.5, 2. BLUE: 1, 0.5, 1, 0.5, 1 and then 0.5 five times.
constexpr char const* factors =
    "<Sensors>\n"
    "<Sensor i=\"4\"><Type>panf</Type><PRNU Width=\"3\" Data=\"AACAPwAAAD8AAABA\"/></Sensor>\n"
    "<Sensor i=\"7\"><Type>BLUE</Type><PRNU Width=\"5\" Height=\"2\" "
    "Data=\"AACAPwAAAD8AAIA/AAAAPwAAgD8AAAA/AAAAPwAAAD8AAAA/AAAAPw==\"/></Sensor>\n"
    "</Sensors>\n";

// PANF: 1, 2, 259. BLUE: 1 to 5 and 6 to 10.
constexpr char const* offsets =
    "<Sensors>\n"
    "<Sensor i=\"4\"><Type>PANF</Type><DSNU Width=\"3\" Data=\"AQACAAMB\"/></Sensor>\n"
    "<Sensor i=\"7\"><Type>blue</Type><DSNU Width=\"5\" Height=\"2\" Data=\"AQACAAMABAAFAAYABwAIAAkACgA=\"/></Sensor>\n"
    "</Sensors>\n";

std::string file(std::string const& root, std::string const& dateTime, std::string const& body) {
  return declaration + ("<" + root + " Version=\"1.0.7\">\n") + system + creation(dateTime) + body + "</" + root +
         ">\n";
}

}  // namespace

XmlFolder::XmlFolder()
    : geometry(
          file("DigitalSensorHeadInteriorOrientation", "Type=\"UTC\" Date=\"20100312\" Time=\"141530\"", geometryBody)),
      sensor(file("SensorData", "Type=\"UTC\" Date=\"20100313\" Time=\"010203\"", std::string(settings) + sensors)),
      prnu(file("PrnuData", "Type=\"utc\" Date=\"20100115\" Time=\"091500\"", factors)),
      dsnu(file("DsnuData", "Type=\"UTC\" Date=\"20100316\" Time=\"101600\"", offsets)) {}

std::string XmlFolder::write(TempFolder const& folder, std::string const& name) const {
  folder.file(name + "/" + geometryName, geometry);
  folder.file(name + "/" + sensorName, sensor);
  folder.file(name + "/" + prnuName, prnu);
  folder.file(name + "/" + dsnuName, dsnu);
  return folder / name;
}

std::string with(std::string text, std::string_view from, std::string_view to) {
  auto const at = text.find(from);
  if (at == std::string::npos) {
    ADD_FAILURE() << "no \"" << from << '"';
    return text;
  }
  return text.replace(at, from.size(), to);
}

}  // namespace test
