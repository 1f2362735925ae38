// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "raster/PlainFiles.h"

#include <raster/OpenRaster.h>

#include <cpl_error.h>
#include <cpl_minixml.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace raster {
namespace {

/// Of files that hold their own pixels, or leave them to a file beside them.
constexpr std::array<char const*, 20> PLAIN_FORMATS = {
    "GTiff", "NITF", "JP2OpenJPEG", "JP2KAK",  "JP2ECW", "JP2MrSID", "JPEG2000", "JPEG",           "PNG",  "BMP", "PNM",
    "HFA",   "ENVI", "EHdr",        "AAIGrid", "DTED",   "SRTMHGT",  "USGSDEM",  "GRASSASCIIGrid", nullptr};

/// Domains of metadata that GDAL looks up the files of overviews in.
constexpr std::array<char const*, 2> OVERVIEW_DOMAINS = {"OVERVIEWS", "ProxyOverviewRequest"};

[[noreturn]] void refuse(std::string const& reason) {
  throw std::runtime_error(reason);
}

[[noreturn]] void refuseForeignOverviews() {
  refuse("it refers to overviews in another file");
}

bool isStream(std::filesystem::file_status const& status) {
  return std::filesystem::is_fifo(status) || std::filesystem::is_character_file(status) ||
         std::filesystem::is_socket(status);
}

std::filesystem::file_status statusOf(std::string const& name) {
  std::error_code ignored;
  return std::filesystem::status(name, ignored);
}

/// Why GDAL couldn't open that name, without the name in front.
std::string reasonFor(std::string const& name) {
  std::string const text = lastGdalError();
  return text.starts_with(name + ": ") ? text.substr(name.size() + 2) : text;
}

Dataset openAs(std::string const& gdalName, std::string const& name, char const* const* formats) {
  constexpr unsigned FLAGS = GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR;
  Dataset dataset(GDALDataset::Open(gdalName.c_str(), FLAGS, formats));
  if (!dataset) {
    refuse(reasonFor(name));
  }
  return dataset;
}

/// Whether a name is one of GDAL's for something else than a file: a virtual file system, a document, or a format or a
/// protocol with a colon after it.
bool isConnection(std::string_view name) {
  auto const word = std::find_if_not(name.begin(), name.end(),
                                     [](unsigned char c) { return std::isalnum(c) != 0 || c == '_' || c == '-'; });
  return name.starts_with("/vsi") || name.starts_with('<') || (word != name.end() && *word == ':');
}

bool isOverviewDomain(char const* name) {
  return std::any_of(OVERVIEW_DOMAINS.begin(), OVERVIEW_DOMAINS.end(),
                     [&](char const* domain) { return EQUAL(name, domain); });
}

/// Some formats look for overviews as they open.
void refuseForeignOverviewsIn(std::string const& auxiliaryDocument) {
  CPLXMLTreeCloser const document(CPLParseXMLFile(auxiliaryDocument.c_str()));
  CPLXMLNode const* const root = document ? CPLGetXMLNode(document.get(), "=PAMDataset") : nullptr;
  for (CPLXMLNode const* node = root != nullptr ? root->psChild : nullptr; node != nullptr; node = node->psNext) {
    if (isOverviewDomain(CPLGetXMLValue(node, "domain", ""))) {
      refuseForeignOverviews();
    }
  }
}

/// The path with the links and dots of its folder resolved. Other files are looked for beside the name that was given.
std::string absolutePath(std::string const& name) {
  std::filesystem::path const path(name);
  std::error_code ignored;
  return std::filesystem::weakly_canonical(std::filesystem::absolute(path).parent_path(), ignored) / path.filename();
}

Dataset openPlainFile(std::string const& name) {
  if (isConnection(name)) {
    refuse("only plain files may be named by a file");
  }
  std::filesystem::file_status const status = statusOf(name);
  if (!std::filesystem::exists(status)) {
    refuse("No such file or directory");
  }
  if (!std::filesystem::is_regular_file(status)) {
    refuse(isStream(status) ? "it is a pipe or a device" : "it isn't a plain file");
  }
  std::string const path = absolutePath(name);
  std::string const gdalName = plainFileName(path);
  refuseForeignOverviewsIn(gdalName + ".aux.xml");
  Dataset dataset = openAs(gdalName, path, PLAIN_FORMATS.data());
  for (char const* const domain : OVERVIEW_DOMAINS) {
    if (dataset->GetMetadata(domain) != nullptr) {
      refuseForeignOverviews();
    }
  }
  return dataset;
}

Dataset openAnything(std::string const& name) {
  if (isStream(statusOf(name))) {
    refuse("it is a pipe or a device");
  }
  return openAs(name, name, nullptr);
}

}  // namespace

void DatasetCloser::operator()(GDALDataset* dataset) const {
  GDALClose(dataset);
}

Dataset openRaster(std::string const& name, util::Origin origin) {
  GDALAllRegister();
  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  CPLErrorReset();
  return origin == util::Origin::file ? openPlainFile(name) : openAnything(name);
}

}  // namespace raster
