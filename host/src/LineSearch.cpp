#include "LineSearch.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace kes::detail {

namespace {

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

constexpr int LINES_PER_NODE = 16;
constexpr int GUESSES = 8;
constexpr int FREE_PASSES = 16;  // until halving takes turns with the other steps
constexpr int LINES_PER_OVERLAP = 64;
// A stretch in which the view goes ahead by less than this part of its mean speed counts as one that may go back.
constexpr double LEAST_PROGRESS = 0.1;
// The secant's last correction is at most as long, in lines, less where the view hardly moves; what bends within a piece
// is a thousandth of it at most.
constexpr double LAST_STEP = 1e-4;
constexpr int REFINEMENTS = 100;
// Of the depth down to which overlaps are known: positions nearer to the camera are measured as if they were there.
constexpr double LEAST_DEPTH = 1e-3;

// The nearest number of a range; a NaN stays.
double limited(double value, double least, double greatest) {
  return value < least ? least : value > greatest ? greatest : value;
}

geo::XYZPoint atDepth(Pose const& pose, geo::XYZPoint const& ray, double depth) {
  double const s = -depth / ray.z;
  return {pose.centre.x + s * ray.x, pose.centre.y + s * ray.y, pose.centre.z - depth};
}

}  // namespace

LineSearch::Memory::Ends const& LineSearch::Memory::ends(ViewChain const& chain, Piece const& piece) {
  Ends& kept = mEnds[(piece.interval + piece.record) % size];
  if (!kept.isKnown || kept.piece.interval != piece.interval || kept.piece.record != piece.record) {
    kept = {piece, chain.pose(piece, piece.first), chain.pose(piece, piece.last), true};
  }
  return kept;
}

LineSearch::LineSearch(ViewChain const& chain) : mChain(chain) {
  if (!chain.isEmpty()) {
    makeNodes();
    findOverlaps();
  }
}

// The tangents of a ray, ahead and across.
LineSearch::Look LineSearch::look(Pose const& pose, double sample) const {
  geo::XYZPoint const ray = mChain.ray(pose, sample);
  return {(mCosine * ray.x + mSine * ray.y) / -ray.z, (mCosine * ray.y - mSine * ray.x) / -ray.z};
}

void LineSearch::makeNodes() {
  double const firstLine = mChain.lines().firstLine();
  double const lastLine = mChain.lines().lastLine();
  Pose const first = mChain.pose(mChain.pieceAt(firstLine), firstLine);
  Pose const last = mChain.pose(mChain.pieceAt(lastLine), lastLine);
  double const dx = last.centre.x - first.centre.x;
  double const dy = last.centre.y - first.centre.y;
  double const length = std::hypot(dx, dy);
  mCosine = dx / length;
  mSine = dy / length;
  mSpeed = length / (lastLine - firstLine);
  double const lastSample = mChain.sensorLine().samples() - 1.0;
  double forward = 0.0;
  for (double line = firstLine; line <= lastLine; line += LINES_PER_NODE) {
    Pose const pose = mChain.pose(mChain.pieceAt(line), line);
    forward += mCosine * pose.along.x + mSine * pose.along.y;
    Look const left = look(pose, 0.0);
    Look const middle = look(pose, 0.5 * lastSample);
    Look const right = look(pose, lastSample);
    double const a = left.across - middle.across;
    double const b = right.across - middle.across;
    double const atA = (left.ahead - middle.ahead) / a;
    double const atB = (right.ahead - middle.ahead) / b;
    double const bow = (atA - atB) / (a - b);
    mNodes.push_back({mCosine * pose.centre.x + mSine * pose.centre.y, mCosine * pose.centre.y - mSine * pose.centre.x,
                      pose.centre.z, middle.ahead, middle.across, atA - bow * a, bow,
                      std::fmax(std::fabs(a), std::fabs(b))});
  }
  mForward = forward < 0.0 ? -1.0 : 1.0;
}

// The progress of the view over the ground from piece to piece, in lines at the mean speed, for three rays.
void LineSearch::findOverlaps() {
  LineTable const& table = mChain.lines();
  double const lastSample = mChain.sensorLine().samples() - 1.0;
  mDepth = 2.0 * mChain.usualDepth();
  double const linesPerUnit = mForward * mDepth / (mChain.focalLength() * mSpeed);
  mOverlaps.assign(table.size() / LINES_PER_OVERLAP + 1, 0.0);
  std::vector<double> lines;
  for (double const sample : {0.0, 0.5 * lastSample, lastSample}) {
    std::vector<double> progress;
    lines.clear();
    double sum = 0.0;
    Piece piece = mChain.pieceAt(table.firstLine());
    Pose first = mChain.pose(piece, piece.first);
    for (;;) {
      Pose const last = mChain.pose(piece, piece.last);
      bool const isEnd = !(piece.last < table.lastLine());
      Piece const next = isEnd ? piece : mChain.next(piece);
      Pose const start = isEnd ? last : mChain.pose(next, next.first);
      geo::XYZPoint const seen = atDepth(first, mChain.ray(first, sample), mDepth);
      // What is seen at the beginning of a piece falls behind the sensor line at its end, and in a step between two pieces.
      auto const behind = [&](Pose const& pose) {
        ViewChain::Sight const sight = mChain.sight(pose, seen);
        return (mChain.sensorLine().at(sight.focal.y).x - sight.focal.x) * linesPerUnit;
      };
      lines.push_back(piece.first);
      progress.push_back(sum - LEAST_PROGRESS * piece.first);
      lines.push_back(piece.last);
      progress.push_back(sum + behind(last) - LEAST_PROGRESS * piece.last);
      sum += behind(start);
      if (isEnd) {
        break;
      }
      piece = next;
      first = start;
    }
    addOverlap(lines, progress);
  }
}

// For each place, how far before it the view was as far ahead already.
void LineSearch::addOverlap(std::vector<double> const& lines, std::vector<double> const& progress) {
  std::vector<double> greatest;
  double most = -INFINITE;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    double const p = std::isnan(progress[i]) ? -INFINITE : progress[i];
    if (most > p || std::isnan(progress[i])) {
      auto const since = std::upper_bound(greatest.begin(), greatest.end(), p) - greatest.begin();
      std::size_t const stretch = mChain.lines().intervalOf(lines[i]) / LINES_PER_OVERLAP;
      mOverlaps[stretch] = std::fmax(mOverlaps[stretch], lines[i] - lines[static_cast<std::size_t>(since)] + 1.0);
    }
    most = std::fmax(most, p);
    greatest.push_back(most);
  }
}

double LineSearch::overlapBefore(double line) const {
  std::size_t const stretch = mChain.lines().intervalOf(line) / LINES_PER_OVERLAP;
  return mOverlaps[stretch];
}

class LineSearch::Task {
public:
  Task(LineSearch const& search, geo::XYZPoint const& ground, Memory& memory)
      : mSearch(search), mChain(search.mChain), mGround(ground), mMemory(memory) {}

  Found run();

private:
  struct Ends {
    double first;
    double last;
  };
  static bool crosses(Ends const& ends) { return (ends.first > 0.0) != (ends.last > 0.0); }

  double guess();
  double ahead(Pose const& pose, double& y) const;
  double aheadAtFirst(Piece const& piece);
  double aheadAtLast(Piece const& piece);
  double clamped(double line) const;
  bool findPassage(double line, Piece& piece);
  bool firstFrom(double line, Piece const& last, Piece& piece, bool& atStep);
  Found solve(Piece const& piece);
  Found at(Piece const& piece, double line, double y) const;
  Found nothing() const { return {NAN_VALUE, NAN_VALUE, NAN_VALUE, mPasses, false}; }

  LineSearch const& mSearch;
  ViewChain const& mChain;
  geo::XYZPoint const& mGround;
  Memory& mMemory;
  double mLinesPerUnit = 0.0;
  double mDepth = 0.0;
  int mPasses = 0;
};

double LineSearch::Task::clamped(double line) const {
  return limited(line, mChain.lines().firstLine(), mChain.lines().lastLine());
}

// From node to node of the coarse table, until one is near the line that it points to.
double LineSearch::Task::guess() {
  double const along = mSearch.mCosine * mGround.x + mSearch.mSine * mGround.y;
  double const across = mSearch.mCosine * mGround.y - mSearch.mSine * mGround.x;
  double const first = mChain.lines().firstLine();
  auto const last = static_cast<double>(mSearch.mNodes.size() - 1);
  double line = first + (along - mSearch.mNodes.front().along) / mSearch.mSpeed;
  double known = INFINITE;
  for (int i = 0; i < GUESSES; ++i) {
    double const place = limited((line - first) / LINES_PER_NODE + 0.5, 0.0, last);
    if (!(place >= 0.0)) {
      return NAN_VALUE;
    }
    auto const index = static_cast<double>(static_cast<std::int64_t>(place));
    if (index == known) {
      break;
    }
    known = index;
    Node const& node = mSearch.mNodes[static_cast<std::size_t>(index)];
    mDepth = node.height - mGround.z;
    double const depth = std::fmax(mDepth, LEAST_DEPTH * mSearch.mDepth);
    double const d = limited((across - node.across) / depth - node.tangent, -node.reach, node.reach);
    double const view = node.along + mDepth * (node.ahead + d * (node.slope + d * node.bow));
    line = first + index * LINES_PER_NODE + (along - view) / mSearch.mSpeed;
  }
  mLinesPerUnit = mSearch.mForward * std::fmax(mDepth, LEAST_DEPTH * mSearch.mDepth) / (mChain.focalLength() * mSearch.mSpeed);
  return clamped(line);
}

// How many lines, roughly, the position is ahead of the sensor line. What isn't in front of the camera is ahead of it or
// behind it as the camera flies.
double LineSearch::Task::ahead(Pose const& pose, double& y) const {
  ViewChain::Sight const sight = mChain.sight(pose, mGround);
  y = sight.focal.y;
  if (!(sight.depth > 0.0)) {
    double const u = pose.along.x * (mGround.x - pose.centre.x) + pose.along.y * (mGround.y - pose.centre.y) +
                     pose.along.z * (mGround.z - pose.centre.z);
    return std::copysign(INFINITE, u * mSearch.mForward);
  }
  return (sight.focal.x - mChain.sensorLine().at(y).x) * mLinesPerUnit;
}

double LineSearch::Task::aheadAtFirst(Piece const& piece) {
  double y = 0.0;
  ++mPasses;
  return ahead(mMemory.ends(mChain, piece).first, y);
}

double LineSearch::Task::aheadAtLast(Piece const& piece) {
  double y = 0.0;
  ++mPasses;
  return ahead(mMemory.ends(mChain, piece).last, y);
}

// A piece in which, or before which, the position passes from ahead to behind. False when it is ahead at the end or behind
// at the beginning; then the piece is there.
bool LineSearch::Task::findPassage(double line, Piece& piece) {
  double low = mChain.lines().firstLine();
  double high = mChain.lines().lastLine();
  piece = mChain.pieceAt(line);
  for (int pass = 0;; ++pass) {
    double const first = aheadAtFirst(piece);
    double next = piece.first + first;
    if (first > 0.0) {
      low = std::max(low, piece.first);
      if (next < piece.last + 1.0 || !(piece.last < high)) {
        double const last = aheadAtLast(piece);
        if (!(last > 0.0)) {
          return true;
        }
        low = piece.last;
        next = piece.last + last;
        if (!(piece.last < mChain.lines().lastLine())) {
          return false;
        }
      }
    } else {
      high = std::min(high, piece.first);
      if (!(piece.first > mChain.lines().firstLine())) {
        return false;
      }
      // Ahead at the very end of the piece before: the passage is a step between the two.
      if (!(low < high)) {
        return true;
      }
    }
    if (!(next > low && next < high) || (pass > FREE_PASSES && pass % 2 == 0)) {
      bool const isNear = !(high - low > 2.0);
      next = isNear ? (first > 0.0 ? low : std::nextafter(high, low)) : low + 0.5 * (high - low);
    }
    piece = first > 0.0 && !(next > piece.last) ? mChain.next(piece)
            : first > 0.0 || next < piece.first - 1.0 ? mChain.pieceAt(next)
                                                      : mChain.previous(piece);
  }
}

// The first passage, in either direction, from a line on up to the end of a piece.
bool LineSearch::Task::firstFrom(double line, Piece const& last, Piece& piece, bool& atStep) {
  piece = mChain.pieceAt(clamped(line));
  Ends ends{aheadAtFirst(piece), aheadAtLast(piece)};
  atStep = false;
  while (!crosses(ends)) {
    if (piece.interval == last.interval && piece.record == last.record) {
      return false;
    }
    bool const wasAhead = ends.last > 0.0;
    piece = mChain.next(piece);
    ends = {aheadAtFirst(piece), aheadAtLast(piece)};
    if (wasAhead != (ends.first > 0.0)) {
      atStep = true;
      return true;
    }
  }
  return true;
}

Found LineSearch::Task::at(Piece const& piece, double line, double y) const {
  return {line, mChain.sensorLine().at(y).sample, mChain.time(piece, line), mPasses, true};
}

// In a piece at whose ends the position lies on different sides of the sensor line: the secant, within the bracket.
Found LineSearch::Task::solve(Piece const& piece) {
  Memory::Ends const& poses = mMemory.ends(mChain, piece);
  double yLow = 0.0;
  double yHigh = 0.0;
  double low = piece.first;
  double high = piece.last;
  double aheadLow = ahead(poses.first, yLow);
  double aheadHigh = ahead(poses.last, yHigh);
  for (int i = 0; i < REFINEMENTS; ++i) {
    double const slope = (aheadHigh - aheadLow) / (high - low);
    double const y1 = (yHigh - yLow) / (high - low);
    double line = low - aheadLow / slope;
    if (!(line >= low && line <= high) || i % 4 == 3) {
      line = low + 0.5 * (high - low);
    }
    double y = 0.0;
    ++mPasses;
    Pose const pose = mChain.pose(piece, line);
    double const rest = ahead(pose, y);
    double const step = -rest / slope;
    if (std::fabs(step) <= LAST_STEP * limited(std::fabs(slope), 0.0, 1.0) && std::isfinite(y1)) {
      double const solution = limited(line + step, piece.first, piece.last);
      return at(piece, solution, y + y1 * (solution - line));
    }
    if ((rest > 0.0) == (aheadLow > 0.0)) {
      low = line;
      aheadLow = rest;
      yLow = y;
    } else {
      high = line;
      aheadHigh = rest;
      yHigh = y;
    }
  }
  return nothing();
}

Found LineSearch::Task::run() {
  double const start = guess();
  Piece piece{};
  if (std::isnan(start)) {
    return nothing();
  }
  bool const hasPassage = findPassage(start, piece);
  double const overlap = mDepth <= mSearch.mDepth ? mSearch.overlapBefore(piece.first) : INFINITE;
  bool atStep = false;
  if (overlap > 0.0 || !hasPassage) {
    // Behind at the very beginning, a passage can still follow within what overlaps.
    Piece const last = hasPassage || piece.first > mChain.lines().firstLine()
                           ? piece
                           : mChain.pieceAt(clamped(piece.first + overlap));
    if (!firstFrom(piece.first - overlap, last, piece, atStep)) {
      return nothing();
    }
  }
  double y = 0.0;
  double const first = ahead(mMemory.ends(mChain, piece).first, y);
  if (atStep || !(first > 0.0)) {
    if (atStep || first == 0.0) {
      return std::isfinite(first) ? at(piece, piece.first, y) : nothing();
    }
    double ignored = 0.0;
    // Without a passage within, it is the step before the piece.
    if (!(ahead(mMemory.ends(mChain, piece).last, ignored) > 0.0)) {
      return std::isfinite(first) ? at(piece, piece.first, y) : nothing();
    }
  }
  return solve(piece);
}

Found LineSearch::find(geo::XYZPoint const& ground, Memory& memory) const {
  return Task(*this, ground, memory).run();
}

}  // namespace kes::detail
