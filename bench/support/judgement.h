// How a benchmark ends: ratios of medians, each with its limit. A machine is fast or slow, loaded or idle, so nothing is
// compared with a number of seconds; only with a peer, or with another size, that took its turns in the same run.
//
// What works in memory alone is registered with MeasureProcessCPUTime() and judged by the time of the processor, the system's
// share and all threads included: others who use the machine at that moment do not count. What waits for a disk or for
// another process is registered with UseRealTime() and judged by the clock.
//
//     benchmark::RegisterBenchmark("libkvdocmgr/1 GiB", ...);
//     benchmark::RegisterBenchmark("libgsf/1 GiB", ...);
//     Judgement judgement(argc, argv);                                  // runs them, in turns of random order
//     judgement.atLeast("libgsf over libkvdocmgr, 1 GiB", judgement.ratio("libgsf/1 GiB", "libkvdocmgr/1 GiB"), 5);
//     return judgement.exitCode();
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kvdm::bench {

class Judgement
{
public:
    // Runs what is registered and prints the medians. The flags of Google Benchmark are understood; what a filter leaves out
    // is told as not judged.
    Judgement(int argc, char** argv);

    // Median seconds of one iteration; empty when it did not run.
    std::optional<double> median(const std::string& name) const;
    // Time of one over time of the other; empty when either did not run.
    std::optional<double> ratio(const std::string& numerator, const std::string& denominator) const;

    void tell(std::string_view what, std::optional<double> value) const;
    void atMost(std::string_view what, std::optional<double> value, double limit);
    void atLeast(std::string_view what, std::optional<double> value, double limit);

    // 1 when a limit is not held or a benchmark ended in an error.
    int exitCode() const noexcept { return failed ? 1 : 0; }

private:
    void iJudge(std::string_view what, std::optional<double> value, double limit, bool good, const char* relation);

    std::map<std::string, double> medians;
    bool failed = false;
};

} // namespace kvdm::bench
