#include "common/Text.h"

#include <sensor/Reader.h>
