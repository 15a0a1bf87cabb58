#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <vector>

/// Contestants measured side by side: what counts is not a time, which another program on the
/// machine changes, but the ratio of two times that were taken right after one another.
namespace Tessaril::Bench {

inline constexpr const char* kLibrary = "library";
inline constexpr const char* kLiteral = "literal";
inline constexpr const char* kFloor = "floor";

/// One way of doing a work.
struct Contestant {
  std::string name;
  /// Does the work once. The answer is a hash of what it did, in its order, see VisitHash.
  std::function<std::uint64_t()> run;
  /// Called before every run, untimed; may be empty. With it each run is timed on its own, so that
  /// a run should then take some microseconds at least.
  std::function<void()> prepare = {};
  /// Contestants of the same order have to answer with the same hash, run by run; the program ends
  /// where they do not. A peer that is free to visit in another order gets an order of its own.
  std::string order = "as documented";
};

/// What a ratio must not exceed.
struct Bound {
  /// The contestant that the library's time is divided by. Empty: `atMost` is nanoseconds a unit.
  std::string against;
  double atMost;
};

/// One work on one shape of one size.
struct Comparison {
  std::string work;
  std::string shape = {};
  std::size_t size = 0;
  /// The first is the one that the others are compared with, normally the library.
  std::vector<Contestant> contestants = {};
  std::vector<Bound> bounds = {};
  /// Times are shown for each unit; so many are done in a run. Zero: as many as the size.
  std::size_t units = 0;
  std::string unit = "module";
  /// True for works that wait for a disk or another thread: their samples are not judged by the
  /// time that the processor spent on them.
  bool waits = false;
};

/// Runs comparisons and writes what it measured to a JSON file; bench/table reads it.
///
/// Contestants take turns, in an order that is shuffled anew each round. A sample is one untimed
/// run and then as many timed ones as fill two milliseconds. A sample whose wall time exceeds the
/// process's processor time by 5 % was disturbed by somebody else and is taken again, up to ten
/// times within half a second; if all were disturbed, the least processor time counts. The ratio of
/// a round is made of the two samples of that round. Meanwhile a second thread is alive, because
/// counting references is cheaper in a process that never had one.
class Paired {
 public:
  /// Options: --quick, --large, --sizes=N,N, --rounds=N, --only=REGEX and --alone=REGEX (both match
  /// "work/shape/size"), --contestant=NAME (the one to run alone), --json=FILE. Ends the program
  /// when it does not understand one.
  Paired(int argc, char** argv);
  ~Paired();
  Paired(const Paired&) = delete;
  Paired& operator=(const Paired&) = delete;

  /// 1e3 and 1e4; 1e5 unless --quick; 1e6 with --large. Or what --sizes says.
  const std::vector<std::size_t>& sizes() const { return allSizes; }
  bool isQuick() const { return quick; }
  /// Whether a comparison of that name is asked for. To be asked before costly preparations;
  /// compare() asks it itself.
  bool wants(const std::string& work, const std::string& shape, std::size_t size) const;

  /// With --alone, Google Benchmark runs each contestant on its own instead, for a profiler's sake.
  void compare(const Comparison& comparison);
  /// On every shape, the library's time a unit at size `to` is at most `atMost` times that at
  /// `from`. Judged by bench/table, at the largest size that was measured.
  void boundGrowth(const std::string& work, std::size_t from, std::size_t to, double atMost);
  /// A figure that is no time, for the table: `what` comes to so many `unit` on that shape, which
  /// may be empty.
  void note(const std::string& what, const std::string& shape, double value,
            const std::string& unit, std::optional<double> atMost = {});
  /// Notes a peer that could not be built, so that the table names it.
  void missing(const std::string& peer);

  /// Writes the JSON file. To be returned from main().
  int finish();

 private:
  struct Sample {
    double wall = 0;
    double processor = 0;
  };
  struct Times;

  void readOption(const std::string& option);
  void runAlone(const Comparison& comparison) const;
  Sample take(const Contestant& contestant, std::size_t runs, std::uint64_t expected) const;
  double takeUndisturbed(const Contestant& contestant, std::size_t runs, std::uint64_t expected,
                         bool waits);
  void record(const Comparison& comparison, std::vector<Times>& times);

  std::vector<std::size_t> allSizes{1'000, 10'000, 100'000};
  std::size_t rounds = 15;
  bool quick = false;
  std::regex only{""};
  std::string alone;
  std::string onlyContestant;
  std::string jsonFile;

  std::mt19937_64 random{20};
  std::size_t thrownAway = 0;
  std::size_t disturbed = 0;
  std::vector<std::string> records;
  std::vector<std::string> growthBounds;
  std::vector<std::string> figures;
  std::vector<std::string> missingPeers;
  std::jthread secondThread;
};

}  // namespace Tessaril::Bench
