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
        None,     ///< changed nothing that is looked at, or has failed
        Create,   ///< of a file with the name in `bytes`; without one if that is empty
        Write,    ///< of `bytes` at `number`
        Truncate, ///< to `number` bytes
        Sync,     ///< of a file, or of a folder
        Link,     ///< of a file to the name in `bytes`
        Rename,   ///< of one name to another, with a tab between them in `bytes`
        Exchange, ///< of the same two
        Unlink,   ///< of the name in `bytes`
        Folder,   ///< of the name in `bytes`, made
        Say       ///< of `bytes` to whoever has started the program; no call that counts
    };

    Operation operation;
    std::uint64_t inode; ///< of no other file, even if the system gives numbers to new files again
    std::uint64_t number;
    std::string bytes;

    bool changesFiles() const { return operation != None && operation != Sync && operation != Say; }

    bool changesBytes() const { return operation == Write || operation == Truncate; }
};

/// Throws std::runtime_error for a log that cannot be read.
std::vector<LoggedCall> readLog(const std::string& path);

/// The files of a folder at one moment.
struct FolderState
{
    static constexpr std::uint64_t FOLDER = 0; ///< stands for the inode of any folder

    FolderState() = default;

    /// Takes over what is in a folder now.
    explicit FolderState(const std::string& folder);

    /// Applies a call; of a write only the first `size` bytes.
    void apply(const LoggedCall& call, std::size_t size = SIZE_MAX);

    /// Writes the files into a folder, which is emptied before.
    void writeTo(const std::string& folder) const;

    /// The files and what they hold; folders hold nothing.
    std::map<std::string, std::string> files() const;

    std::map<std::string, std::uint64_t> names; ///< to inodes
    std::map<std::uint64_t, std::string> contents;

private:
    void rename(const std::string& from, const std::string& to);
};

} // namespace reliability
