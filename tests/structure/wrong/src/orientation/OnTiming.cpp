#include "timing/Attitude.h"
