#include "WriteLog.h"

#include "support/TemporaryDirectory.h"

#include <fstream>
#include <stdexcept>

#include <sys/stat.h>

namespace reliability
{

namespace
{

namespace fs = std::filesystem;

constexpr const char* OPERATIONS[] = {"none",   "create",   "write",  "truncate", "sync", "link",
                                      "rename", "exchange", "unlink", "folder",   "say"};

LoggedCall::Operation operationOf(const std::string& word)
{
    const auto* const found = std::find(std::begin(OPERATIONS), std::end(OPERATIONS), word);
    if (found == std::end(OPERATIONS))
    {
        throw std::runtime_error("unknown operation in the log: " + word);
    }
    return static_cast<LoggedCall::Operation>(found - std::begin(OPERATIONS));
}

std::pair<std::string, std::string> namesOf(const LoggedCall& call)
{
    const std::size_t tab = call.bytes.find('\t');
    return {call.bytes.substr(0, tab), call.bytes.substr(tab + 1)};
}

/// Gives each new file a number of its own.
class Inodes
{
public:
    void name(LoggedCall& call)
    {
        if (call.operation == LoggedCall::Create)
        {
            _latest[call.inode] = ~++_count; // no file system counts that far
        }
        const auto found = _latest.find(call.inode);
        call.inode = found != _latest.end() ? found->second : call.inode;
    }

private:
    std::map<std::uint64_t, std::uint64_t> _latest;
    std::uint64_t _count = 0;
};

} // namespace

std::vector<LoggedCall> readLog(const std::string& path)
{
    std::vector<LoggedCall> res;
    Inodes inodes;
    std::ifstream in(path, std::ios::binary);
    std::string word;
    while (in >> word)
    {
        LoggedCall call{operationOf(word), 0, 0, {}};
        std::size_t size = 0;
        in >> call.inode >> call.number >> size;
        in.get();
        call.bytes.resize(size);
        if (!in.read(call.bytes.data(), static_cast<std::streamsize>(size)))
        {
            throw std::runtime_error("the log is cut off");
        }
        inodes.name(call);
        res.push_back(std::move(call));
    }
    return res;
}

FolderState::FolderState(const std::string& folder)
{
    for (const auto& entry : fs::recursive_directory_iterator(folder))
    {
        struct stat status = {};
        stat(entry.path().c_str(), &status);
        const std::uint64_t inode = entry.is_directory() ? FOLDER : status.st_ino;
        names[entry.path().lexically_relative(folder).string()] = inode;
        if (inode != FOLDER)
        {
            contents[inode] = test::bytesOf(entry.path().string());
        }
    }
}

void FolderState::apply(const LoggedCall& call, std::size_t size)
{
    switch (call.operation)
    {
    case LoggedCall::Create:
        contents[call.inode].clear();
        if (!call.bytes.empty())
        {
            names[call.bytes] = call.inode;
        }
        break;
    case LoggedCall::Write:
    {
        std::string& content = contents[call.inode];
        size = std::min(size, call.bytes.size());
        content.resize(std::max(content.size(), call.number + size));
        content.replace(call.number, size, call.bytes, 0, size);
        break;
    }
    case LoggedCall::Truncate:
        contents[call.inode].resize(call.number);
        break;
    case LoggedCall::Link:
        names[call.bytes] = call.inode;
        break;
    case LoggedCall::Rename:
        rename(namesOf(call).first, namesOf(call).second);
        break;
    case LoggedCall::Exchange:
        std::swap(names.at(namesOf(call).first), names.at(namesOf(call).second));
        break;
    case LoggedCall::Unlink:
        names.erase(call.bytes);
        break;
    case LoggedCall::Folder:
        names[call.bytes] = FOLDER;
        break;
    case LoggedCall::None:
    case LoggedCall::Sync:
    case LoggedCall::Say:
        break;
    }
}

/// Of a folder all that is in it is renamed, too.
void FolderState::rename(const std::string& from, const std::string& to)
{
    std::map<std::string, std::uint64_t> renamed;
    for (const auto& [name, inode] : names)
    {
        const bool isMoved = name == from || name.compare(0, from.size() + 1, from + '/') == 0;
        if (isMoved || name != to)
        {
            renamed[isMoved ? to + name.substr(from.size()) : name] = inode;
        }
    }
    names = std::move(renamed);
}

void FolderState::writeTo(const std::string& folder) const
{
    for (const auto& entry : fs::directory_iterator(folder))
    {
        fs::remove_all(entry.path());
    }
    for (const auto& [name, inode] : names)
    {
        const fs::path path = fs::path(folder) / name;
        inode == FOLDER ? static_cast<void>(fs::create_directory(path))
                        : test::writeBytes(path.string(), contents.at(inode));
    }
}

std::map<std::string, std::string> FolderState::files() const
{
    std::map<std::string, std::string> res;
    for (const auto& [name, inode] : names)
    {
        res[name] = inode == FOLDER ? "" : contents.at(inode);
    }
    return res;
}

} // namespace reliability
