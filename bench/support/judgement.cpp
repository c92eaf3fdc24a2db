#include "support/judgement.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace kvdm::bench {

namespace {

// Keeps the time of every round and prints one line a benchmark, the median.
class MedianReporter final : public benchmark::ConsoleReporter
{
public:
    MedianReporter() : benchmark::ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& reports) override
    {
        std::vector<Run> shown;
        for (const Run& run : reports) {
            if (run.error_occurred) {
                failed = true;
                shown.push_back(run);
            } else if (run.run_type == Run::RT_Iteration) {
                const bool byProcessor = run.run_name.time_type == "process_time";
                const double seconds = byProcessor ? run.cpu_accumulated_time : run.real_accumulated_time;
                rounds[run.run_name.function_name].push_back(seconds / static_cast<double>(run.iterations));
            } else if (run.aggregate_name == "median") {
                shown.push_back(run);
            }
        }
        if (!shown.empty())
            ConsoleReporter::ReportRuns(shown);
    }

    std::map<std::string, std::vector<double>> rounds;
    bool failed = false;
};

double medianOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace

Judgement::Judgement(int argc, char** argv)
{
    std::vector<std::string> ours = {argv[0], "--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=11",
                                     "--benchmark_min_time=0.05"};
    std::vector<char*> arguments;
    for (std::string& argument : ours)
        arguments.push_back(argument.data());
    arguments.insert(arguments.end(), argv + 1, argv + argc); // later flags win
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        failed = true;
        return;
    }
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    failed = reporter.failed;
    for (const auto& [name, rounds] : reporter.rounds)
        medians[name] = medianOf(rounds);
    std::printf("\n");
}

std::optional<double> Judgement::median(const std::string& name) const
{
    const auto found = medians.find(name);
    return found == medians.end() ? std::nullopt : std::optional(found->second);
}

std::optional<double> Judgement::ratio(const std::string& numerator, const std::string& denominator) const
{
    const auto above = median(numerator);
    const auto below = median(denominator);
    return above && below ? std::optional(*above / *below) : std::nullopt;
}

void Judgement::tell(std::string_view what, std::optional<double> value) const
{
    if (value)
        std::printf("      %-66.*s %12.6g\n", static_cast<int>(what.size()), what.data(), *value);
}

void Judgement::atMost(std::string_view what, std::optional<double> value, double limit)
{
    iJudge(what, value, limit, value && *value <= limit, "at most");
}

void Judgement::atLeast(std::string_view what, std::optional<double> value, double limit)
{
    iJudge(what, value, limit, value && *value >= limit, "at least");
}

void Judgement::iJudge(std::string_view what, std::optional<double> value, double limit, bool good, const char* relation)
{
    const int width = static_cast<int>(what.size());
    if (!value) {
        std::printf("----  %-66.*s not measured, %s %g not judged\n", width, what.data(), relation, limit);
        return;
    }
    std::printf("%s  %-66.*s %12.6g   (%s %g)\n", good ? "PASS" : "FAIL", width, what.data(), *value, relation, limit);
    failed = failed || !good;
}

} // namespace kvdm::bench
