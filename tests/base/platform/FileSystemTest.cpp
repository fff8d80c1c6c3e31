#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "platform/detail/Posix.h"

#include "support/TemporaryDirectory.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <list>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace
{

using Names = std::list<std::wstring>;

std::string contentOf(const test::TemporaryFile& file)
{
    std::ifstream in(file.narrow, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class FileSystemTest : public testing::Test
{
protected:
    test::TemporaryFile write(const std::string& name, const std::string& content = "x")
    {
        test::TemporaryFile file = _directory.file(name);
        std::ofstream(file.narrow, std::ios::binary) << content;
        return file;
    }

    test::TemporaryFile link(const std::string& name, const std::string& target)
    {
        test::TemporaryFile file = _directory.file(name);
        std::filesystem::create_symlink(target, file.narrow);
        return file;
    }

    test::TemporaryFile fifo(const std::string& name)
    {
        test::TemporaryFile file = _directory.file(name);
        EXPECT_EQ(mkfifo(file.narrow.c_str(), 0600), 0);
        return file;
    }

    test::TemporaryFile folder(const std::string& name)
    {
        test::TemporaryFile file = _directory.file(name);
        std::filesystem::create_directory(file.narrow);
        return file;
    }

    test::TemporaryDirectory _directory;
    OS::FileSystem& _fileSystem = Platform::filesystem();
};

TEST_F(FileSystemTest, pathsBecomeAbsoluteAndNormal)
{
    const std::wstring current = OS::toWide(std::filesystem::current_path().string());
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"", L""},
        {L"/", L"/"},
        {L"//a///b/./../c/", L"/a/c"},
        {L"/../..", L"/"},
        {L"x.sce", current + L"/x.sce"},
        {L"./x/..", current},
        {{L'/', L'\u00e4', wchar_t{0xdcff}, L'/'}, {L'/', L'\u00e4', wchar_t{0xdcff}}}};
    for (const auto& [path, normal] : cases)
    {
        EXPECT_EQ(_fileSystem.getFilePath(path), normal);
    }
}

TEST_F(FileSystemTest, pathsThatCannotBeMadeAbsoluteAreEmpty)
{
    const std::filesystem::path before = std::filesystem::current_path();
    const auto gone = folder("gone");
    std::filesystem::current_path(gone.narrow);
    std::filesystem::remove(gone.narrow);
    const std::wstring relative = _fileSystem.getFilePath(L"x.sce");
    const int reason = errno;
    const std::wstring absolute = _fileSystem.getFilePath(L"/x.sce");
    std::filesystem::current_path(before);
    EXPECT_EQ(relative, L"");
    EXPECT_EQ(reason, ENOENT);
    EXPECT_EQ(absolute, L"/x.sce");
}

TEST_F(FileSystemTest, onlyRegularFilesAndDirectoriesExist)
{
    struct Case
    {
        test::TemporaryFile path;
        bool isFile;
        bool isDirectory;
    };

    const Case cases[] = {{write("file"), true, false},
                          {folder("folder"), false, true},
                          {link("to-file", "file"), true, false},
                          {link("to-folder", "folder"), false, true},
                          {link("to-nothing", "nothing"), false, false},
                          {fifo("fifo"), false, false},
                          {_directory.file("missing"), false, false},
                          {_directory.file("file/below"), false, false}};
    for (const Case& c : cases)
    {
        EXPECT_EQ(_fileSystem.fileExists(c.path.wide), c.isFile) << c.path.narrow;
        EXPECT_EQ(_fileSystem.directoryExists(c.path.wide), c.isDirectory) << c.path.narrow;
    }
    write(".Z");
    write("A\xff");
    Names directories{L"old"};
    Names files{L"old"};
    ASSERT_TRUE(_fileSystem.listDirectory(directories, files, _directory.widePath()));
    EXPECT_EQ(directories, (Names{L"folder", L"to-folder"}));
    EXPECT_EQ(files, (Names{L".Z", {L'A', wchar_t{0xdcff}}, L"file", L"to-file"}));

    EXPECT_FALSE(_fileSystem.listDirectory(directories, files, _directory.file("missing").wide));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(directories.empty() && files.empty());
    EXPECT_FALSE(_fileSystem.listDirectory(directories, files, _directory.file("file").wide));
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(FileSystemTest, directoriesAreMadeWithThoseAbove)
{
    const std::wstring deep = _directory.file("a").wide + L"/\u00e4/c/";
    EXPECT_TRUE(_fileSystem.createDirectory(deep));
    EXPECT_TRUE(_fileSystem.createDirectory(deep));
    EXPECT_TRUE(std::filesystem::is_directory(_directory.path() + "/a/\xc3\xa4/c"));
    EXPECT_FALSE(_fileSystem.createDirectory(write("file").wide));
    EXPECT_FALSE(_fileSystem.createDirectory(_directory.file("file/below").wide));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(_fileSystem.createDirectory(L""));
}

TEST_F(FileSystemTest, temporaryPathsAreUnusedSiblings)
{
    std::string longest;
    for (int i = 0; i < 63; ++i)
    {
        longest += "\xf0\x9f\x98\x80";
    }
    for (const std::string& name : {std::string("scene.sce"), longest + ".sc"})
    {
        const std::wstring path = OS::toWide(write(name).narrow);
        const std::wstring first = _fileSystem.getTemporaryPath(path);
        const std::wstring second = _fileSystem.getTemporaryPath(path);
        EXPECT_NE(first, second);
        for (const std::wstring& temporary : {first, second})
        {
            EXPECT_EQ(temporary.rfind(_directory.widePath() + L"/", 0), 0U);
            EXPECT_EQ(temporary.find_first_of(L"\xdcf0\xdc9f\xdc98\xdc80"), std::wstring::npos) << "split character";
            EXPECT_EQ(_fileSystem.createExclusive(temporary), 0) << errno;
            EXPECT_NE(_fileSystem.createExclusive(temporary), 0);
            EXPECT_EQ(errno, EEXIST);
        }
    }
    EXPECT_EQ(_fileSystem.getTemporaryPath(L""), L"");
    EXPECT_EQ(_fileSystem.getTemporaryPath(L"relative").rfind(L"relative.", 0), 0U);
}

TEST_F(FileSystemTest, renamingNeverReplaces)
{
    using Rename = std::function<int(const test::TemporaryFile&, const test::TemporaryFile&)>;
    const Rename ways[] = {[&](const auto& from, const auto& to) { return _fileSystem.renameFile(from.wide, to.wide); },
                           [](const auto& from, const auto& to)
                           { return OS::posix::renameByLink(from.narrow, to.narrow); }};
    for (const Rename& rename : ways)
    {
        const auto from = write("from", "new");
        const auto target = write("target", "old");
        EXPECT_NE(rename(from, target), 0);
        EXPECT_EQ(errno, EEXIST);
        EXPECT_EQ(contentOf(from) + contentOf(target), "newold");
        std::filesystem::remove(target.narrow);
        EXPECT_EQ(rename(from, target), 0);
        EXPECT_EQ(contentOf(target), "new");
        EXPECT_FALSE(std::filesystem::exists(from.narrow));
        EXPECT_NE(rename(from, target), 0);
        EXPECT_EQ(errno, ENOENT);
    }
}

TEST_F(FileSystemTest, replacingTakesRegularFilesOnly)
{
    const auto target = write("target", "old");
    EXPECT_EQ(_fileSystem.replaceFile(write("from", "new").wide, target.wide), 0);
    EXPECT_EQ(contentOf(target), "new");
    EXPECT_FALSE(std::filesystem::exists(_directory.path() + "/from"));

    const std::pair<test::TemporaryFile, int> others[] = {{fifo("fifo"), ENOTSUP}, {folder("folder"), EISDIR}};
    for (const auto& [other, reason] : others)
    {
        for (const auto& [from, to] : {std::pair(target, other), std::pair(other, target)})
        {
            EXPECT_NE(_fileSystem.replaceFile(from.wide, to.wide), 0);
            EXPECT_EQ(errno, reason);
        }
        EXPECT_NE(_fileSystem.renameFile(other.wide, _directory.file("free").wide), 0);
        EXPECT_NE(_fileSystem.markForDeletion(other.wide), 0);
        EXPECT_EQ(errno, reason);
        EXPECT_TRUE(std::filesystem::exists(other.narrow));
    }
    EXPECT_EQ(contentOf(target), "new");
}

TEST_F(FileSystemTest, aDeletedFileStaysReadableForWhoHasItOpen)
{
    const auto file = write("file", "content");
    const auto moved = _directory.file("moved");
    const auto reader = OS::openForReading(file.wide);
    EXPECT_EQ(_fileSystem.renameFile(file.wide, moved.wide), 0);
    EXPECT_EQ(_fileSystem.markForDeletion(moved.wide), 0);
    EXPECT_FALSE(std::filesystem::exists(moved.narrow));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(*reader), {}), "content");
    EXPECT_NE(_fileSystem.markForDeletion(moved.wide), 0);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileSystemTest, namesOfFilesLeadNowhereElse)
{
    for (const std::wstring& name : {std::wstring(L"a b"), std::wstring(L"..."), std::wstring(L"\\:*"),
                                     std::wstring(255, L'a'), std::wstring(127, L'\u00e4')})
    {
        EXPECT_TRUE(_fileSystem.isFileName(name));
    }
    for (const std::wstring& name : {std::wstring(), std::wstring(L"."), std::wstring(L".."), std::wstring(L"a/b"),
                                     std::wstring(L"a\0b", 3), std::wstring(256, L'a'), std::wstring(128, L'\u00e4')})
    {
        EXPECT_FALSE(_fileSystem.isFileName(name));
    }
}

TEST_F(FileSystemTest, pathsWithANulNameNothing)
{
    const auto file = write("file", "content");
    const std::wstring bad = file.wide + std::wstring(L"\0x", 2);
    const std::wstring free = _directory.file("free").wide;
    Names names;
    const std::function<bool()> operations[] = {
        [&] { return !_fileSystem.getFilePath(bad).empty(); },
        [&] { return !_fileSystem.getTemporaryPath(bad).empty(); },
        [&] { return _fileSystem.fileExists(bad); },
        [&] { return _fileSystem.directoryExists(_directory.widePath() + std::wstring(1, L'\0')); },
        [&] { return _fileSystem.createDirectory(free + std::wstring(1, L'\0')); },
        [&] { return _fileSystem.listDirectory(names, names, _directory.widePath() + std::wstring(1, L'\0')); },
        [&] { return _fileSystem.createExclusive(free + std::wstring(1, L'\0')) == 0; },
        [&] { return _fileSystem.renameFile(bad, free) == 0; },
        [&] { return _fileSystem.renameFile(file.wide, free + std::wstring(1, L'\0')) == 0; },
        [&] { return _fileSystem.replaceFile(bad, free) == 0; },
        [&] { return _fileSystem.replaceFile(file.wide, free + std::wstring(1, L'\0')) == 0; },
        [&] { return _fileSystem.markForDeletion(bad) == 0; },
        [&] { return OS::openForReading(bad)->is_open(); },
        [&] { return OS::UpdateStream(bad).is_open(); }};
    for (std::size_t i = 0; i < std::size(operations); ++i)
    {
        errno = 0;
        EXPECT_FALSE(operations[i]()) << i;
        EXPECT_EQ(errno, EINVAL) << i;
    }
    EXPECT_EQ(contentOf(file), "content");
    EXPECT_FALSE(_fileSystem.fileExists(free) || _fileSystem.directoryExists(free));
}

} // namespace
