#include <sensor/Reader.h>

namespace sensor {

class File;
class Sensor;

class Camera {
public:
  Sensor const& sensor() const;

private:
  void read(File& file);  // a File of its Sensor
};

}  // namespace sensor
