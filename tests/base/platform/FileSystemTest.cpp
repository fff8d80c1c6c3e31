#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "platform/detail/Posix.h"

#include "support/TemporaryDirectory.h"

#include <cerrno>
#include <list>

#include <sys/stat.h>

namespace
{

using namespace test;
using Names = std::list<std::wstring>;

class FileSystemTest : public testing::Test
{
protected:
    TemporaryFile write(const std::string& name, const std::string& content = "x") const
    {
        writeBytes(directory.file(name).narrow, content);
        return directory.file(name);
    }

    TemporaryFile link(const std::string& name, const std::string& target) const
    {
        std::filesystem::create_symlink(target, directory.file(name).narrow);
        return directory.file(name);
    }

    TemporaryFile fifo(const std::string& name) const
    {
        EXPECT_EQ(mkfifo(directory.file(name).narrow.c_str(), 0600), 0);
        return directory.file(name);
    }

    TemporaryFile folder(const std::string& name) const
    {
        std::filesystem::create_directory(directory.file(name).narrow);
        return directory.file(name);
    }

    const TemporaryDirectory directory;
    OS::FileSystem& fileSystem = Platform::filesystem();
};

TEST_F(FileSystemTest, pathsBecomeAbsoluteAndNormal)
{
    const std::filesystem::path current = std::filesystem::current_path();
    const std::wstring wideCurrent = OS::toWide(current.string());
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"", L""},
        {L"/", L"/"},
        {L"//a///b/./../c/", L"/a/c"},
        {L"/../..", L"/"},
        {L"x.sce", wideCurrent + L"/x.sce"},
        {L"./x/..", wideCurrent},
        {{L'/', L'\u00e4', wchar_t{0xdcff}, L'/'}, {L'/', L'\u00e4', wchar_t{0xdcff}}}};
    for (const auto& [path, normal] : cases)
    {
        EXPECT_EQ(fileSystem.getFilePath(path), normal);
    }
    const std::string inner = folder("real").narrow + "/inner", link = directory.file("link").narrow;
    std::filesystem::create_directory(inner);
    std::filesystem::create_symlink(inner, link);
    EXPECT_EQ(fileSystem.getFilePath(OS::toWide(link + "/../x.sce")), directory.file("real/x.sce").wide);
    EXPECT_EQ(fileSystem.getFilePath(OS::toWide(link)), OS::toWide(link));
    // Relative paths mean nothing in a directory that is gone.
    std::filesystem::current_path(folder("gone").narrow);
    std::filesystem::remove(directory.file("gone").narrow);
    EXPECT_EQ(fileSystem.getFilePath(L"x.sce"), L"");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(fileSystem.getFilePath(L"/x.sce"), L"/x.sce");
    std::filesystem::current_path(current);
}

TEST_F(FileSystemTest, onlyRegularFilesAndDirectoriesExist)
{
    const std::tuple<TemporaryFile, bool, bool> cases[] = {{write("file"), true, false},
                                                           {folder("folder"), false, true},
                                                           {link("to-file", "file"), true, false},
                                                           {link("to-folder", "folder"), false, true},
                                                           {link("to-nothing", "nothing"), false, false},
                                                           {fifo("fifo"), false, false},
                                                           {directory.file("missing"), false, false},
                                                           {directory.file("file/below"), false, false}};
    for (const auto& [path, isFile, isDirectory] : cases)
    {
        EXPECT_EQ(fileSystem.fileExists(path.wide), isFile) << path.narrow;
        EXPECT_EQ(fileSystem.directoryExists(path.wide), isDirectory) << path.narrow;
    }
    write(".Z");
    write("A\xff");
    Names directories{L"old"}, files{L"old"};
    ASSERT_TRUE(fileSystem.listDirectory(directories, files, directory.widePath()));
    EXPECT_EQ(directories, (Names{L"folder", L"to-folder"}));
    EXPECT_EQ(files, (Names{L".Z", {L'A', wchar_t{0xdcff}}, L"file", L"to-file"}));
    for (const auto& [name, reason] : {std::pair("missing", ENOENT), {"file", ENOTDIR}})
    {
        EXPECT_FALSE(fileSystem.listDirectory(directories, files, directory.file(name).wide));
        EXPECT_EQ(errno, reason);
        EXPECT_TRUE(directories.empty() && files.empty());
    }
}

TEST_F(FileSystemTest, directoriesAreMadeWithThoseAbove)
{
    const std::wstring deep = directory.file("a").wide + L"/\u00e4/c/";
    EXPECT_TRUE(fileSystem.createDirectory(deep));
    EXPECT_TRUE(fileSystem.createDirectory(deep));
    EXPECT_TRUE(std::filesystem::is_directory(directory.path() + "/a/\xc3\xa4/c"));
    EXPECT_FALSE(fileSystem.createDirectory(write("file").wide));
    EXPECT_FALSE(fileSystem.createDirectory(directory.file("file/below").wide));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(fileSystem.createDirectory(L""));
}

TEST_F(FileSystemTest, temporaryPathsAreUnusedSiblings)
{
    std::string longest = ".sc";
    for (int i = 0; i < 63; ++i)
    {
        longest.insert(0, "\xf0\x9f\x98\x80");
    }
    for (const std::string& name : {std::string("scene.sce"), longest})
    {
        const std::wstring path = OS::toWide(write(name).narrow);
        for (int i = 0; i < 2; ++i) // a second one differs from the first, which is taken then
        {
            const std::wstring temporary = fileSystem.getTemporaryPath(path);
            EXPECT_EQ(temporary.rfind(directory.widePath() + L"/", 0), 0U);
            EXPECT_EQ(temporary.find_first_of(L"\xdcf0\xdc9f\xdc98\xdc80"), std::wstring::npos) << "split character";
            EXPECT_EQ(fileSystem.createExclusive(temporary), 0) << errno;
            EXPECT_NE(fileSystem.createExclusive(temporary), 0);
            EXPECT_EQ(errno, EEXIST);
        }
    }
    EXPECT_EQ(fileSystem.getTemporaryPath(L""), L"");
    EXPECT_EQ(fileSystem.getTemporaryPath(L"relative").rfind(L"relative.", 0), 0U);
}

TEST_F(FileSystemTest, renamingNeverReplaces)
{
    const std::function<int(const TemporaryFile&, const TemporaryFile&)> ways[] = {
        [&](const auto& from, const auto& to) { return fileSystem.renameFile(from.wide, to.wide); },
        [](const auto& from, const auto& to) { return OS::posix::renameByLink(from.narrow, to.narrow); }};
    for (const auto& rename : ways)
    {
        const auto from = write("from", "new"), target = write("target", "old");
        EXPECT_NE(rename(from, target), 0);
        EXPECT_EQ(errno, EEXIST);
        EXPECT_EQ(bytesOf(from.narrow) + bytesOf(target.narrow), "newold");
        std::filesystem::remove(target.narrow);
        EXPECT_EQ(rename(from, target), 0);
        EXPECT_EQ(bytesOf(target.narrow), "new");
        EXPECT_FALSE(std::filesystem::exists(from.narrow));
        EXPECT_NE(rename(from, target), 0);
        EXPECT_EQ(errno, ENOENT);
    }
}

TEST_F(FileSystemTest, pathsWithANulNameNothing)
{
    const auto file = write("file", "content"), free = directory.file("free");
    const std::wstring nul(1, L'\0'), bad = file.wide + nul, badFree = free.wide + nul;
    Names names;
    const std::function<bool()> operations[] = {
        [&] { return !fileSystem.getFilePath(bad).empty(); },
        [&] { return !fileSystem.getTemporaryPath(bad).empty(); },
        [&] { return fileSystem.fileExists(bad); },
        [&] { return fileSystem.directoryExists(directory.widePath() + nul); },
        [&] { return fileSystem.createDirectory(badFree); },
        [&] { return fileSystem.listDirectory(names, names, directory.widePath() + nul); },
        [&] { return fileSystem.createExclusive(badFree) == 0; },
        [&] { return fileSystem.renameFile(bad, free.wide) == 0; },
        [&] { return fileSystem.renameFile(file.wide, badFree) == 0; },
        [&] { return fileSystem.replaceFile(bad, free.wide) == 0; },
        [&] { return fileSystem.replaceFile(file.wide, badFree) == 0; },
        [&] { return fileSystem.markForDeletion(bad) == 0; },
        [&] { return OS::openForReading(bad)->is_open(); },
        [&] { return OS::UpdateStream(bad).is_open(); }};
    for (std::size_t i = 0; i < std::size(operations); ++i)
    {
        errno = 0;
        EXPECT_FALSE(operations[i]()) << i;
        EXPECT_EQ(errno, EINVAL) << i;
    }
    EXPECT_EQ(bytesOf(file.narrow), "content");
    EXPECT_FALSE(std::filesystem::exists(free.narrow));
}

TEST_F(FileSystemTest, whatIsNoRegularFileIsRefusedWithTheReason)
{
    const std::pair<std::wstring, int> cases[] = {{directory.file("missing").wide, ENOENT},
                                                  {L"", ENOENT},
                                                  {directory.widePath(), EISDIR},
                                                  {L"/dev/zero", ENOTSUP},
                                                  {fifo("fifo").wide, ENOTSUP}};
    const auto openDescriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const std::ptrdiff_t before = openDescriptors();
    for (const auto& [path, reason] : cases) // opening a pipe must not wait for a writer
    {
        errno = 0;
        const auto reader = OS::openForReading(path);
        EXPECT_EQ(errno, reason);
        EXPECT_TRUE(!reader->is_open() && reader->fail());
        errno = 0;
        OS::UpdateStream update(path);
        EXPECT_EQ(errno, reason);
        EXPECT_TRUE(!update.is_open() && update.fail() && !update.truncate(0));
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FileSystemTest, cuttingFollowsTheOpenFileNotItsPath)
{
    const auto file = write("file", "first"), moved = directory.file("moved");
    OS::UpdateStream stream(file.wide);
    std::filesystem::rename(file.narrow, moved.narrow);
    write("file", "second");
    EXPECT_TRUE(stream.truncate(2));
    EXPECT_EQ(bytesOf(file.narrow), "second");
    EXPECT_EQ(bytesOf(moved.narrow), "fi");
}

} // namespace
