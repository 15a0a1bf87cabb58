#include "bench/Paired.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <mutex>
#include <numeric>
#include <sstream>
#include <stop_token>
#include <string_view>
#include <utility>

namespace Tessaril::Bench {

namespace {

constexpr double kSampleSeconds = 2e-3;
constexpr double kDisturbance = 1.05;
constexpr std::size_t kSmallestSize = 20;
constexpr int kTries = 10;
constexpr double kRetrySeconds = 0.5;

double wallSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

[[noreturn]] void fail(const std::string& complaint) {
  std::fprintf(stderr, "%s\n", complaint.c_str());
  std::exit(EXIT_FAILURE);
}

std::vector<std::size_t> sizesIn(const std::string& text) {
  std::vector<std::size_t> sizes;
  std::istringstream stream(text);
  for (std::string size; std::getline(stream, size, ',');) {
    sizes.push_back(std::strtoull(size.c_str(), nullptr, 10));
  }
  return sizes;
}

std::string nameOf(const std::string& work, const std::string& shape, std::size_t size) {
  return work + "/" + shape + "/" + std::to_string(size);
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      result += '\\';
    }
    result += c;
  }
  return result + '"';
}

std::string number(double value) {
  std::ostringstream stream;
  stream.precision(6);
  stream << value;
  return stream.str();
}

std::string list(const std::vector<std::string>& entries, const std::string& separator) {
  std::string result;
  for (const std::string& entry : entries) {
    result += (result.empty() ? "" : separator) + entry;
  }
  return "[" + result + "]";
}

struct Spread {
  double low;
  double median;
  double high;
};

Spread spread(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  const double median =
      values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
  return {values.front(), median, values.back()};
}

std::string fields(const std::string& name, const Spread& values) {
  return quoted(name) + ": {\"median\": " + number(values.median) +
         ", \"low\": " + number(values.low) + ", \"high\": " + number(values.high) + "}";
}

}  // namespace

/// What one contestant took in each round.
struct Paired::Times {
  std::size_t runs = 1;
  std::uint64_t expected = 0;
  std::vector<double> seconds;
};

Paired::Paired(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    readOption(argv[i]);
  }
  secondThread = std::jthread([](const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any never;
    std::unique_lock lock(mutex);
    never.wait(lock, stop, [] { return false; });
  });
}

Paired::~Paired() = default;

void Paired::readOption(const std::string& option) {
  const std::size_t equals = option.find('=');
  const std::string name = option.substr(0, equals);
  const std::string value = equals == std::string::npos ? "" : option.substr(equals + 1);
  if (option == "--quick") {
    quick = true;
    rounds = 5;
    allSizes = {1'000, 10'000};
  } else if (option == "--large") {
    allSizes.push_back(1'000'000);
  } else if (name == "--sizes") {
    allSizes = sizesIn(value);
    if (allSizes.empty() || *std::min_element(allSizes.begin(), allSizes.end()) < kSmallestSize) {
      fail("Shapes need at least " + std::to_string(kSmallestSize) + " modules");
    }
  } else if (name == "--rounds" && std::atoi(value.c_str()) > 0) {
    rounds = static_cast<std::size_t>(std::atoi(value.c_str()));
  } else if (name == "--only") {
    only = value;
  } else if (name == "--alone") {
    only = value;
    alone = value;
  } else if (name == "--contestant") {
    onlyContestant = value;
  } else if (name == "--json") {
    jsonFile = value;
  } else {
    fail(
        "Usage: [--quick] [--large] [--sizes=N,N] [--rounds=N] [--only=REGEX] [--alone=REGEX] "
        "[--contestant=NAME] [--json=FILE]");
  }
}

bool Paired::wants(const std::string& work, const std::string& shape, std::size_t size) const {
  return std::regex_search(nameOf(work, shape, size), only);
}

void Paired::runAlone(const Comparison& comparison) const {
  benchmark::ClearRegisteredBenchmarks();
  for (const Contestant& contestant : comparison.contestants) {
    if (!onlyContestant.empty() && contestant.name != onlyContestant) {
      continue;
    }
    const std::string name = nameOf(comparison.work, comparison.shape, comparison.size);
    benchmark::RegisterBenchmark((name + "/" + contestant.name).c_str(),
                                 [&contestant](benchmark::State& state) {
                                   for (auto iteration : state) {
                                     if (contestant.prepare) {
                                       state.PauseTiming();
                                       contestant.prepare();
                                       state.ResumeTiming();
                                     }
                                     benchmark::DoNotOptimize(contestant.run());
                                   }
                                 });
  }
  // The reporter that Google Benchmark makes by itself does not outlive the first call.
  benchmark::ConsoleReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter, "all");
}

Paired::Sample Paired::take(const Contestant& contestant, std::size_t runs,
                            std::uint64_t expected) const {
  const auto runOnce = [&] {
    std::uint64_t hash = contestant.run();
    benchmark::DoNotOptimize(hash);
    if (hash != expected) {
      fail(contestant.name + " did something else this time");
    }
  };
  Sample sample;
  const auto timed = [&](const auto& work) {
    const double processorBefore = processorSeconds();
    const double wallBefore = wallSeconds();
    work();
    sample.wall += wallSeconds() - wallBefore;
    sample.processor += processorSeconds() - processorBefore;
  };
  if (!contestant.prepare) {
    timed([&] {
      for (std::size_t run = 0; run < runs; ++run) {
        runOnce();
      }
    });
    return sample;
  }
  for (std::size_t run = 0; run < runs; ++run) {
    contestant.prepare();
    timed(runOnce);
  }
  return sample;
}

double Paired::takeUndisturbed(const Contestant& contestant, std::size_t runs,
                               std::uint64_t expected, bool waits) {
  Sample best;
  const double begin = wallSeconds();
  for (int tried = 0; tried < kTries && wallSeconds() - begin < kRetrySeconds; ++tried) {
    take(contestant, 1, expected);
    const Sample sample = take(contestant, runs, expected);
    if (waits || sample.wall <= kDisturbance * sample.processor) {
      return sample.wall;
    }
    ++thrownAway;
    if (tried == 0 || sample.processor < best.processor) {
      best = sample;
    }
  }
  ++disturbed;
  return std::min(best.wall, best.processor);
}

void Paired::compare(const Comparison& comparison) {
  if (!wants(comparison.work, comparison.shape, comparison.size)) {
    return;
  }
  if (!alone.empty()) {
    runAlone(comparison);
    return;
  }

  const std::vector<Contestant>& contestants = comparison.contestants;
  std::vector<Times> times(contestants.size());
  std::map<std::string, std::size_t> firstOfOrder;
  for (std::size_t i = 0; i < contestants.size(); ++i) {
    if (contestants[i].prepare) {
      contestants[i].prepare();
    }
    times[i].expected = contestants[i].run();
    const std::size_t first = firstOfOrder.emplace(contestants[i].order, i).first->second;
    if (times[i].expected != times[first].expected) {
      fail(nameOf(comparison.work, comparison.shape, comparison.size) + ": " + contestants[i].name +
           " does not do what " + contestants[first].name + " does");
    }
    const double once = take(contestants[i], 1, times[i].expected).wall;
    times[i].runs = static_cast<std::size_t>(std::clamp(kSampleSeconds / once, 1.0, 1e6));
  }

  std::vector<std::size_t> turns(contestants.size());
  std::iota(turns.begin(), turns.end(), std::size_t{0});
  for (std::size_t round = 0; round < rounds; ++round) {
    std::shuffle(turns.begin(), turns.end(), random);
    for (const std::size_t i : turns) {
      const double seconds =
          takeUndisturbed(contestants[i], times[i].runs, times[i].expected, comparison.waits);
      times[i].seconds.push_back(seconds / static_cast<double>(times[i].runs));
    }
  }
  record(comparison, times);
}

void Paired::record(const Comparison& comparison, std::vector<Times>& times) {
  const std::size_t units = comparison.units != 0 ? comparison.units : comparison.size;
  std::string said = nameOf(comparison.work, comparison.shape, comparison.size) + ":";
  std::vector<std::string> contestants;
  for (std::size_t i = 0; i < times.size(); ++i) {
    std::vector<double> ratios;
    std::vector<double> nanoseconds;
    for (std::size_t round = 0; round < rounds; ++round) {
      ratios.push_back(times[0].seconds[round] / times[i].seconds[round]);
      nanoseconds.push_back(1e9 * times[i].seconds[round] / static_cast<double>(units));
    }
    const std::string& name = comparison.contestants[i].name;
    contestants.push_back("{\"name\": " + quoted(name) + ", " +
                          fields("nanoseconds", spread(nanoseconds)) + ", " +
                          fields("ratio", spread(ratios)) + "}");
    said += " " + name + " " + number(spread(nanoseconds).median) + " ns" +
            (i == 0 ? "" : " (x" + number(spread(ratios).median) + ")");
  }
  std::fprintf(stderr, "%s\n", said.c_str());

  std::vector<std::string> bounds;
  for (const Bound& bound : comparison.bounds) {
    bounds.push_back("{\"against\": " + quoted(bound.against) +
                     ", \"at_most\": " + number(bound.atMost) + "}");
  }
  records.push_back(
      "  {\"work\": " + quoted(comparison.work) + ", \"shape\": " + quoted(comparison.shape) +
      ", \"size\": " + std::to_string(comparison.size) + ", \"unit\": " + quoted(comparison.unit) +
      ", \"bounds\": " + list(bounds, ", ") +
      ",\n   \"contestants\": " + list(contestants, ",\n    ") + "}");
}

void Paired::boundGrowth(const std::string& work, std::size_t from, std::size_t to, double atMost) {
  growthBounds.push_back("{\"work\": " + quoted(work) + ", \"from\": " + std::to_string(from) +
                         ", \"to\": " + std::to_string(to) + ", \"at_most\": " + number(atMost) +
                         "}");
}

void Paired::note(const std::string& what, const std::string& shape, double value,
                  const std::string& unit, std::optional<double> atMost) {
  std::fprintf(stderr, "%s/%s: %s %s\n", what.c_str(), shape.c_str(), number(value).c_str(),
               unit.c_str());
  figures.push_back("{\"what\": " + quoted(what) + ", \"shape\": " + quoted(shape) +
                    ", \"value\": " + number(value) + ", \"unit\": " + quoted(unit) +
                    (atMost ? ", \"at_most\": " + number(*atMost) : "") + "}");
}

void Paired::missing(const std::string& peer) { missingPeers.push_back(quoted(peer)); }

int Paired::finish() {
  if (jsonFile.empty()) {
    return EXIT_SUCCESS;
  }
  std::ofstream file(jsonFile);
  file << "{\"rounds\": " << rounds << ", \"samples_thrown_away\": " << thrownAway
       << ", \"samples_kept_though_disturbed\": " << disturbed
       << ", \"compiler\": " << quoted(__VERSION__)
       << ",\n \"missing\": " << list(missingPeers, ", ")
       << ",\n \"figures\": " << list(figures, ",\n  ")
       << ",\n \"growth_bounds\": " << list(growthBounds, ",\n  ") << ",\n \"comparisons\": [\n";
  for (std::size_t i = 0; i < records.size(); ++i) {
    file << records[i] << (i + 1 < records.size() ? ",\n" : "\n");
  }
  file << "]}\n";
  if (!file.flush()) {
    fail("Cannot write " + jsonFile);
  }
  return EXIT_SUCCESS;
}

}  // namespace Tessaril::Bench
