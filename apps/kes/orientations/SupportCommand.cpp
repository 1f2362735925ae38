// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "orientations/SupportText.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Opening.h"
#include "shared/Options.h"
#include "shared/Output.h"

#include <kes/Strip.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>

#include <cctype>
#include <charconv>
#include <files/WorkFolder.h>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  StripOptions strip;
  std::string band;
  std::string out;
  std::string original;
  std::string adjusted;
};

// GROUND_ZERO is "ground zero" in a listing and "groundZero" in JSON.
std::string listingName(std::string keyword) {
  for (char& c : keyword) {
    c = c == '_' ? ' ' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return keyword;
}

std::string jsonName(std::string const& keyword) {
  std::string result;
  bool capital = false;
  for (char const c : listingName(keyword)) {
    if (c != ' ') {
      result += capital ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
    }
    capital = c == ' ';
  }
  return result;
}

// A whole number stays one; null when the word is no number.
Json numberOf(std::string const& word, double factor) {
  std::int64_t whole = 0;
  auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), whole);
  if (error == std::errc() && end == word.data() + word.size()) {
    return whole;
  }
  auto const number = finiteNumber(word);
  return number ? Json(*number * factor) : Json();
}

// A number, an array of numbers, or a text.
Json valueOf(SupportEntry const& entry) {
  if (entry.isQuoted) {
    return entry.value;
  }
  SupportKeyword const* const keyword = supportKeyword(entry.keyword);
  double const factor = keyword == nullptr ? 1.0 : keyword->factor;
  Json numbers = Json::array();
  std::istringstream words(entry.value);
  for (std::string word; words >> word;) {
    numbers.push_back(numberOf(word, factor));
    if (numbers.back().is_null()) {
      return entry.value;
    }
  }
  if (numbers.empty()) {
    return entry.value;
  }
  return numbers.size() == 1 ? numbers.front() : numbers;
}

std::string textOf(Json const& value) {
  if (value.is_string()) {
    return value.get<std::string>();
  }
  if (!value.is_array()) {
    return value.is_number_integer() ? std::to_string(value.get<std::int64_t>()) : text(value.get<double>());
  }
  std::string result;
  for (Json const& number : value) {
    result += (result.empty() ? "" : ", ") + textOf(number);
  }
  return result;
}

void printText(std::vector<SupportEntry> const& entries) {
  Listing listing;
  for (SupportEntry const& entry : entries) {
    SupportKeyword const* const keyword = supportKeyword(entry.keyword);
    std::string const unit = keyword == nullptr ? "" : keyword->unit;
    listing.add(listingName(entry.keyword), textOf(valueOf(entry)) + (unit.empty() ? "" : " " + unit));
  }
  listing.print();
}

int info(std::string const& file, bool asJson) {
  std::vector<SupportEntry> const entries = readSupportFile(file);
  if (!asJson) {
    printText(entries);
    return 0;
  }
  Json description{{"file", file}};
  for (SupportEntry const& entry : entries) {
    description[jsonName(entry.keyword)] = valueOf(entry);
  }
  print(description);
  return 0;
}

// Whoever reads a support file word by word doesn't see what follows a blank.
void warnOfBlanks(std::string const& name) {
  if (name.find(' ') != std::string::npos) {
    std::cerr << "kes: warning: an import reads the name only up to its blank: " << name << '\n';
  }
}

// A disk may have been full: the export doesn't report it.
bool isWhole(std::string const& file) {
  try {
    return isComplete(readSupportFile(file));
  } catch (std::runtime_error const&) {
    return false;
  }
}

// Everything is of the original orientation, the image's own ground sampling distance too.
int exportFile(Options const& options) {
  kes::Strip const strip = openStrip(options.strip.file, options.strip.camera.opening(kes::Orientation::original));
  InputGuard const output(options.out);
  output.check(options.strip.camera.settings);
  output.check(strip);
  sensor::KESImage& image = *strip.model().img(strip.band(options.band).index());
  warnOfBlanks(options.original);
  warnOfBlanks(options.adjusted);
  files::WorkFolder const work(options.out);
  std::string const file = work / "band.sup";
  if (!image.exportSupportFile(file, options.original, options.adjusted) || !isWhole(file)) {
    throw std::runtime_error("can't write " + options.out);
  }
  work.moveOut("band.sup");
  return 0;
}

void addExport(CLI::App& support, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = support.add_subcommand("export", "Writes the support file of a band's image");
  options->strip.addTo(*command);
  command->add_option("OUT", options->out, "File to write")->required();
  command->add_option("--band", options->band, "Band id, such as PANN00A")->type_name("ID")->required();
  command
      ->add_option("--original", options->original,
                   "Name of the original orientation file of the band, as its reader will look for it")
      ->type_name("FILE");
  command->add_option("--adjusted", options->adjusted, "Name of the adjusted one")->type_name("FILE");
  command->footer("Example: kes support export flight/strip.stp PANN00A.sup --band PANN00A --original "
                  "flight/odf/PANN00A.odf --calibrations flight/calibration");
  command->callback([options, &run] { run = [options] { return exportFile(*options); }; });
}

void addSupportInfo(CLI::App& support, Run& run) {
  struct InfoOptions {
    std::string file;
    bool json = false;
  };
  auto const options = std::make_shared<InfoOptions>();
  CLI::App* command = support.add_subcommand("info", "Prints the entries of a support file");
  command->add_option("FILE", options->file, "Support file")->required();
  command->add_flag("--json", options->json, "As JSON; angles in degrees, lengths in metres");
  command->footer("Example: kes support info PANN00A.sup --json");
  command->callback([options, &run] { run = [options] { return info(options->file, options->json); }; });
}

}  // namespace

void addSupport(CLI::App& app, Run& run) {
  CLI::App* support = app.add_subcommand("support", "Writes and describes support files");
  support->require_subcommand(1);
  support->footer("Example: kes support info PANN00A.sup");
  addExport(*support, run);
  addSupportInfo(*support, run);
}

}  // namespace tool
