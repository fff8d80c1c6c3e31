#include "platform/NewFile.h"

#include "platform/FileStreams.h"
#include "platform/FileSystem.h"
#include "support/TemporaryDirectory.h"
#include "support/Unprivileged.h"

#include <cerrno>

#include <sys/stat.h>

namespace
{

using namespace test;
namespace fs = std::filesystem;

class NewFileTest : public testing::Test
{
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(directory.path()))
        {
            found.push_back(entry.path().filename().string());
        }
        return found;
    }

    static bool fill(const OS::NewFile& file, const std::string& content)
    {
        const auto out = OS::openForWriting(file.path(), OS::LineEnds::AsWritten);
        *out << content;
        out->close();
        return out->good();
    }

    const TemporaryDirectory directory;
    const TemporaryFile file = directory.file("file");
};

TEST_F(NewFileTest, aFileHasNoNameUntilItIsInstalled)
{
    {
        const OS::NewFile forgotten(file.wide);
        ASSERT_TRUE(forgotten.isOpen() && fill(forgotten, "forgotten"));
        EXPECT_EQ(names().size(), forgotten.temporaryPath().empty() ? 0U : 1U);
    }
    EXPECT_THAT(names(), IsEmpty());
    OS::NewFile first(file.wide), second(file.wide);
    ASSERT_TRUE(fill(first, "first") && fill(second, "second"));
    EXPECT_TRUE(first.synchronise() && first.install() && first.synchroniseName());
    EXPECT_FALSE(second.install()) << "the name is taken";
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(bytesOf(file.narrow), "first");
    EXPECT_TRUE(second.replace());
    EXPECT_EQ(bytesOf(file.narrow), "second");
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(NewFileTest, whatIsReplacedKeepsItsPermissionsAndItsReaders)
{
    const mode_t mask = umask(0027);
    OS::NewFile created(file.wide);
    EXPECT_TRUE(fill(created, "old") && created.replace()) << "there is nothing to be replaced";
    umask(mask);
    EXPECT_EQ(fs::status(file.narrow).permissions(), fs::perms(0640));
    fs::permissions(file.narrow, fs::perms(0604));
    std::ifstream reader(file.narrow);
    OS::NewFile other(file.wide);
    EXPECT_TRUE(fill(other, "new") && other.replace());
    EXPECT_EQ(fs::status(file.narrow).permissions(), fs::perms(0604));
    EXPECT_EQ(bytesOf(file.narrow), "new");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST_F(NewFileTest, linksAreFollowedEvenToWhereNothingIs)
{
    fs::create_directory(directory.path() + "/inner");
    fs::create_symlink("inner/target", directory.file("link").narrow);
    fs::create_symlink("link", file.narrow);
    for (const char* const content : {"new", "newer"})
    {
        OS::NewFile made(file.wide);
        EXPECT_TRUE(fill(made, content) && made.replace());
        EXPECT_TRUE(fs::is_symlink(file.narrow));
        EXPECT_EQ(bytesOf(directory.path() + "/inner/target"), content);
    }
}

TEST_F(NewFileTest, whatCannotBeMadeIsToldWithTheReason)
{
    ASSERT_EQ(mkfifo(file.narrow.c_str(), 0600), 0);
    fs::create_symlink("loop", directory.file("loop").narrow);
    const std::pair<std::wstring, int> cases[] = {{file.wide, ENOTSUP},
                                                  {directory.widePath(), EISDIR},
                                                  {directory.file("none/file").wide, ENOENT},
                                                  {directory.file("loop").wide, ENOTSUP},
                                                  {std::wstring(L"a\0b", 3), EINVAL}};
    for (const auto& [path, reason] : cases)
    {
        errno = 0;
        OS::NewFile made(path);
        EXPECT_FALSE(made.isOpen()) << OS::toNarrow(path);
        EXPECT_EQ(errno, reason) << OS::toNarrow(path);
        EXPECT_FALSE(made.install() || made.replace());
    }
    fs::permissions(directory.path(), fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_exec);
    const Unprivileged user;
    if (!user)
    {
        GTEST_SKIP() << "the superuser may not become an ordinary user here";
    }
    EXPECT_FALSE(OS::NewFile(directory.file("new").wide).isOpen());
    EXPECT_EQ(errno, EACCES);
}

TEST_F(NewFileTest, oneStreamLocksAFileAtATime)
{
    writeBytes(file.narrow, "content");
    EXPECT_FALSE(OS::isLocked(file.wide));
    {
        OS::UpdateStream first(file.wide), second(file.wide), third(file.wide);
        EXPECT_EQ(first.lock(), OS::LockResult::Locked);
        EXPECT_EQ(second.lock(), OS::LockResult::LockedByOther);
        EXPECT_TRUE(third.shareLock(first));
        EXPECT_TRUE(OS::isLocked(file.wide));
        first.close();
        EXPECT_EQ(second.lock(), OS::LockResult::LockedByOther) << "the third has it as well";
        third.close();
        EXPECT_EQ(second.lock(), OS::LockResult::Locked);
        EXPECT_TRUE(second.isAt(file.wide));
        OS::NewFile other(file.wide);
        EXPECT_TRUE(other.replace());
        EXPECT_FALSE(second.isAt(file.wide));
        EXPECT_FALSE(OS::isLocked(file.wide)) << "that is another file";
    }
    EXPECT_EQ(OS::UpdateStream(file.wide).lock(), OS::LockResult::Locked);
}

} // namespace
