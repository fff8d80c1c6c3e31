#include "WriteLog.h"

#include "support/TemporaryDirectory.h"

#include <fstream>
#include <stdexcept>

#include <sys/stat.h>

namespace reliability
{

namespace
{

constexpr const char* OPERATIONS[] = {"create", "write", "truncate", "rename", "link", "unlink"};

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

} // namespace

std::vector<LoggedCall> readLog(const std::string& path)
{
    std::vector<LoggedCall> res;
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
        res.push_back(std::move(call));
    }
    return res;
}

FolderState::FolderState(const std::string& folder)
{
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        struct stat status = {};
        stat(entry.path().c_str(), &status);
        _names[entry.path().filename().string()] = status.st_ino;
        _contents[status.st_ino] = test::bytesOf(entry.path().string());
    }
}

void FolderState::apply(const LoggedCall& call, std::size_t bytes)
{
    std::string& content = _contents[call.inode];
    switch (call.operation)
    {
    case LoggedCall::Create:
        _names[call.bytes] = call.inode;
        content.clear();
        break;
    case LoggedCall::Write:
        bytes = std::min(bytes, call.bytes.size());
        content.resize(std::max(content.size(), call.number + bytes));
        content.replace(call.number, bytes, call.bytes, 0, bytes);
        break;
    case LoggedCall::Truncate:
        content.resize(call.number);
        break;
    case LoggedCall::Rename:
    case LoggedCall::Link:
    {
        const auto [from, to] = namesOf(call);
        _names[to] = _names.at(from);
        if (call.operation == LoggedCall::Rename)
        {
            _names.erase(from);
        }
        break;
    }
    case LoggedCall::Unlink:
        _names.erase(call.bytes);
        break;
    }
}

void FolderState::writeTo(const std::string& folder) const
{
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        std::filesystem::remove(entry.path());
    }
    for (const auto& [name, inode] : _names)
    {
        test::writeBytes((std::filesystem::path(folder) / name).string(), _contents.at(inode));
    }
}

} // namespace reliability
