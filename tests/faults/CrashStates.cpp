// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CrashStates.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace faults {

namespace {

// What may have become of the unsafe bytes of a file.
enum Fate { WHOLE, MISSING, CUT, ZEROS, numFates };
constexpr char const* fateNames[] = {"whole", "missing", "cut", "zeros"};

void change(std::string& contents, Step const& step, std::string const& bytes) {
  contents.resize(step.size);
  contents.replace(step.begin, std::min(bytes.size(), step.size - step.begin), bytes);
}

// Contents with the unsafe changes of a file.
std::string withFate(std::string contents, std::vector<Step const*> const& changes, Fate fate) {
  if (fate == MISSING) {
    return contents;
  }
  std::size_t const number = fate == CUT ? (changes.size() + 1) / 2 : changes.size();
  for (std::size_t i = 0; i < number; ++i) {
    Step const& step = *changes[i];
    if (fate == ZEROS) {
      change(contents, step, std::string(step.bytes.size(), '\0'));
    } else if (fate == CUT && i + 1 == number) {
      std::size_t const half = step.bytes.size() / 2;
      contents.resize(std::max(contents.size(), std::min(step.size, step.begin + half)));
      contents.replace(step.begin, half, step.bytes, 0, half);
    } else {
      change(contents, step, step.bytes);
    }
  }
  return contents;
}

class Disk {
public:
  explicit Disk(Recorded const& recorded) : mRecorded(recorded), mContents(recorded.isFolder.size()) {}

  // Takes a step. What it makes safe no longer is in question.
  void take(Step const& step) {
    if (step.kind == Step::BYTES) {
      mUnsafe[step.node].push_back(&step);
      return;
    }
    if (step.kind == Step::NAMES) {
      mChanges.push_back({&step.entries, false});
    } else if (mRecorded.isFolder[static_cast<std::size_t>(step.node)]) {
      saveEntries(step.node);
    } else {
      saveContents(step.node);
    }
  }

  void saveAll() {
    for (Change& change : mChanges) {
      change.isSafe = true;
    }
    settle();
    while (!mUnsafe.empty()) {
      saveContents(mUnsafe.begin()->first);
    }
  }

  // What may be kept or lost: one choice of two for each change of entries, of `numFates` for each file.
  std::vector<int> choices() const {
    std::vector<int> counts;
    for (Change const& change : mChanges) {
      if (!change.isSafe) {
        counts.push_back(2);
      }
    }
    counts.insert(counts.end(), mUnsafe.size(), numFates);
    return counts;
  }

  // With 0 for what is kept.
  CrashState state(std::vector<int> const& chosen) const {
    CrashState state;
    std::size_t next = 0;
    Entries entries = mEntries;
    for (Change const& change : mChanges) {
      if (change.isSafe || chosen[next++] == 0) {
        apply(*change.entries, entries);
      } else {
        state.lost += "entry " + change.entries->back().name + "; ";
      }
    }
    std::map<Node, Fate> fates;
    for (auto const& [node, changes] : mUnsafe) {
      fates[node] = static_cast<Fate>(chosen[next++]);
    }
    addFiles(mRecorded.root, "", entries, fates, state);
    return state;
  }

private:
  using Entries = std::map<Node, std::map<std::string, Node>>;

  struct Change {
    std::vector<EntryChange> const* entries;
    bool isSafe;
  };

  static void apply(std::vector<EntryChange> const& changes, Entries& entries) {
    for (EntryChange const& change : changes) {
      if (change.node < 0) {
        entries[change.folder].erase(change.name);
      } else {
        entries[change.folder][change.name] = change.node;
      }
    }
  }

  void saveContents(Node node) {
    if (auto const found = mUnsafe.find(node); found != mUnsafe.end()) {
      std::string& contents = mContents[static_cast<std::size_t>(node)];
      contents = withFate(std::move(contents), found->second, WHOLE);
      mUnsafe.erase(found);
    }
  }

  void saveEntries(Node folder) {
    for (Change& change : mChanges) {
      change.isSafe =
          change.isSafe || std::any_of(change.entries->begin(), change.entries->end(),
                                       [folder](EntryChange const& entry) { return entry.folder == folder; });
    }
    settle();
  }

  // A safe change before which nothing is in question is part of the disk.
  void settle() {
    auto const end =
        std::find_if(mChanges.begin(), mChanges.end(), [](Change const& change) { return !change.isSafe; });
    for (auto change = mChanges.begin(); change != end; ++change) {
      apply(*change->entries, mEntries);
    }
    mChanges.erase(mChanges.begin(), end);
  }

  void addFiles(Node folder, std::string const& path, Entries const& entries, std::map<Node, Fate> const& fates,
                CrashState& state) const {
    auto const found = entries.find(folder);
    if (found == entries.end()) {
      return;
    }
    for (auto const& [name, node] : found->second) {
      auto const index = static_cast<std::size_t>(node);
      if (mRecorded.isFolder[index]) {
        state.files[path + name + '/'];
        addFiles(node, path + name + '/', entries, fates, state);
      } else if (auto const fate = fates.find(node); fate != fates.end()) {
        state.files[path + name] = withFate(mContents[index], mUnsafe.at(node), fate->second);
        state.lost += path + name + ' ' + fateNames[fate->second] + "; ";
      } else {
        state.files[path + name] = mContents[index];
      }
    }
  }

  Recorded const& mRecorded;
  Entries mEntries;
  std::vector<std::string> mContents;  // of each node
  std::vector<Change> mChanges;
  std::map<Node, std::vector<Step const*>> mUnsafe;
};

// All combinations, or all and nothing kept and some at random.
std::set<std::vector<int>> combinations(std::vector<int> const& counts, int most, std::mt19937& random) {
  double number = 1.0;
  for (int const count : counts) {
    number *= count;
  }
  std::set<std::vector<int>> all{std::vector<int>(counts.size(), 0), std::vector<int>(counts.size(), 1)};
  if (number > most) {
    for (int i = 0; i < most; ++i) {
      std::vector<int> drawn;
      for (int const count : counts) {
        drawn.push_back(static_cast<int>(random() % static_cast<unsigned>(count)));
      }
      all.insert(drawn);
    }
    return all;
  }
  for (int code = 0; code < static_cast<int>(number); ++code) {
    std::vector<int> digits;
    int rest = code;
    for (int const count : counts) {
      digits.push_back(rest % count);
      rest /= count;
    }
    all.insert(digits);
  }
  return all;
}

// Reads lines, and the bytes after those that announce some.
class RecordReader {
public:
  explicit RecordReader(std::string const& bytes) : mBytes(bytes) {}

  Recorded read() {
    while (mAt < mBytes.size()) {
      std::istringstream line(nextLine());
      readLine(line);
    }
    return std::move(mRecorded);
  }

private:
  std::string nextLine() {
    std::size_t const end = mBytes.find('\n', mAt);
    std::string const line = mBytes.substr(mAt, end - mAt);
    mAt = end == std::string::npos ? mBytes.size() : end + 1;
    return line;
  }

  Node nodeOf(std::uint64_t number, bool isFolder = false) {
    auto const [found, isNew] = mNodes.try_emplace(number, static_cast<Node>(mRecorded.isFolder.size()));
    if (isNew) {
      mRecorded.isFolder.push_back(isFolder);
    }
    return found->second;
  }

  void readLine(std::istringstream& line) {
    std::string kind;
    line >> kind;
    if (kind == "safe") {
      mRecorded.numSafe = mRecorded.steps.size();
      return;
    }
    if (kind == "end") {
      mRecorded.steps.push_back(std::exchange(mEntries, Step{Step::NAMES, -1, 0, 0, {}, {}}));
      return;
    }
    std::uint64_t number = 0;
    line >> number;
    if (kind == "root") {
      mRecorded.root = nodeOf(number, true);
    } else if (kind == "new") {
      mNodes.erase(number);
    } else if (kind == "sync") {
      mRecorded.steps.push_back({Step::SAVE, nodeOf(number), 0, 0, {}, {}});
    } else if (kind == "data") {
      readData(nodeOf(number), line);
    } else if (kind == "set" || kind == "unset") {
      readEntry(number, kind == "set", line);
    } else {
      throw std::runtime_error("unknown step: " + kind);
    }
  }

  void readData(Node node, std::istringstream& line) {
    Step step{Step::BYTES, node, 0, 0, {}, {}};
    std::size_t count = 0;
    line >> step.size >> step.begin >> count;
    step.bytes = mBytes.substr(mAt, count);
    mAt += count + 1;
    mRecorded.steps.push_back(step);
  }

  void readEntry(std::uint64_t folder, bool isSet, std::istringstream& line) {
    std::uint64_t number = 0;
    std::string type;
    if (isSet) {
      line >> number >> type;
    }
    std::string name;
    std::getline(line >> std::ws, name);
    mEntries.entries.push_back({nodeOf(folder, true), name, isSet ? nodeOf(number, type == "folder") : -1});
  }

  std::string const& mBytes;
  std::size_t mAt = 0;
  std::map<std::uint64_t, Node> mNodes;
  Step mEntries{Step::NAMES, -1, 0, 0, {}, {}};
  Recorded mRecorded;
};

}  // namespace

Recorded readRecord(std::string const& bytes) {
  return RecordReader(bytes).read();
}

void forEachCrashState(Recorded const& recorded, int most, unsigned seed,
                       std::function<void(CrashState const&)> const& see) {
  std::mt19937 random(seed);
  Disk disk(recorded);
  for (std::size_t number = 0; number <= recorded.steps.size(); ++number) {
    if (number == recorded.numSafe) {
      disk.saveAll();
    }
    if (number >= recorded.numSafe) {
      for (std::vector<int> const& chosen : combinations(disk.choices(), most, random)) {
        CrashState state = disk.state(chosen);
        state.numSteps = number;
        state.isEnd = number == recorded.steps.size();
        see(state);
      }
    }
    if (number < recorded.steps.size()) {
      disk.take(recorded.steps[number]);
    }
  }
}

}  // namespace faults
