#include "MapDefinition.h"

#include "GdalErrors.h"

#include <geo/coordSys.h>

#include <QDomDocument>
#include <QDomElement>

namespace kesgdal {

std::string definitionOf(geo::coordSys const& system) {
  QDomDocument document;
  QDomElement const element = system.toXml(document);
  return element.attribute(QStringLiteral("definition")).toStdString();
}

OGRSpatialReference spatialReferenceOf(geo::coordSys const& system) {
  GdalErrors const quiet;
  OGRSpatialReference reference;
  if (reference.SetFromUserInput(definitionOf(system).c_str()) != OGRERR_NONE) {
    reference.Clear();
  }
  reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  return reference;
}

}  // namespace kesgdal
