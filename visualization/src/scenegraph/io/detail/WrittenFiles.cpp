#include "scenegraph/io/detail/WrittenFiles.h"

#include "platform/Apart.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

namespace sdb::detail
{

namespace
{

struct WrittenFile
{
    OS::FileState state;
    KnownBlocks blocks;
    long process; ///< the one that has left it: a copy of a process goes on counting stamps by itself
};

/// Writers on several threads share this.
struct WrittenFiles
{
    std::mutex mutex;
    std::deque<WrittenFile> files; ///< the newest last
};

WrittenFiles& writtenFiles()
{
    static auto* const files = new WrittenFiles; // never destroyed: writers may live as long as the process
    return *files;
}

} // namespace

void rememberWritten(const OS::FileState& state, KnownBlocks blocks)
{
    constexpr std::size_t MOST_FILES = 64;
    auto& [mutex, files] = writtenFiles();
    const std::lock_guard<std::mutex> guard(mutex);
    const auto isSame = [&](const WrittenFile& file) { return file.state.isOf(state); };
    files.erase(std::remove_if(files.begin(), files.end(), isSame), files.end());
    if (files.size() == MOST_FILES)
    {
        files.pop_front();
    }
    files.push_back({state, std::move(blocks), OS::processNumber()});
}

KnownBlocks recallWritten(const OS::FileState& state)
{
    auto& [mutex, files] = writtenFiles();
    const std::lock_guard<std::mutex> guard(mutex);
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&](const WrittenFile& file)
                                    { return file.state == state && file.process == OS::processNumber(); });
    return found == files.end() ? KnownBlocks() : found->blocks;
}

} // namespace sdb::detail
