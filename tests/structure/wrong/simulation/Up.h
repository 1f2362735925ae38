#include "../apps/kes/Csv.h"
