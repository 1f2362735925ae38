#include "common/QtText.h"

#include <geo/XYPoint.h>
