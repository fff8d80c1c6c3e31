#pragma once

#include "support/Testing.h"

#include <cstdlib>
#include <system_error>

namespace test
{

/// A path in the two forms that the interfaces take.
struct TemporaryFile
{
    std::string narrow;
    std::wstring wide;
};

/// A fresh, empty directory that disappears with the object, contents included.
class TemporaryDirectory
{
public:
    /// Throws std::runtime_error when the directory cannot be made.
    TemporaryDirectory()
        : _path(testing::TempDir() + "tavo-XXXXXX")
    {
        if (!mkdtemp(_path.data()))
        {
            throw std::runtime_error("cannot make a directory " + _path);
        }
    }

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }

    /// Without a slash at its end.
    const std::string& path() const { return _path; }

    std::wstring widePath() const { return {_path.begin(), _path.end()}; }

    /// The path of an ASCII name in the directory; nothing is created.
    TemporaryFile file(const std::string& name) const
    {
        const std::string narrow = _path + "/" + name;
        return {narrow, {narrow.begin(), narrow.end()}};
    }

private:
    std::string _path;
};

/// The bytes of a file; none if it cannot be read.
inline std::string bytesOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

} // namespace test
