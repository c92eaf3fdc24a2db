// How many small documents an hour does a vault's crawler get through? Each is opened, and its version, custom properties,
// invisible properties and summary are read. The peers read the same property streams of the same files: libgsf in this
// process, olefile in one Python process that warms up and times itself.
#include "support/client.h"
#include "support/documents.h"
#include "support/judgement.h"
#ifdef KVDM_HAVE_GSF
#include "support/gsfPeer.h"
#endif

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>

namespace {

using namespace kvdm;
using namespace kvdm::bench;

constexpr std::size_t documentCount = 2000;
constexpr double leastLeadOverOlefile = 4;
constexpr double leastLeadOverGsf = 1;

// Seconds that the Python peer took for all documents, as it tells; negative when it cannot run here. The system's own Python
// is asked as well: packages of the distribution are not seen by another one that comes first in the path.
double olefileSeconds(const std::string& listFile)
{
    double seconds = -1;
    for (const char* python : {"python3", "/usr/bin/python3"}) {
        const std::string command = std::string(python) + " '" KVDM_SOURCE_DIR "/bench/support/olefilePeer.py' '" + listFile + "' 2>/dev/null";
        if (std::FILE* pipe = popen(command.c_str(), "r")) {
            const bool told = std::fscanf(pipe, "%lf", &seconds) == 1;
            pclose(pipe);
            if (told)
                return seconds;
        }
    }
    return -1;
}

} // namespace

int main(int argc, char** argv)
try {
    const TemporaryFolder folder;
    const std::vector<std::string> paths = makeSmallDocuments(folder, documentCount);
    const ComPtr<IKvDMApplication> application = makeApplication();
    std::size_t units = 0;
    for (const std::string& path : paths)
        units += askEverythingInTheVaultsList(*openDocument(*application, path)).textUnits;
    if (units == 0)
        throw std::runtime_error("the documents do not answer");

    benchmark::RegisterBenchmark("libkvdocmgr",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state) {
                                         for (const std::string& path : paths)
                                             benchmark::DoNotOptimize(askEverythingInTheVaultsList(*openDocument(*application, path)));
                                     }
                                     state.counters["documents/s"] =
                                         benchmark::Counter(static_cast<double>(documentCount), benchmark::Counter::kIsIterationInvariantRate);
                                 })
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
#ifdef KVDM_HAVE_GSF
    gsf::initialise();
    benchmark::RegisterBenchmark("libgsf",
                                 [&](benchmark::State& state) {
                                     for (auto _ : state) {
                                         for (const std::string& path : paths)
                                             benchmark::DoNotOptimize(gsf::readDocument(path));
                                     }
                                     state.counters["documents/s"] =
                                         benchmark::Counter(static_cast<double>(documentCount), benchmark::Counter::kIsIterationInvariantRate);
                                 })
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
#endif
    const std::string listFile = folder.file("list");
    {
        std::ofstream list(listFile);
        for (const std::string& path : paths)
            list << path << '\n';
    }
    if (olefileSeconds("/dev/null") >= 0) {
        benchmark::RegisterBenchmark("olefile",
                                     [&](benchmark::State& state) {
                                         for (auto _ : state)
                                             state.SetIterationTime(olefileSeconds(listFile));
                                         state.counters["documents/s"] =
                                             benchmark::Counter(static_cast<double>(documentCount), benchmark::Counter::kIsIterationInvariantRate);
                                     })
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(3)
            ->Unit(benchmark::kMillisecond);
    }

    Judgement judgement(argc, argv);
    judgement.atLeast("libgsf over libkvdocmgr", judgement.ratio("libgsf", "libkvdocmgr"), leastLeadOverGsf);
    judgement.atLeast("olefile over libkvdocmgr", judgement.ratio("olefile", "libkvdocmgr"), leastLeadOverOlefile);
    return judgement.exitCode();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "readManySmallDocuments: %s\n", failure.what());
    return 1;
}
