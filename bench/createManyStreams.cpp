// Does a storage grow at a steady price? 1,000 and 10,000 small streams are created in one storage and committed, which
// means that they have reached the disk; beside libgsf, whose file is synchronised as well.
#include "support/documents.h"
#include "support/engine.h"
#include "support/judgement.h"
#include "support/processes.h"
#ifdef KVDM_HAVE_GSF
#include "support/gsfPeer.h"
#endif

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

using namespace kvdm;
using namespace kvdm::bench;

constexpr std::size_t few = 1000;
constexpr std::size_t many = 10000;
constexpr double mostGrowth = 12; // 10 times as many, and a little for caches that no longer hold all
constexpr double leastLeadOverGsf = 1;

std::string benchmarkName(const char* who, std::size_t count)
{
    return std::string(who) + ": " + std::to_string(count);
}

} // namespace

int main(int argc, char** argv)
try {
    const TemporaryFolder folder;
    const std::string compound = folder.file("compound");
    for (const std::size_t count : {few, many}) {
        benchmark::RegisterBenchmark(benchmarkName("libkvole", count).c_str(),
                                     [&compound, count](benchmark::State& state) {
                                         std::uint64_t written = 0;
                                         for (auto _ : state)
                                             written = engine::writeManyStreams(compound, count);
                                         if (engine::readEveryStream(*engine::open(compound)) != written)
                                             state.SkipWithError("what was written does not read");
                                         state.SetItemsProcessed(static_cast<std::int64_t>(count) * state.iterations());
                                     })
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
#ifdef KVDM_HAVE_GSF
        const std::string peer = folder.file("peer");
        benchmark::RegisterBenchmark(benchmarkName("libgsf", count).c_str(),
                                     [peer, count](benchmark::State& state) {
                                         for (auto _ : state) {
                                             gsf::writeManyStreams(peer, count);
                                             runProgram({"sync", peer});
                                         }
                                         state.SetItemsProcessed(static_cast<std::int64_t>(count) * state.iterations());
                                     })
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
#endif
    }
#ifdef KVDM_HAVE_GSF
    gsf::initialise();
#endif

    Judgement judgement(argc, argv);
    judgement.atMost("time of 10,000 over 1,000", judgement.ratio(benchmarkName("libkvole", many), benchmarkName("libkvole", few)), mostGrowth);
    judgement.atLeast("libgsf over libkvole at 10,000", judgement.ratio(benchmarkName("libgsf", many), benchmarkName("libkvole", many)),
                      leastLeadOverGsf);
    return judgement.exitCode();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "createManyStreams: %s\n", failure.what());
    return 1;
}
