// Runs a fuzz target without libFuzzer: every file under the given directories (and every file given)
// goes once to LLVMFuzzerTestOneInput, in path order, so the seed corpus replays as a plain test. A target
// that finds a fault aborts; an empty or missing corpus fails too, so no target goes without seeds.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace
{

std::vector<std::filesystem::path> CollectInputs(int count, char** arguments)
{
    std::vector<std::filesystem::path> inputs;
    for (int index = 1; index < count; ++index)
    {
        const std::filesystem::path path(arguments[index]);
        if (std::filesystem::is_directory(path))
        {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
            {
                if (entry.is_regular_file())
                {
                    inputs.push_back(entry.path());
                }
            }
        }
        else if (std::filesystem::is_regular_file(path))
        {
            inputs.push_back(path);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::filesystem::path> inputs = CollectInputs(argc, argv);
    if (inputs.empty())
    {
        std::fprintf(stderr, "no inputs to replay\n");
        return 1;
    }
    for (const std::filesystem::path& path : inputs)
    {
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> content((std::istreambuf_iterator<char>(file)),
                                        std::istreambuf_iterator<char>());
        if (!file.is_open() || file.bad())
        {
            std::fprintf(stderr, "cannot read %s\n", path.c_str());
            return 1;
        }
        // A buffer of the exact size, as libFuzzer hands over, so an overread is seen under ASan.
        const std::unique_ptr<std::uint8_t[]> data(new std::uint8_t[content.size()]);
        std::copy(content.begin(), content.end(), data.get());
        std::printf("%s\n", path.c_str());
        std::fflush(stdout); // the last name printed is the input that aborted
        LLVMFuzzerTestOneInput(data.get(), content.size());
    }
    std::printf("replayed %zu inputs\n", inputs.size());
    return 0;
}
