#include <sensor/Reader.h>
