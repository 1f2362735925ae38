#include "Command.h"
#include "Numbers.h"
#include "Output.h"
#include "Strip.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>

namespace kes {

namespace {

struct Options {
  StripOptions strip;
  bool images = false;
};

constexpr int valid = 0;
constexpr int notValid = 1;
// An interval between two records of more than this many periods is a gap.
constexpr double longestPeriod = 1.5;

void warn(std::string const& text) {
  std::cout << "warning: " << text << '\n';
}

void checkOrientation(sensor::EOPData const& eop) {
  int outOfOrder = 0;
  int gaps = 0;
  double longest = 0.0;
  double place = 0.0;
  sensor::EOP before;
  sensor::EOP record;
  eop.atIndex(0, before);
  for (int i = 1; i < eop.numSets(); ++i, before = record) {
    eop.atIndex(i, record);
    double const interval = record.gpsTime - before.gpsTime;
    outOfOrder += !(interval > 0.0);
    if (interval * eop.frequency() > longestPeriod) {
      ++gaps;
      place = interval > longest ? before.gpsTime : place;
      longest = std::max(longest, interval);
    }
  }
  if (outOfOrder > 0) {
    warn(std::to_string(outOfOrder) + " orientation records aren't later than the one before them");
  }
  if (gaps > 0) {
    warn(std::to_string(gaps) + " gaps in the orientation, the longest of " + text(longest) + " s behind " +
         text(place) + " s");
  }
}

void checkBand(sensor::KESStripModel const& strip, int band) {
  sensor::KESImage const& image = *strip.img(band);
  TimeSpan const span = spanOf(*strip.eop());
  auto const& times = image.cameraTime()->values();
  auto const outside =
      std::count_if(times.begin(), times.end(), [&](double t) { return !(t >= span.start && t <= span.end); });
  if (outside > 0) {
    warn(image.bandID() + ": " + std::to_string(outside) + " of " + std::to_string(times.size()) +
         " lines lie outside the span of the orientation");
  }
  if (std::adjacent_find(times.begin(), times.end(), std::greater_equal<>()) != times.end()) {
    warn(image.bandID() + ": line times don't rise");
  }
  if (image.tdiData()->maximum() > 1.0F && !(image.integrationTime()->minimum() > 0.0F)) {
    warn(image.bandID() + ": TDI stages without an integration time");
  }
}

int check(Options const& options) {
  options.strip.camera.apply();
  sensor::KESStripModel strip(options.strip.file, false, false, false);
  std::string message;
  if (!strip.modelData()->isDataValid(message, options.images)) {
    std::cout << message << (message.ends_with('\n') ? "" : "\n");
    return notValid;
  }
  strip.loadData(false, false);
  checkOrientation(*strip.eop());
  for (int band = 0; band < strip.numBands(); ++band) {
    checkBand(strip, band);
  }
  std::cout << "valid\n";
  return valid;
}

}  // namespace

void addCheck(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("check", "Tells whether all that a strip names is there, and what is suspicious");
  options->strip.addTo(*command);
  command->add_flag("--images", options->images, "Look for the files of each image, too");
  command->footer("Example: kes check flight/strip.stp --calibrations flight/calibration\n"
                  "Exit code 0: valid, perhaps with warnings; 1: not valid.");
  command->callback([options, &run] { run = [options] { return check(*options); }; });
}

}  // namespace kes
