// Runs a fuzz target over the files and folders that are named, without a fuzzer. Prints how many inputs there were,
// and which of them took longest.

#include "FuzzTarget.h"

#include "support/TemporaryDirectory.h"

#include <chrono>
#include <iostream>

namespace
{

using Clock = std::chrono::steady_clock;

struct Replay
{
    int inputs = 0;
    std::string slowest;
    std::chrono::duration<double, std::milli> longest{0};

    void run(const std::string& path)
    {
        (void)std::fprintf(stderr, "%s\n", path.c_str()); // the last one is the one that ended the process
        const std::string bytes = test::bytesOf(path);
        const auto begin = Clock::now();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        const std::chrono::duration<double, std::milli> time = Clock::now() - begin;
        ++inputs;
        if (time > longest)
        {
            longest = time;
            slowest = path;
        }
    }

    void runAll(const std::string& path)
    {
        if (!std::filesystem::is_directory(path))
        {
            return run(path);
        }
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(path))
        {
            files.push_back(entry.path().string());
        }
        std::sort(files.begin(), files.end());
        std::for_each(files.begin(), files.end(), [this](const std::string& file) { run(file); });
    }
};

} // namespace

int main(int count, char** arguments)
{
    Replay replay;
    std::for_each(arguments + 1, arguments + count, [&](const char* path) { replay.runAll(path); });
    std::printf("%d inputs, slowest %.1f ms: %s\n", replay.inputs, replay.longest.count(), replay.slowest.c_str());
    return replay.inputs > 0 ? 0 : 1;
}
