#include <kes/Strip.h>
#include <kesgdal/Orthophoto.h>
#include <simulation/Flight.h>

#include <vector>
