// Two lines above

#include <sensor/Reader.h>
