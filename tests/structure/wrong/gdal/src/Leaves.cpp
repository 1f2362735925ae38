#include "../../host/src/Past.h"
#include "Own.h"
