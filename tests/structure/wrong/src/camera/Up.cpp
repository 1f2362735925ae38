#include "serializer/CamReader.h"
