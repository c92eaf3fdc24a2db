// Does a storage of many streams cost what it holds, or the square of that? All streams of one storage are listed, opened and
// read, 1,000 and 10,000 of them, in a directory that is balanced and in one that a careless writer left as one long chain.
#include "support/documents.h"
#include "support/engine.h"
#include "support/judgement.h"
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
constexpr double mostGrowth = 15; // 10 times as many, which no cache of the processor holds any more; the square of that would be 100
constexpr double leastLeadOverGsf = 1;

struct Kind
{
    const char* name;
    test::CompoundFileBuilder::Options options;
};
const Kind kinds[] = {{"version 3", {.version = 3}}, {"version 4", {.version = 4}}, {"version 3, one chain", {.version = 3, .treeAsChain = true}}};

std::string benchmarkName(const char* who, const Kind& kind, std::size_t count)
{
    return std::string(who) + ": " + kind.name + ", " + std::to_string(count);
}

// Names of many lengths, sizes on both sides of the mini stream's limit; the bytes of all streams.
std::uint64_t makeFile(const std::string& path, const Kind& kind, std::size_t count)
{
    test::CompoundFileBuilder builder(kind.options);
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string digits = std::to_string(i * 7919 % count);
        const std::size_t size = i % 50 == 0 ? 4096 + i % 700 : 20 + i % 900;
        builder.root().stream((i % 2 ? u"Config-" : u"Body ") + std::u16string(digits.begin(), digits.end()),
                              test::patternBytes(size, static_cast<std::uint32_t>(i)));
        total += size;
    }
    if (!builder.write(path))
        throw std::runtime_error(path + " cannot be written");
    return total;
}

} // namespace

int main(int argc, char** argv)
try {
    const TemporaryFolder folder;
    for (const Kind& kind : kinds) {
        for (const std::size_t count : {few, many}) {
            const std::string path = folder.file(benchmarkName("file", kind, count));
            const std::uint64_t total = makeFile(path, kind, count);
            benchmark::RegisterBenchmark(benchmarkName("libkvole", kind, count).c_str(),
                                         [path, total, count](benchmark::State& state) {
                                             for (auto _ : state) {
                                                 if (engine::readEveryStream(*engine::open(path)) != total)
                                                     state.SkipWithError("not every stream is read");
                                             }
                                             state.SetItemsProcessed(static_cast<std::int64_t>(count) * state.iterations());
                                         })
                ->MeasureProcessCPUTime()
                ->Unit(benchmark::kMillisecond);
#ifdef KVDM_HAVE_GSF
            benchmark::RegisterBenchmark(benchmarkName("libgsf", kind, count).c_str(),
                                         [path, total, count](benchmark::State& state) {
                                             for (auto _ : state) {
                                                 if (gsf::readEveryStream(path) != total)
                                                     state.SkipWithError("not every stream is read");
                                             }
                                             state.SetItemsProcessed(static_cast<std::int64_t>(count) * state.iterations());
                                         })
                ->MeasureProcessCPUTime()
                ->Unit(benchmark::kMillisecond);
#endif
        }
    }
#ifdef KVDM_HAVE_GSF
    gsf::initialise();
#endif

    Judgement judgement(argc, argv);
    for (const Kind& kind : kinds) {
        const std::string ours = benchmarkName("libkvole", kind, many);
        judgement.atMost(std::string("time of 10,000 over 1,000: ") + kind.name, judgement.ratio(ours, benchmarkName("libkvole", kind, few)),
                         mostGrowth);
        judgement.atLeast(std::string("libgsf over libkvole at 10,000: ") + kind.name, judgement.ratio(benchmarkName("libgsf", kind, many), ours),
                          leastLeadOverGsf);
    }
    return judgement.exitCode();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "listManyStreams: %s\n", failure.what());
    return 1;
}
