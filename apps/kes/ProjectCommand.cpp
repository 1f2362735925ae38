#include "Closure.h"
#include "Command.h"
#include "Csv.h"
#include "Numbers.h"
#include "Strip.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

namespace kes {

namespace {

struct Options {
  StripOptions strip;
  std::string band;
  std::string to;
  std::string frame = "lsr";
  std::string solver = "point";
  std::string orientation = "adjusted";
  std::optional<float> tdi;
  bool verify = false;
  std::string points;
};

// Rows that are read, projected and printed together. A run of points is one block: each point helps the next.
constexpr std::size_t blockSize = 65536;

// A column of the output that takes the place of one of the same name, or comes behind all others.
class OutputColumns {
public:
  OutputColumns(std::vector<std::string> columns, std::vector<std::string> const& added) : mNames(std::move(columns)) {
    for (std::string const& name : added) {
      auto const found = std::find(mNames.begin(), mNames.end(), name);
      mIndices.push_back(static_cast<std::size_t>(found - mNames.begin()));
      if (found == mNames.end()) {
        mNames.push_back(name);
      }
    }
  }

  std::vector<std::string> const& names() const { return mNames; }

  void fill(std::vector<std::string>& row, std::vector<std::string> const& values) const {
    row.resize(mNames.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      row[mIndices[i]] = values[i];
    }
  }

private:
  std::vector<std::string> mNames;
  std::vector<std::size_t> mIndices;
};

class Projection {
public:
  Projection(Options const& options, std::istream& in, std::string const& inputName)
      : mOptions(options), mStrip(options.strip.file, true, options.orientation == "original", false),
        mBand(bandIndex(mStrip, options.band)), mToGround(options.to == "ground"), mReader(in, inputName),
        mColumns(inputColumns()), mOutput(mReader.columns(), addedColumns()) {}

  void run() {
    std::string text;
    appendCsvLine(text, mOutput.names());
    std::size_t const rows = mOptions.solver == "run" ? SIZE_MAX : blockSize;
    while (readBlock(rows)) {
      mToGround ? projectToGround() : projectToImage();
      appendBlock(text);
      std::cout << text;
      text.clear();
    }
    std::cout << text;
  }

private:
  std::vector<std::size_t> inputColumns() const {
    if (mToGround) {
      return {mReader.column("sample"), mReader.column("line"), mReader.column("height")};
    }
    return {mReader.column("x"), mReader.column("y"), mReader.column("z")};
  }

  std::vector<std::string> addedColumns() const {
    std::vector<std::string> added =
        mToGround ? std::vector<std::string>{"x", "y", "z"} : std::vector<std::string>{"sample", "line"};
    if (mOptions.verify) {
      added.insert(added.end(), {"closure", "status"});
    }
    return added;
  }

  bool readBlock(std::size_t rows) {
    mRows.clear();
    mImage.clear();
    mGround.clear();
    while (mRows.size() < rows && mReader.next()) {
      double const a = mReader.number(mColumns[0]);
      double const b = mReader.number(mColumns[1]);
      double const c = mReader.number(mColumns[2]);
      mRows.push_back(mReader.fields());
      mImage.push_back(mToGround ? geo::XYPoint(a, b) : geo::XYPoint());
      mGround.push_back(mToGround ? geo::XYZPoint(0.0, 0.0, c) : geo::XYZPoint(a, b, c));
    }
    return !mRows.empty();
  }

  void projectToGround() {
    for (std::size_t i = 0; i < mRows.size(); ++i) {
      auto const height = static_cast<float>(mGround[i].z);
      if (mOptions.tdi) {
        mStrip.imageToLsr(mImage[i], height, mBand, *mOptions.tdi, mGround[i]);
      } else {
        mStrip.imageToLsr(mImage[i], height, mBand, mGround[i]);
      }
    }
  }

  void projectToImage() {
    if (mOptions.solver == "run") {
      mStrip.lsrToImage(mGround, mBand, mImage);
      return;
    }
    for (std::size_t i = 0; i < mRows.size(); ++i) {
      mStrip.lsrToImage(mGround[i], mBand, mImage[i]);
    }
  }

  void appendBlock(std::string& text) {
    for (std::size_t i = 0; i < mRows.size(); ++i) {
      mOutput.fill(mRows[i], results(i));
      appendCsvLine(text, mRows[i]);
    }
  }

  std::vector<std::string> results(std::size_t i) const {
    geo::XYPoint const& image = mImage[i];
    geo::XYZPoint const& ground = mGround[i];
    std::vector<std::string> values =
        mToGround ? std::vector<std::string>{kes::text(ground.x), kes::text(ground.y), kes::text(ground.z)}
                  : std::vector<std::string>{kes::text(image.x), kes::text(image.y)};
    if (mOptions.verify) {
      double const closure = closureOf(i);
      values.push_back(kes::text(closure));
      values.push_back(status(image, closure));
    }
    return values;
  }

  double closureOf(std::size_t i) const {
    geo::XYPoint image = mImage[i];
    if (mToGround) {
      mStrip.lsrToImage(mGround[i], mBand, image);
    }
    return groundClosure(mStrip, mBand, image, mGround[i]);
  }

  std::string status(geo::XYPoint const& image, double closure) const {
    if (!(closure <= groundTolerance(mStrip, mBand))) {
      return "unsolved";
    }
    return isInside(mStrip, mBand, image) ? "ok" : "outside";
  }

  Options const& mOptions;
  sensor::KESStripModel mStrip;
  int mBand;
  bool mToGround;
  CsvReader mReader;
  std::vector<std::size_t> mColumns;
  OutputColumns mOutput;
  std::vector<std::vector<std::string>> mRows;
  std::vector<geo::XYPoint> mImage;
  std::vector<geo::XYZPoint> mGround;
};

int project(Options const& options) {
  options.strip.camera.apply();
  if (options.points.empty() || options.points == "-") {
    Projection(options, std::cin, "standard input").run();
    return 0;
  }
  std::ifstream file(options.points, std::ios::binary);
  if (!file) {
    throw std::runtime_error("can't open " + options.points);
  }
  Projection(options, file, options.points).run();
  return 0;
}

}  // namespace

void addProject(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("project", "Projects points between an image and the ground");
  options->strip.addTo(*command);
  command->add_option("POINTS", options->points, "CSV file; standard input without one");
  command->add_option("--band", options->band, "Band id, such as PANN00A")->type_name("ID")->required();
  command->add_option("--to", options->to, "ground: from sample,line,height; image: from x,y,z")
      ->required()
      ->check(CLI::IsMember({"ground", "image"}));
  command
      ->add_option("--frame", options->frame, "Frame of ground positions; lsr: east, north, up at the anchor, metres")
      ->capture_default_str()
      ->check(CLI::IsMember({"lsr"}));
  command
      ->add_option("--solver", options->solver, "To the image: each point by itself, or all as one run of neighbours")
      ->capture_default_str()
      ->check(CLI::IsMember({"point", "run"}));
  CLI::Option* tdi =
      command->add_option("--tdi", options->tdi, "To the ground: number of TDI stages, in place of the image's own");
  command->add_option("--orientation", options->orientation, "Which orientation of the strip to use")
      ->capture_default_str()
      ->check(CLI::IsMember({"adjusted", "original"}));
  command
      ->add_flag("--verify", options->verify, "Project back, and add the closure in metres on the ground and a status")
      ->excludes(tdi);
  command->footer("Results take the place of columns of the same name, or come behind the others.\n"
                  "Example: kes project flight/strip.stp --calibrations flight/calibration --band PANF27A --to ground "
                  "--verify points.csv");
  command->callback([options, &run] {
    if (options->tdi && options->to == "image") {
      throw CLI::ValidationError("--tdi", "goes with --to ground");
    }
    run = [options] { return project(*options); };
  });
}

}  // namespace kes
