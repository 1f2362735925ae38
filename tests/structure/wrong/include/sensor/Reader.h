#include <sensor/Camera.h>
