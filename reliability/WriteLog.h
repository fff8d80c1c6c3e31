#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace reliability
{

/// One call that changed something, as the shim logs it: "OPERATION INODE NUMBER SIZE", a line feed, and SIZE bytes.
struct LoggedCall
{
    enum Operation
    {
        Create,   ///< of the name in `bytes`
        Write,    ///< of `bytes` at `number`
        Truncate, ///< to `number` bytes
        Rename,   ///< of one name to another, with a tab between them in `bytes`
        Link,     ///< the same
        Unlink    ///< of the name in `bytes`
    };

    Operation operation;
    std::uint64_t inode;
    std::uint64_t number;
    std::string bytes;
};

/// Throws std::runtime_error for a log that cannot be read.
std::vector<LoggedCall> readLog(const std::string& path);

/// The files of a folder at one moment.
class FolderState
{
public:
    /// Takes over what is in a folder now.
    explicit FolderState(const std::string& folder);

    /// Applies a call; of a write only the first `bytes` bytes.
    void apply(const LoggedCall& call, std::size_t bytes = SIZE_MAX);

    /// Writes the files into a folder, which is emptied before.
    void writeTo(const std::string& folder) const;

private:
    std::map<std::string, std::uint64_t> _names; ///< to inodes
    std::map<std::uint64_t, std::string> _contents;
};

} // namespace reliability
