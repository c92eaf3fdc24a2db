// A fuzz target as an ordinary program: it replays the files that are named, and all files of the folders that are named.
// The end is regular when every input was survived; nothing else can be said of it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& named)
{
    std::vector<std::filesystem::path> files;
    if (!std::filesystem::is_directory(named))
        return {named};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(named))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end()); // the order of a folder is not the same everywhere
    return files;
}

// False when the file cannot be read.
bool replay(const std::filesystem::path& file)
{
    std::fprintf(stderr, "%s\n", file.c_str()); // before the input: the last line names what a crash came from
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return false;
    const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
    const std::vector<std::uint8_t> exact(content.begin(), content.end()); // a sanitizer sees the first byte past the end
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::filesystem::path& file : filesOf(argv[i])) {
            if (!replay(file)) {
                std::fprintf(stderr, "cannot be read\n");
                return 1;
            }
            ++replayed;
        }
    }
    std::fprintf(stderr, "%zu inputs survived\n", replayed);
    return replayed > 0 ? 0 : 1; // a folder without seeds proves nothing
}
