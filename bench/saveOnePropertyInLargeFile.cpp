// Does saving cost what was changed, or what the file holds? One custom property of a part is given another value, and the
// part is saved: at 1 MiB and at 1 GiB, with the tables in front of the data and behind it. Opening and closing are part of
// the time; a vault that stamps a property does both.
#include "support/client.h"
#include "support/documents.h"
#include "support/judgement.h"
#include "support/transfers.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <iterator>

namespace {

using namespace kvdm;
using namespace kvdm::bench;

constexpr double mostGrowth = 1.5;
constexpr double mostBytes = 256 << 10;
constexpr char16_t property[] = u"Material";

struct Size
{
    const char* name;
    std::uint64_t bytes;
};
constexpr Size smallest = {"1 MiB", 1ull << 20};
constexpr Size largest = {"1 GiB", 1ull << 30};

struct Layout
{
    const char* name;
    test::CompoundFileBuilder::Options options;
};
const Layout layouts[] = {
    {"tables first", {.version = 3}}, {"tables last", {.version = 3, .tablesLast = true}}, {"4096-byte sectors", {.version = 4}}};

std::string benchmarkName(const Layout& layout, const Size& size)
{
    return std::string("save: ") + layout.name + ", " + size.name;
}

// Another value at each call, as long as the one before.
void saveAnotherValue(IKvDMApplication& application, const std::string& path, unsigned& turn)
{
    const std::string digits = std::to_string(1000000 + turn++ % 1000000);
    const OwnedBstr name{std::u16string_view(property)};
    const OwnedBstr value(u"Steel " + std::u16string(digits.begin(), digits.end()));
    const ComPtr<IKvDMDocument12> document = openDocument(application, path, false);
    KvDmDocumentSaveError error = kvDmDocumentSaveErrorFail;
    if (FAILED(document->SetCustomProperty(name.get(), value.get())) || FAILED(document->Save(&error)) || error != kvDmDocumentSaveErrorNone)
        throw std::runtime_error(path + " is not saved");
}

bool holdsValue(IKvDMApplication& application, const std::string& path, unsigned turn)
{
    const std::string digits = std::to_string(1000000 + turn);
    const OwnedBstr name{std::u16string_view(property)};
    OwnedBstr linkedTo, value;
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    return SUCCEEDED(openDocument(application, path)->GetCustomPropertyValues(name.get(), &type, linkedTo.put(), value.put())) &&
           value.view() == u"Steel " + std::u16string(digits.begin(), digits.end());
}

} // namespace

int main(int argc, char** argv)
try {
    const TemporaryFolder folder;
    const ComPtr<IKvDMApplication> application = makeApplication();
    struct Counted
    {
        std::string what, path;
        std::uint64_t size;
        Transfers first, next;
    };
    std::vector<Counted> counted;
    counted.reserve(std::size(layouts) * 2);
    for (const Layout& layout : layouts) {
        for (const Size& size : {smallest, largest}) {
            const std::string path = folder.file(std::to_string(counted.size()) + ".kvdprt");
            makeLargeDocument(path, size.bytes, layout.options);
            Counted one{std::string(layout.name) + ", " + size.name, path, std::filesystem::file_size(path), {}, {}};
            unsigned turn = 0;
            one.first = transfersOf([&] { saveAnotherValue(*application, path, turn); });
            one.next = transfersOf([&] { saveAnotherValue(*application, path, turn); });
            if (!holdsValue(*application, path, turn - 1))
                throw std::runtime_error(path + " does not hold what was saved");
            counted.push_back(one);
            benchmark::RegisterBenchmark(benchmarkName(layout, size).c_str(),
                                         [&application, path, turn](benchmark::State& state) mutable {
                                             for (auto _ : state)
                                                 saveAnotherValue(*application, path, turn);
                                         })
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }

    Judgement judgement(argc, argv);
    for (const Counted& one : counted) {
        judgement.atMost("bytes written by the first save: " + one.what, static_cast<double>(one.first.bytesWritten), mostBytes);
        judgement.atMost("bytes written by the next: " + one.what, static_cast<double>(one.next.bytesWritten), mostBytes);
        judgement.tell("bytes read by the first save: " + one.what, static_cast<double>(one.first.bytesRead));
        judgement.atMost("growth of the file over all saves, bytes: " + one.what,
                         static_cast<double>(std::filesystem::file_size(one.path)) - static_cast<double>(one.size), mostBytes);
    }
    for (const Layout& layout : layouts)
        judgement.atMost(std::string("time of 1 GiB over 1 MiB: ") + layout.name,
                         judgement.ratio(benchmarkName(layout, largest), benchmarkName(layout, smallest)), mostGrowth);
    return judgement.exitCode();
} catch (const std::exception& failure) {
    std::fprintf(stderr, "saveOnePropertyInLargeFile: %s\n", failure.what());
    return 1;
}
