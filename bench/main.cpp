// Runs the measurements: each is repeated, the repetitions of all are shuffled, and the medians are set side by side.
#include <cstdio>
#include <map>
#include <vector>

#include "bench/Bench.h"

namespace {

/// Prints, instead of each measurement, a table of works with the library's time and its ratio to each baseline.
class Table : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(Context const&) override { return true; }
  void ReportRuns(std::vector<Run> const& runs) override {
    for (Run const& run : runs) {
      if (run.error_occurred) {
        std::printf("%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      } else if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        take(run);
      }
    }
  }
  void Finalize() override {
    std::printf("%-34s %-22s %10s %10s %7s\n", "work", "against", "library ns", "its ns", "ratio");
    for (std::string const& work : order_) {
      auto const& times = times_[work];
      double const own = times.count(Bench::library) != 0 ? times.at(Bench::library) : 0;
      for (auto const& [who, time] : times) {
        if (who != Bench::library) {
          std::printf("%-34s %-22s %10.2f %10.2f %7.2f\n", work.c_str(), who.c_str(), own, time, own / time);
        }
      }
    }
  }

 private:
  void take(Run const& run) {
    std::string const& name = run.run_name.function_name;
    std::size_t const slash = name.rfind('/');
    std::string const work = name.substr(0, slash);
    auto const rate = run.counters.find("items_per_second");
    double const time = rate != run.counters.end() ? 1e9 / rate->second : run.GetAdjustedCPUTime();
    if (times_.find(work) == times_.end()) {
      order_.push_back(work);
    }
    times_[work][name.substr(slash + 1)] = time;
  }

  std::vector<std::string> order_;
  std::map<std::string, std::map<std::string, double>> times_;
};

}  // namespace

int main(int argc, char** argv) {
  // Before the caller's own, which override them.
  std::vector<std::string> defaults{"--benchmark_repetitions=7", "--benchmark_min_time=0.05",
                                    "--benchmark_enable_random_interleaving=true"};
  std::vector<char*> arguments{argv[0]};
  for (std::string& flag : defaults) {
    arguments.push_back(flag.data());
  }
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  auto count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);

  Bench::addCodec();
  Bench::addText();
  Bench::addDispatch();
  Bench::addCollections();
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 1;
  }
  Table table;
  benchmark::RunSpecifiedBenchmarks(&table);
  benchmark::Shutdown();
}
