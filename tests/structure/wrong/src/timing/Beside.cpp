#include "xmlFileData/Image.h"
