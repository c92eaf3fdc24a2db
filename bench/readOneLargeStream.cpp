// What does a large stream cost over plain bytes? 256 MiB are read through IStream by blocks of 128 KiB, beside `cat` of a
// plain file of that size to /dev/null, which reads by the same blocks. A stream whose sectors lie in turn with those of
// another shows what a chain costs that is nowhere in one piece.
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

constexpr std::uint64_t streamSize = 256ull << 20;
constexpr std::uint64_t scatteredSize = 32ull << 20;
constexpr std::size_t block = 128 << 10;
constexpr double mostOverCat = 1.5;
constexpr double leastLeadOverGsf = 1;

void registerRead(const std::string& name, const std::string& path, std::uint64_t size)
{
    benchmark::RegisterBenchmark(("libkvole: " + name).c_str(),
                                 [path, size](benchmark::State& state) {
                                     for (auto _ : state) {
                                         if (engine::readByBlocks(*engine::open(path), u"Body", block) != size)
                                             state.SkipWithError("the stream ends early");
                                     }
                                     state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
#ifdef KVDM_HAVE_GSF
    benchmark::RegisterBenchmark(("libgsf: " + name).c_str(),
                                 [path, size](benchmark::State& state) {
                                     for (auto _ : state)
                                         benchmark::DoNotOptimize(gsf::readByBlocks(path, "Body", block));
                                     state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
#endif
}

} // namespace

int main(int argc, char** argv)
try {
    const TemporaryFolder folder;
    for (const unsigned version : {3u, 4u}) {
        test::CompoundFileBuilder whole(version);
        whole.root().filled(u"Body", streamSize, 'Z');
        const std::string path = folder.file("whole" + std::to_string(version));
        test::CompoundFileBuilder scattered({.version = version, .interleaved = true});
        scattered.root().filled(u"Body", scatteredSize, 'Z');
        scattered.root().filled(u"Other", scatteredSize, 'Y');
        const std::string scatteredPath = folder.file("scattered" + std::to_string(version));
        makeDenseFile(path, whole);
        makeDenseFile(scatteredPath, scattered);
        registerRead("version " + std::to_string(version), path, streamSize);
        registerRead("version " + std::to_string(version) + ", every other sector", scatteredPath, scatteredSize);
    }
    const std::string plain = folder.file("plain");
    makePlainFile(plain, streamSize);
    benchmark::RegisterBenchmark("cat",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state)
                                         runProgram({"cat", plain});
                                     state.SetBytesProcessed(static_cast<std::int64_t>(streamSize) * state.iterations());
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
#ifdef KVDM_HAVE_GSF
    gsf::initialise();
#endif

    Judgement judgement(argc, argv);
    for (const char* version : {"version 3", "version 4"}) {
        const std::string whole = std::string("libkvole: ") + version;
        const std::string scattered = whole + ", every other sector";
        judgement.atMost(whole + " over cat", judgement.ratio(whole, "cat"), mostOverCat);
        judgement.atLeast(std::string("libgsf over libkvole: ") + version, judgement.ratio(std::string("libgsf: ") + version, whole),
                          leastLeadOverGsf);
        judgement.atLeast(std::string("libgsf over libkvole, every other sector: ") + version,
                          judgement.ratio(std::string("libgsf: ") + version + ", every other sector", scattered), leastLeadOverGsf);
    }
    return judgement.exitCode();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "readOneLargeStream: %s\n", failure.what());
    return 1;
}
