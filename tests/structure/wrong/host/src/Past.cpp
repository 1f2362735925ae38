#include "model/LineSolver.h"

#include <sensor/Camera.h>
